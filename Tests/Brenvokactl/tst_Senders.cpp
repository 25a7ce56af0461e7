// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Senders.h"

#include "Support/Announcer.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

sockaddr_in from(int number)
{
    sockaddr_in source{};
    source.sin_addr.s_addr = htonl(0x0A000000U + static_cast<quint32>(number));
    return source;
}

bool add(Senders &senders, const QByteArray &datagram, int number = 1)
{
    const auto *const bytes = reinterpret_cast<const std::uint8_t *>(datagram.constData());
    return senders.add(std::span(bytes, static_cast<std::size_t>(datagram.size())), from(number));
}

} // namespace

/// What `listen` makes of datagrams.
class tst_Senders final : public QObject
{
    Q_OBJECT

private slots:
    void announcementIsListed()
    {
        Senders senders;
        for (int tick = 0; tick < 3; ++tick) {
            senders.beginTick();
            QVERIFY(add(senders, announcement({})));
        }
        QCOMPARE(senders.listedCount(), 1);
        const Sender &sender = senders.list().constFirst();
        QCOMPARE(sender.count, 3);
        QCOMPARE(sender.mask, u"255.255.255.0"_s);
        QCOMPARE(sender.announcement.name, u"Stage left"_s);
        QCOMPARE(sender.reason(), QString());
    }

    void unlistedSenderHasAReason_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<bool>("continues");
        QTest::addColumn<QString>("reason");
        AnnouncementFields reversed;
        reversed.mask = QByteArray("\xff\xff\xff\0", 4);
        AnnouncementFields noMask;
        noMask.mask = QByteArray("\x01\x02\x03\x04", 4);
        AnnouncementFields nullId;
        nullId.uuid = QUuid();
        AnnouncementFields other;
        other.type = 2;
        QTest::newRow("reversed mask") << announcement(reversed) << true << u"network order"_s;
        QTest::newRow("invalid mask") << announcement(noMask) << true << u"invalid mask"_s;
        QTest::newRow("null id") << announcement(nullId) << true << u"null id"_s;
        QTest::newRow("other type") << announcement(other) << false << u"message type: 2"_s;
        QTest::newRow("short") << announcement({}).first(127) << false << u"127 bytes"_s;
        QTest::newRow("empty") << ""_ba << false << u"0 bytes"_s;
        QTest::newRow("long") << announcement({}).leftJustified(1025) << false
                              << u"longer than 1024"_s;
    }
    void unlistedSenderHasAReason()
    {
        QFETCH(const QByteArray, datagram);
        Senders senders;
        senders.beginTick();
        QTEST(add(senders, datagram), "continues");
        QCOMPARE(senders.listedCount(), 0);
        QFETCH(const QString, reason);
        const QString shown = senders.list().constFirst().reason();
        QVERIFY2(shown.contains(reason), qPrintable(shown));
        QFETCH(const bool, continues);
        QCOMPARE(senders.endedTicks(), continues ? 0 : 1);
    }

    void longestDatagramIsListed()
    {
        Senders senders;
        senders.beginTick();
        QVERIFY(add(senders, announcement({}).leftJustified(1024)));
        QCOMPARE(senders.listedCount(), 1);
    }

    void eleventhSenderOfEachTickIsNotListed()
    {
        Senders senders;
        for (int tick = 0; tick < 2; ++tick) {
            senders.beginTick();
            for (int number = 1; number <= 11; ++number)
                QVERIFY(add(senders, announcement({}), number));
        }
        QCOMPARE(senders.listedCount(), 10);
        QVERIFY(senders.list().constLast().reason().contains(u"more than ten"_s));
        senders.beginTick();
        QVERIFY(add(senders, announcement({}), 11));
        QCOMPARE(senders.listedCount(), 11);
    }

    void secondAnnouncementOfAnAddressIsNotRead()
    {
        Senders senders;
        senders.beginTick();
        AnnouncementFields other;
        other.name = "Other";
        QVERIFY(add(senders, announcement({})));
        QVERIFY(add(senders, announcement(other)));
        QCOMPARE(senders.listedCount(), 1);
        QVERIFY(senders.list().constLast().reason().contains(u"was earlier"_s));
    }

    void listedSenderStaysListed()
    {
        Senders senders;
        senders.beginTick();
        QVERIFY(add(senders, announcement({})));
        senders.beginTick();
        AnnouncementFields other;
        other.name = "Other";
        QVERIFY(add(senders, announcement(other)));
        QVERIFY(add(senders, announcement({})));
        QCOMPARE(senders.listedCount(), 2);
    }

    void sendersWithDifferentMasksAreApart()
    {
        Senders senders;
        senders.beginTick();
        QVERIFY(add(senders, announcement({})));
        AnnouncementFields other;
        other.mask = QByteArray("\0\0\xff\xff", 4);
        QVERIFY(add(senders, announcement(other)));
        QCOMPARE(senders.list().size(), 2);
        QCOMPARE(senders.list().constLast().mask, u"255.255.0.0"_s);
    }

    void unreadAnnouncementIsNotListed()
    {
        Senders senders;
        const QByteArray datagram = announcement({});
        senders.addUnread(std::span(reinterpret_cast<const std::uint8_t *>(datagram.constData()),
                                    static_cast<std::size_t>(datagram.size())),
                          from(1));
        QCOMPARE(senders.listedCount(), 0);
        QCOMPARE(senders.list().constFirst().count, 1);
        QVERIFY(senders.list().constFirst().reason().contains(u"other traffic"_s));
    }

    void aFloodOfIdsIsForgotten()
    {
        Senders senders;
        senders.beginTick();
        for (int number = 0; number < 1500; ++number)
            QVERIFY(add(senders, announcement({}), number));
        QCOMPARE(senders.list().size(), 1000);
        QCOMPARE(senders.forgotten(), 500);
    }
};

QTEST_APPLESS_MAIN(tst_Senders)
#include "tst_Senders.moc"
