// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Discovery/DiscoverySocket.h"

#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

std::span<const std::uint8_t> bytes(const QByteArray &datagram)
{
    return {reinterpret_cast<const std::uint8_t *>(datagram.constData()),
            static_cast<std::size_t>(datagram.size())};
}

} // namespace

/// Reading one announcement, without a socket.
class tst_Announcement final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void onlyAnnouncementsAreParsed_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<bool>("taken");

        const QByteArray good = announcement({});
        const auto withType = [&good](const char *type) {
            return QByteArray(type, 4) + good.mid(4);
        };
        QTest::newRow("announcement") << good << true;
        QTest::newRow("with a tail") << good + QByteArray(60, '\xff') << true;
        QTest::newRow("1024 bytes") << good + QByteArray(1024 - 128, '\0') << true;
        QTest::newRow("nothing") << QByteArray() << false;
        QTest::newRow("three bytes") << good.first(3) << false;
        QTest::newRow("type only") << good.first(4) << false;
        QTest::newRow("127 bytes") << good.first(127) << false;
        QTest::newRow("type 0") << withType("\0\0\0\0") << false;
        QTest::newRow("type 2") << withType("\0\0\0\2") << false;
        QTest::newRow("type 1 in the wrong byte order") << withType("\1\0\0\0") << false;
        QTest::newRow("type 257") << withType("\0\0\1\1") << false;
        QTest::newRow("all bytes 0xFF") << QByteArray(128, '\xff') << false;
    }
    void onlyAnnouncementsAreParsed()
    {
        QFETCH(const QByteArray, datagram);
        QTEST(Discovery::parse(bytes(datagram), {}).has_value(), "taken");
    }

    void uuidIsJoinedFromItsHalves()
    {
        QByteArray datagram(128, '\0');
        for (int i = 0; i < 128; ++i)
            datagram[i] = char(i);
        datagram.replace(0, 4, QByteArray("\0\0\0\1", 4));
        sockaddr_in source{};
        source.sin_port = 77;

        const auto server = Discovery::parse(bytes(datagram), source);
        QVERIFY(server);
        const std::array<std::uint8_t, 16> expected{24,  25,  26,  27,  28,  29,  30,  31,
                                                    120, 121, 122, 123, 124, 125, 126, 127};
        QCOMPARE(server->uuid, expected);
        QCOMPARE(server->netmask, 0x74757677U);
        QCOMPARE(server->source.sin_port, 77);
        QVERIFY(server->seen);
    }

    void payloadIsCopiedUnchanged()
    {
        QByteArray datagram = announcement({});
        for (int i = 32; i < 128; ++i)
            datagram[i] = char(i * 7);
        const auto server = Discovery::parse(bytes(datagram), {});
        QVERIFY(server);
        QCOMPARE(QByteArray(server->payload.data(), 96), datagram.mid(32, 96));
    }

    void nameEndsAtNulOrWithItsField_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("plain") << QByteArray("Stage left") << QByteArray("Stage left");
        QTest::newRow("empty") << QByteArray() << QByteArray();
        QTest::newRow("bytes after the NUL")
            << QByteArray("Stage\0left", 10) << QByteArray("Stage");
        QTest::newRow("83 bytes and a NUL") << QByteArray(83, 'x') << QByteArray(83, 'x');
        QTest::newRow("84 bytes without a NUL") << QByteArray(84, 'x') << QByteArray(84, 'x');
    }
    void nameEndsAtNulOrWithItsField()
    {
        QFETCH(const QByteArray, field);
        QFETCH(const QByteArray, name);
        const QByteArray datagram =
            announcement({.name = field, .mask = QByteArray(4, char(0xff))});
        const auto server = Discovery::parse(bytes(datagram), {});
        QVERIFY(server);
        const std::string_view read = Discovery::name(*server);
        QCOMPARE(QByteArray(read.data(), qsizetype(read.size())), name);
    }
};

QTEST_GUILESS_MAIN(tst_Announcement)
#include "tst_Announcement.moc"
