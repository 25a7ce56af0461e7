// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ListenerFixture.h"
#include "Support/FailOnWarning.h"

#include <QTest>

#include <cerrno>

using namespace Qt::Literals::StringLiterals;

namespace {

/// How many announcements the socket still has; a real one has room for a few hundred only.
int waiting = 0;

} // namespace

// The linker's --wrap puts this between the program and the system, and chooses its name.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" ssize_t __wrap_recvfrom(int, void *buffer, size_t, int, sockaddr *source, socklen_t *)
{
    if (waiting == 0) {
        errno = EAGAIN;
        return -1;
    }
    --waiting;
    sockaddr_in sender{};
    sender.sin_family = AF_INET;
    inet_pton(AF_INET, firstAddress.toLatin1().constData(), &sender.sin_addr);
    memcpy(source, &sender, sizeof sender);
    const QByteArray datagram = announcement({});
    memcpy(buffer, datagram.constData(), size_t(datagram.size()));
    return datagram.size();
}

/// Announcements that arrive faster than they are read.
class tst_ServerListenerFlood final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void tickReads4096DatagramsAndLeavesTheRest()
    {
        ListenerFixture fixture;
        waiting = 2 * 4096 + 1;
        for (const int left : {4096 + 1, 1, 0}) {
            fixture.tick();
            QCOMPARE(waiting, left);
        }
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
    }
};

QTEST_GUILESS_MAIN(tst_ServerListenerFlood)
#include "tst_ServerListenerFlood.moc"
