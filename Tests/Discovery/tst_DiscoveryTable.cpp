// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoverySocketFixture.h"
#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <QFile>
#include <QTemporaryFile>
#include <QTest>

#include <cstdio>
#include <limits>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

int drain(Discovery::DiscoverySocket &socket)
{
    int announcements = 0;
    while (Discovery::poll(socket))
        ++announcements;
    return announcements;
}

} // namespace

/// The table of senders, filled with real datagrams.
class tst_DiscoveryTable final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void announcementFillsOneEntry()
    {
        DiscoverySocketFixture socket;
        const Announcer sender(loopback(1));
        sender.send(announcement({.name = "Stage left"}));
        QVERIFY(Discovery::poll(socket));

        Discovery::DiscoveredServer *table = nullptr;
        std::size_t count = 99;
        Discovery::servers(socket, table, count);
        QCOMPARE(count, 1U);
        QCOMPARE(table->source.sin_addr.s_addr, inet_addr(LOOPBACK(1)));
        QCOMPARE(ntohs(table->source.sin_port), sender.port());
        QCOMPARE(QByteArray(table->payload.data()), "Stage left"_ba);
        QCOMPARE(table->netmask, 0x00FFFFFFU);
        QVERIFY(table->seen);
        QCOMPARE(socket.datagramsReceived, 1);
        QCOMPARE(socket.bytesReceived, 128);
        QVERIFY(!Discovery::poll(socket));
    }

    void shortDatagramIsCountedAndIgnored_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : {0, 1, 4, 127})
            QTest::addRow("%d bytes", size) << size;
    }
    void shortDatagramIsCountedAndIgnored()
    {
        QFETCH(const int, size);
        DiscoverySocketFixture socket;
        Announcer(loopback(1)).send(announcement({}).first(size));
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.datagramsReceived, 1);
        QCOMPARE(socket.bytesReceived, size);
        QCOMPARE(Discovery::serverCount(socket), 0);
        QCOMPARE(socket.lastError, 0);
    }

    void otherTypeIsCountedAndEndsThePoll()
    {
        DiscoverySocketFixture socket;
        const Announcer first(loopback(1));
        const Announcer second(loopback(2));
        first.send(announcement({.type = 2}));
        second.send(announcement({}));

        QCOMPARE(drain(socket), 0);
        QCOMPARE(socket.datagramsReceived, 1);
        QCOMPARE(Discovery::serverCount(socket), 0);
        QCOMPARE(drain(socket), 1);
        QCOMPARE(socket.datagramsReceived, 2);
    }

    void firstAnnouncementOfAnAddressWins()
    {
        DiscoverySocketFixture socket;
        const Announcer sender(loopback(1));
        sender.send(announcement({.name = "first"}));
        sender.send(announcement(
            {.uuid = QUuid::createUuid(), .name = "second", .mask = QByteArray("\0\0\0\xff", 4)}));
        QCOMPARE(drain(socket), 2);
        QCOMPARE(Discovery::allNames(socket), std::vector<std::string>{"first"});
        QCOMPARE(socket.servers[0].netmask, 0x00FFFFFFU);
    }

    void senderPortIsIgnored()
    {
        DiscoverySocketFixture socket;
        const Announcer first(loopback(1));
        const Announcer second(loopback(1));
        QVERIFY(first.port() != second.port());
        first.send(announcement({}));
        second.send(announcement({}));
        QCOMPARE(drain(socket), 2);
        QCOMPARE(Discovery::serverCount(socket), 1);
        QCOMPARE(ntohs(socket.servers[0].source.sin_port), first.port());
    }

    void eleventhSenderIsDroppedAndReceivedLater()
    {
        DiscoverySocketFixture socket;
        for (int i = 1; i <= 11; ++i)
            Announcer(loopback(i)).send(announcement({.name = QByteArray::number(i)}));
        QCOMPARE(drain(socket), 11);
        QCOMPARE(Discovery::serverCount(socket), 10);
        QVERIFY(!Discovery::findByName(socket, "11"));

        Discovery::resetTable(socket);
        Announcer(loopback(11)).send(announcement({.name = "11"}));
        QCOMPARE(drain(socket), 1);
        QVERIFY(Discovery::findByName(socket, "11"));
    }

    void countsSurviveAReset()
    {
        DiscoverySocketFixture socket;
        const Announcer sender(loopback(1));
        for (int round = 1; round <= 3; ++round) {
            sender.send(announcement({}) + "tail");
            QCOMPARE(drain(socket), 1);
            Discovery::resetTable(socket);
            QCOMPARE(Discovery::serverCount(socket), 0);
            QCOMPARE(socket.servers[0].netmask, 0U);
            QCOMPARE(socket.datagramsReceived, round);
            QCOMPARE(socket.bytesReceived, 132 * round);
        }
    }

    void fullCountsWrapAround()
    {
        constexpr auto full = std::numeric_limits<std::int32_t>::max();
        constexpr auto lowest = std::numeric_limits<std::int32_t>::min();
        DiscoverySocketFixture socket;
        socket.datagramsReceived = socket.bytesReceived = full;
        Announcer(loopback(1)).send(announcement({}));
        QCOMPARE(drain(socket), 1);
        QCOMPARE(socket.datagramsReceived, lowest);
        QCOMPARE(socket.bytesReceived, lowest + 127);
    }

    void everyPollClearsTheSeenFlags()
    {
        DiscoverySocketFixture socket;
        const Announcer first(loopback(1));
        const Announcer second(loopback(2));
        first.send(announcement({.name = "first"}));
        second.send(announcement({.name = "second"}));
        first.send(announcement({.name = "again"}));
        const auto seen = [&socket] {
            std::vector<std::string> names{"kept"};
            Discovery::seenNames(socket, names);
            return names;
        };
        using Names = std::vector<std::string>;

        QVERIFY(Discovery::poll(socket));
        QCOMPARE(seen(), (Names{"kept", "first"}));
        QVERIFY(Discovery::poll(socket));
        QCOMPARE(seen(), (Names{"kept", "second"}));
        QVERIFY(Discovery::poll(socket));
        QCOMPARE(seen(), (Names{"kept", "first"}));
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(seen(), Names{"kept"});
    }

    void listsNames()
    {
        DiscoverySocketFixture socket;
        QVERIFY(Discovery::allNames(socket).empty());
        for (const char *name : {"b", "a", "c"})
            Announcer(loopback(*name)).send(announcement({.name = name}));
        QCOMPARE(drain(socket), 3);
        QCOMPARE(Discovery::allNames(socket), (std::vector<std::string>{"b", "a", "c"}));
    }

    void findsByExactName()
    {
        DiscoverySocketFixture socket;
        Announcer(loopback(1)).send(announcement({.name = "Stage left"}));
        Announcer(loopback(2)).send(announcement({.name = "Stage"}));
        Announcer(loopback(3)).send(announcement({.name = "Stage"}));
        QCOMPARE(drain(socket), 3);
        QCOMPARE(Discovery::findByName(socket, "Stage left"), &socket.servers[0]);
        QCOMPARE(Discovery::findByName(socket, "Stage"), &socket.servers[1]);
        QCOMPARE(Discovery::findByName(socket, "stage"), nullptr);
        QCOMPARE(Discovery::findByName(socket, "Stage left "), nullptr);
        QCOMPARE(Discovery::findByName(socket, ""), nullptr);
    }

    void negativeCountIsReportedAsZero()
    {
        Discovery::DiscoverySocket socket{};
        socket.serverCount = -3;
        Discovery::DiscoveredServer *table = nullptr;
        std::size_t count = 99;
        Discovery::servers(socket, table, count);
        QCOMPARE(count, 0U);
        QCOMPARE(table, socket.servers.data());
    }

    void newEntriesArePrinted()
    {
        DiscoverySocketFixture socket;
        const Announcer first(loopback(1));
        for (const Announcer *sender : {&first, &first})
            sender->send(announcement({}));
        Announcer(loopback(2)).send(announcement({}));

        QTemporaryFile output;
        QVERIFY(output.open());
        std::fflush(stdout);
        const int before = dup(STDOUT_FILENO);
        dup2(output.handle(), STDOUT_FILENO);
        const int announcements = drain(socket); // without a buffer that is written later
        dup2(before, STDOUT_FILENO);
        ::close(before);

        QCOMPARE(announcements, 3);
        QVERIFY(output.seek(0));
        QCOMPARE(output.readAll(), "Received discovery message from " LOOPBACK(
                                       1) " adding to the list of servers\n"
                                          "Received discovery message from " LOOPBACK(
                                              2) " adding to the list of servers\n"_ba);
    }
};

QTEST_GUILESS_MAIN(tst_DiscoveryTable)
#include "tst_DiscoveryTable.moc"
