// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerInfoFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireFile.h"

#include <QDir>
#include <QTest>

using namespace LibraryWire;
using namespace Qt::Literals::StringLiterals;

/// The request, and what happens with a valid response.
class tst_ServerInfoService : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<ServerInfoFixture>(loopback(1));
    }

    void cleanup() { fixture.reset(); }

    void requestIsAPlainGet()
    {
        fixture->service.requestLibrary(fixture->server());
        QVERIFY(fixture->peer.waitForRequests(1));
        const WireRequest request = fixture->peer.requests().constFirst();
        QVERIFY(request.head.startsWith(wireFile(u"library.http"_s).trimmed() + "\r\n"));
        QCOMPARE(request.header("Host"), LOOPBACK(1) ":4567");
        QVERIFY(request.header("Content-Type").isNull());
        QVERIFY(request.body.isEmpty());
    }

    void downloadIsLogged()
    {
        LogCapture log;
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader);
        fixture->service.requestLibrary(fixture->server());
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);
        const QString url =
            u"http://" LOOPBACK(1) ":4567/brenvoka/library.json?ver=281474976710656"_s;
        QCOMPARE(log.entries(), (QStringList{u"info: Downloading server info from: "_s + url,
                                             u"info: Downloaded server info from: "_s + url}));
    }

    void requestUsesTheFirstConnection()
    {
        Server server = fixture->server();
        server.addConnection(QHostAddress(loopback(99)), 8);
        server.activeConnection = 1;
        fixture->service.requestLibrary(server);
        QVERIFY(fixture->peer.waitForRequests(1));
    }

    void completesTheRecordOfTheCaller()
    {
        fixture->peer.answer(libraryPath, wireFile(u"library.json"_s),
                             "X-BVProtocolVersion: 281474976710657\r\nX-BVFeatureList: 0\r\n");
        Server server = fixture->server();
        server.addConnection(QHostAddress(loopback(99)), 16);
        server.activeConnection = 1;
        server.connected = true;
        server.graphFps = 50;
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);

        const Server complete = fixture->received();
        QCOMPARE(complete.uuid, server.uuid);
        QCOMPARE(complete.name, server.name);
        QCOMPARE(complete.connections, server.connections);
        QCOMPARE(complete.activeConnection, 1);
        QCOMPARE(complete.connected, true);
        QCOMPARE(complete.graphFps, 50.F);
        QCOMPARE(complete.hash, u"900150983cd24fb0d6963f7d28e17f72"_s);
        QCOMPARE(complete.folders.size(), 2);
        QCOMPARE(complete.folders.at(0).name, u"003 Opening night"_s);
        QCOMPARE(complete.folders.at(0).files.size(), 2);
        QCOMPARE(complete.protocolInfo.protocolVersion, 281474976710657U);
        QVERIFY(complete.protocolInfo.featureList.none());
    }

    void secondCallUpdatesThePendingRequest()
    {
        Server server = fixture->server(u"first"_s);
        fixture->service.requestLibrary(server);
        server.name = u"second"_s;
        server.connected = true;
        fixture->service.requestLibrary(server);
        QVERIFY(fixture->peer.waitForRequests(1));
        fixture->peer.requests().constFirst().answer(emptyLibrary, versionHeader);
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);
        QCOMPARE(fixture->received().name, u"second"_s);
        QVERIFY(fixture->received().connected);

        fixture->service.requestLibrary(server);
        QVERIFY(fixture->peer.waitForRequests(2));
        QCOMPARE(fixture->peer.requests().size(), 2);
    }

    void serversMayAnswerInAnyOrder()
    {
        const QList<Server> servers = {fixture->server(u"a"_s), fixture->server(u"b"_s),
                                       fixture->server(u"c"_s)};
        for (const Server &server : servers)
            fixture->service.requestLibrary(server);
        QVERIFY(fixture->peer.waitForRequests(3));
        for (int i = 2; i >= 0; --i) {
            fixture->peer.requests().at(i).answer(emptyLibrary, versionHeader);
            EVENTUALLY_COMPARE(fixture->spy.size(), 3 - i);
        }
        QSet<QUuid> answered;
        for (int i = 0; i < 3; ++i)
            answered.insert(fixture->received(i).uuid);
        QCOMPARE(answered.size(), 3);
    }

    void version_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<quint64>("version");
        const auto row = [](const char *name, const QByteArray &text, quint64 version) {
            QTest::newRow(name) << QByteArray("X-BVProtocolVersion: " + text + "\r\n") << version;
        };
        QTest::newRow("absent") << QByteArray() << quint64(0);
        row("empty", "", 0);
        row("zero", "0", 0);
        row("no number", "one", 0);
        row("hexadecimal", "0x10", 0);
        row("number and more", "1.0", 0);
        row("negative", "-1", 0);
        row("too large", "18446744073709551616", 0);
        row("one", "1", 1);
        row("ours", "281474976710656", 281474976710656U);
        row("largest", "18446744073709551615", 18446744073709551615U);
    }
    void version()
    {
        QFETCH(QByteArray, header);
        QFETCH(quint64, version);
        LogCapture log;
        fixture->peer.answer(libraryPath, emptyLibrary, header);
        const Server server = fixture->server(u"50% %s"_s);
        fixture->service.requestLibrary(server);
        if (version != 0) {
            EVENTUALLY_COMPARE(fixture->spy.size(), 1);
            QCOMPARE(fixture->received().protocolInfo.protocolVersion, version);
            return;
        }
        EVENTUALLY_COMPARE(
            log.entries()
                .filter(
                    u"error: Discarding library.json from server 50% %s for unsupported version"_s)
                .size(),
            1);
        // The entry was removed: the next call sends a request again.
        fixture->service.requestLibrary(server);
        QVERIFY(fixture->peer.waitForRequests(2));
        QCOMPARE(fixture->spy.size(), 0);
    }

    void featureList_data()
    {
        QTest::addColumn<QByteArray>("header");
        QTest::addColumn<bool>("bit");
        QTest::newRow("absent") << QByteArray() << false;
        QTest::newRow("empty") << QByteArray("X-BVFeatureList: \r\n") << false;
        QTest::newRow("0") << QByteArray("X-BVFeatureList: 0\r\n") << false;
        QTest::newRow("1") << QByteArray("X-BVFeatureList: 1\r\n") << true;
        QTest::newRow("10") << QByteArray("X-BVFeatureList: 10\r\n") << true;
        QTest::newRow("01") << QByteArray("X-BVFeatureList: 01\r\n") << false;
    }
    void featureList()
    {
        QFETCH(QByteArray, header);
        QFETCH(bool, bit);
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader + header);
        fixture->service.requestLibrary(fixture->server());
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);
        QCOMPARE(fixture->received().protocolInfo.featureList.test(0), bit);
    }

    void cachedResponseIsReported()
    {
        fixture->peer.answer(libraryPath, emptyLibrary,
                             versionHeader +
                                 "X-BVFeatureList: 1\r\nCache-Control: max-age=3600\r\n" +
                                 "Date: " + httpDate() + "\r\n");
        const Server server = fixture->server();
        for (int i = 1; i <= 2; ++i) {
            fixture->service.requestLibrary(server);
            EVENTUALLY_COMPARE(fixture->spy.size(), i);
        }
        QCOMPARE(fixture->peer.requests().size(), 1);
        QCOMPARE(fixture->received(1).hash, u"empty"_s);
        QVERIFY(fixture->received(1).protocolInfo.featureList.test(0));
        QVERIFY(QDir(ServerInfoFixture::cacheDirectory()).exists());
    }

    void diskCacheHasEightMebibytes_data()
    {
        QTest::addColumn<qsizetype>("bytes");
        QTest::addColumn<qsizetype>("requests");
        // Qt caches files up to three quarters of the size of the cache.
        QTest::newRow("largest that is kept") << qsizetype{6291456} << qsizetype{1};
        QTest::newRow("a byte more") << qsizetype{6291457} << qsizetype{2};
    }
    void diskCacheHasEightMebibytes()
    {
        QFETCH(const qsizetype, bytes);
        QFETCH(const qsizetype, requests);
        fixture->peer.answer(libraryPath, emptyLibrary.leftJustified(bytes),
                             versionHeader + "Cache-Control: max-age=3600\r\nDate: " + httpDate() +
                                 "\r\n");
        const Server server = fixture->server();
        for (int i = 1; i <= 2; ++i) {
            fixture->service.requestLibrary(server);
            EVENTUALLY_COMPARE(fixture->spy.size(), i);
        }
        QCOMPARE(fixture->peer.requests().size(), requests);
    }

    void receiverKeepsItsRecordOnANewRequest()
    {
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader);
        const Server server = fixture->server(u"first"_s);
        QString name;
        connect(&fixture->service, &ServerInfoService::receivedServer, &fixture->service,
                [&](const Server &complete) {
                    Server later = server;
                    later.name = u"second"_s;
                    fixture->service.requestLibrary(later); // replaces the record under way
                    name = complete.name;
                });
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(name, u"first"_s);
    }

    void receiverMayRequestAgain()
    {
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader);
        Server server = fixture->server();
        connect(&fixture->service, &ServerInfoService::receivedServer, &fixture->service,
                [&](const Server &complete) {
                    if (complete.uuid != server.uuid)
                        return;
                    fixture->service.requestLibrary(server); // still pending: sends nothing
                    for (int i = 0; i < 20; ++i)
                        fixture->service.requestLibrary(fixture->server());
                });
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(fixture->spy.size(), 21);
        QCOMPARE(fixture->received().uuid, server.uuid);
        QCOMPARE(fixture->received().hash, u"empty"_s);
        QCOMPARE(fixture->peer.requests().size(), 21);
    }

private:
    static QByteArray httpDate()
    {
        return QLocale::c()
            .toString(QDateTime::currentDateTimeUtc(), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
            .toLatin1();
    }

    std::unique_ptr<ServerInfoFixture> fixture;
};

QTEST_GUILESS_MAIN(tst_ServerInfoService)
#include "tst_ServerInfoService.moc"
