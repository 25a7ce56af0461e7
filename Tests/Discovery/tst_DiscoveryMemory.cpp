// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoverySocketFixture.h"
#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <QTest>

#include <cstdlib>
#include <new>

namespace {

thread_local int allocations = 0; // Qt Test has another thread

} // namespace

void *operator new(std::size_t size)
{
    ++allocations;
    if (void *const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}

/// What the operator `new` of the whole program is asked for while announcements are read.
class tst_DiscoveryMemory final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void readingAllocatesNothing()
    {
        DiscoverySocketFixture socket;
        for (int sender = 1; sender <= 11; ++sender)
            Announcer(loopback(sender)).send(announcement({}));
        const int before = allocations;
        while (Discovery::poll(socket)) {
        }
        const int after = allocations;
        QCOMPARE(after, before);
        QCOMPARE(socket.datagramsReceived, 11);
        QCOMPARE(Discovery::serverCount(socket), 10);
    }

    // Also shows that allocations are counted.
    void nameListsAllocate()
    {
        DiscoverySocketFixture socket;
        Announcer(loopback(1)).send(announcement({.name = "Stage left"}));
        QVERIFY(Discovery::poll(socket));
        const int before = allocations;
        QCOMPARE(Discovery::allNames(socket).size(), std::size_t{1});
        QVERIFY(allocations > before);
    }
};

QTEST_GUILESS_MAIN(tst_DiscoveryMemory)
#include "tst_DiscoveryMemory.moc"
