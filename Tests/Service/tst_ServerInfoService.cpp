// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerInfoService.h"

#include "Support/LogCapture.h"
#include "Support/WireServer.h"

#include <QDir>
#include <QFile>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray library = "/brenvoka/library.json";
const QByteArray emptyLibrary = R"({"folders":[],"hash":"empty"})";
const QByteArray versionHeader = "X-BVProtocolVersion: 281474976710656\r\n";

Server serverAt(const QHostAddress &address, const QString &name = u"Stage left"_s)
{
    return Server(QUuid::createUuid(), address, 8, name);
}

Server received(const QSignalSpy &spy, qsizetype index = 0)
{
    return spy.at(index).constFirst().value<Server>();
}

} // namespace

/// What is sent, what is taken and what is refused, against a peer that answers byte by byte.
class tst_ServerInfoService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("XDG_CACHE_HOME", QFile::encodeName(home.path())); }

    void init()
    {
        peer = std::make_unique<WireServer>(u"127.30.1.1"_s);
        QDir(cacheDirectory()).removeRecursively();
        service = std::make_unique<ServerInfoService>();
        spy = std::make_unique<QSignalSpy>(service.get(), &ServerInfoService::receivedServer);
    }

    void cleanup()
    {
        service.reset();
        peer.reset();
    }

    void requestIsAPlainGet()
    {
        service->requestLibrary(serverAt(peer->address()));
        QVERIFY(peer->waitForRequests(1));
        const WireRequest request = peer->requests().constFirst();
        QFile wire(QStringLiteral(BRENVOKA_WIRE_DIR "/library.http"));
        QVERIFY(wire.open(QIODevice::ReadOnly));
        QVERIFY(request.head.startsWith(wire.readLine()));
        QCOMPARE(request.header("Host"), "127.30.1.1:4567");
        QVERIFY(request.header("Content-Type").isNull());
        QVERIFY(request.body.isEmpty());
    }

    void requestGoesToTheFirstConnection()
    {
        Server server = serverAt(peer->address());
        server.addConnection(QHostAddress(u"127.30.1.99"_s), 8);
        server.activeConnection = 1;
        service->requestLibrary(server);
        QVERIFY(peer->waitForRequests(1));
    }

    void completesTheRecordOfTheCaller()
    {
        QFile document(QStringLiteral(BRENVOKA_WIRE_DIR "/library.json"));
        QVERIFY(document.open(QIODevice::ReadOnly));
        peer->answer(library, document.readAll(),
                     "X-BVProtocolVersion: 281474976710657\r\nX-BVFeatureList: 0\r\n");
        Server server = serverAt(peer->address());
        server.addConnection(QHostAddress(u"127.30.1.99"_s), 16);
        server.activeConnection = 1;
        server.connected = true;
        server.graphFps = 50;
        service->requestLibrary(server);
        QTRY_COMPARE(spy->size(), 1);

        const Server complete = received(*spy);
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

    void secondCallRefreshesTheRequestUnderWay()
    {
        Server server = serverAt(peer->address(), u"first"_s);
        service->requestLibrary(server);
        server.name = u"second"_s;
        server.connected = true;
        service->requestLibrary(server);
        QVERIFY(peer->waitForRequests(1));
        peer->requests().constFirst().answer(emptyLibrary, versionHeader);
        QTRY_COMPARE(spy->size(), 1);
        QCOMPARE(received(*spy).name, u"second"_s);
        QVERIFY(received(*spy).connected);

        service->requestLibrary(server);
        QVERIFY(peer->waitForRequests(2));
        QCOMPARE(peer->requests().size(), 2);
    }

    void serversAreAnsweredInAnyOrder()
    {
        const QList<Server> servers = {serverAt(peer->address(), u"a"_s),
                                       serverAt(peer->address(), u"b"_s),
                                       serverAt(peer->address(), u"c"_s)};
        for (const Server &server : servers)
            service->requestLibrary(server);
        QVERIFY(peer->waitForRequests(3));
        for (int i = 2; i >= 0; --i) {
            peer->requests().at(i).answer(emptyLibrary, versionHeader);
            QTRY_COMPARE(spy->size(), 3 - i);
        }
        QSet<QUuid> answered;
        for (int i = 0; i < 3; ++i)
            answered.insert(received(*spy, i).uuid);
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
        peer->answer(library, emptyLibrary, header);
        const Server server = serverAt(peer->address(), u"50% %s"_s);
        service->requestLibrary(server);
        if (version != 0) {
            QTRY_COMPARE(spy->size(), 1);
            QCOMPARE(received(*spy).protocolInfo.protocolVersion, version);
            return;
        }
        QTRY_COMPARE(
            log.texts()
                .filter(u"Discarding library.json from server 50% %s for unsupported version"_s)
                .size(),
            1);
        // The entry is gone: the next call asks again.
        service->requestLibrary(server);
        QVERIFY(peer->waitForRequests(2));
        QCOMPARE(spy->size(), 0);
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
        peer->answer(library, emptyLibrary, versionHeader + header);
        service->requestLibrary(serverAt(peer->address()));
        QTRY_COMPARE(spy->size(), 1);
        QCOMPARE(received(*spy).protocolInfo.featureList.test(0), bit);
    }

    void malformedFeatureListClosesTheDoor_data()
    {
        QTest::addColumn<QByteArray>("headers");
        const auto row = [](const char *name, const QByteArray &version, const QByteArray &text) {
            QTest::newRow(name) << QByteArray(version + "X-BVFeatureList: " + text + "\r\n");
        };
        row("2", versionHeader, "2");
        row("late", versionHeader, "1111112");
        row("letter", versionHeader, "a");
        row("blank inside", versionHeader, "1 0");
        row("with a version that would be refused", {}, "2");
    }

    void malformedFeatureListClosesTheDoor()
    {
        QFETCH(QByteArray, headers);
        LogCapture log;
        peer->answer(library, emptyLibrary, headers);
        const Server server = serverAt(peer->address());
        service->requestLibrary(server);
        QTRY_COMPARE(log.texts().filter(u"invalid bitset<N> char"_s).size(), 1);
        verifyDoorIsClosed(server);
    }

    void failedDownloadClosesTheDoorForGood_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::newRow("404") << Wire::response(emptyLibrary, versionHeader, "404 Not Found");
        QTest::newRow("500") << Wire::response(emptyLibrary, versionHeader, "500 Oops");
        QTest::newRow("closed without an answer") << QByteArray();
        QTest::newRow("half a head") << QByteArray("HTTP/1.1 200 OK\r\nX-BVProto");
        QTest::newRow("half a body") << Wire::response(emptyLibrary, versionHeader).chopped(5);
    }

    void failedDownloadClosesTheDoorForGood()
    {
        QFETCH(QByteArray, response);
        LogCapture log;
        peer->on(library, [response](const WireRequest &request) {
            request.send(response);
            request.close();
        });
        const Server server = serverAt(peer->address());
        service->requestLibrary(server);
        QTRY_COMPARE(
            log.texts()
                .filter(u"Failed to download server info from http://127.30.1.1:4567/brenvoka/"
                        "library.json?ver=281474976710656 error: "_s)
                .size(),
            1);
        verifyDoorIsClosed(server);
    }

    void refusedConnectionClosesTheDoor()
    {
        LogCapture log;
        const Server server = serverAt(QHostAddress(u"127.30.1.77"_s));
        service->requestLibrary(server);
        QTRY_COMPARE(log.texts().filter(u"Failed to download server info from"_s).size(), 1);
        verifyDoorIsClosed(server);
    }

    /// Whatever addresses later replies have: none may open a door again.
    void doorsStayClosedWhileManyOthersComeAndGo()
    {
        constexpr int count = 40;
        LogCapture log;
        peer->answer(library, {}, {}, "404 Not Found");
        QList<Server> closed;
        for (int i = 0; i < count; ++i) {
            closed.append(serverAt(peer->address()));
            service->requestLibrary(closed.constLast());
        }
        QTRY_COMPARE(log.texts().filter(u"Failed to download server info"_s).size(), count);
        peer->forgetRequests();
        peer->answer(library, emptyLibrary, versionHeader);
        for (int i = 0; i < count; ++i)
            service->requestLibrary(serverAt(peer->address()));
        QTRY_COMPARE(spy->size(), count);
        for (const Server &server : closed)
            service->requestLibrary(server);
        service->requestLibrary(serverAt(peer->address()));
        QTRY_COMPARE(spy->size(), count + 1);
        QCOMPARE(peer->requests().size(), count + 1);
    }

    void refusedBodyLeavesTheDoorOpen_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("<html>");
        QTest::newRow("no hash") << QByteArray(R"({"folders":[]})");
        QTest::newRow("NUL before the document") << '\0' + emptyLibrary;
    }

    void refusedBodyLeavesTheDoorOpen()
    {
        QFETCH(QByteArray, body);
        LogCapture log;
        peer->answer(library, body, versionHeader);
        const Server server = serverAt(peer->address(), u"Büro"_s);
        service->requestLibrary(server);
        QTRY_COMPARE(
            log.texts().filter(u"Error while parsing library.json from server Büro"_s).size(), 1);
        QCOMPARE(spy->size(), 0);

        peer->answer(library, emptyLibrary + '\0' + "rest", versionHeader);
        service->requestLibrary(server);
        QTRY_COMPARE(spy->size(), 1);
    }

    void redirectIsNotFollowed()
    {
        LogCapture log;
        peer->answer(library, {}, "Location: http://127.30.1.1:4567/elsewhere\r\n", "302 Found");
        service->requestLibrary(serverAt(peer->address()));
        QTRY_COMPARE(log.texts().filter(u"for unsupported version"_s).size(), 1);
        QCOMPARE(peer->requests().size(), 1);
    }

    void responseFromTheDiskCacheCountsLikeAnyOther()
    {
        peer->answer(library, emptyLibrary,
                     versionHeader + "X-BVFeatureList: 1\r\nCache-Control: max-age=3600\r\n" +
                         "Date: " + httpDate() + "\r\n");
        const Server server = serverAt(peer->address());
        for (int i = 1; i <= 2; ++i) {
            service->requestLibrary(server);
            QTRY_COMPARE(spy->size(), i);
        }
        QCOMPARE(peer->requests().size(), 1);
        QCOMPARE(received(*spy, 1).hash, u"empty"_s);
        QVERIFY(received(*spy, 1).protocolInfo.featureList.test(0));
        QVERIFY(QDir(cacheDirectory()).exists());
    }

    void unknownReplyIsLogged()
    {
        LogCapture log;
        QNetworkAccessManager other;
        auto *reply = other.get(QNetworkRequest(QUrl(u"data:,x"_s)));
        QSignalSpy destroyed(reply, &QObject::destroyed);
        QVERIFY(QMetaObject::invokeMethod(service.get(), "downloadFinished",
                                          Q_ARG(QNetworkReply *, reply)));
        QTRY_COMPARE(log.texts().filter(u"Reply was not found for server info"_s).size(), 1);
        QTRY_COMPARE(destroyed.size(), 1);
        QCOMPARE(spy->size(), 0);
    }

    void receiverMayAskAgain()
    {
        peer->answer(library, emptyLibrary, versionHeader);
        Server server = serverAt(peer->address());
        connect(service.get(), &ServerInfoService::receivedServer, service.get(),
                [&](const Server &complete) {
                    if (complete.uuid != server.uuid)
                        return;
                    service->requestLibrary(server); // still pending: sends nothing
                    for (int i = 0; i < 20; ++i)
                        service->requestLibrary(serverAt(peer->address()));
                });
        service->requestLibrary(server);
        QTRY_COMPARE(spy->size(), 21);
        QCOMPARE(received(*spy).uuid, server.uuid);
        QCOMPARE(received(*spy).hash, u"empty"_s);
        QCOMPARE(peer->requests().size(), 21);
    }

private:
    static QString cacheDirectory()
    {
        return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"serverInfo"_s;
    }

    static QByteArray httpDate()
    {
        return QLocale::c()
            .toString(QDateTime::currentDateTimeUtc(), u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s)
            .toLatin1();
    }

    /// Another server is still served, which shows that the calls before it sent nothing.
    void verifyDoorIsClosed(Server server)
    {
        peer->forgetRequests();
        peer->answer(library, emptyLibrary, versionHeader);
        service->requestLibrary(server);
        server.name = u"another name"_s;
        service->requestLibrary(server);
        const Server other = serverAt(peer->address());
        service->requestLibrary(other);
        QTRY_COMPARE(spy->size(), 1);
        QCOMPARE(received(*spy).uuid, other.uuid);
        QCOMPARE(peer->requests().size(), 1);
    }

    QTemporaryDir home;
    std::unique_ptr<WireServer> peer;
    std::unique_ptr<ServerInfoService> service;
    std::unique_ptr<QSignalSpy> spy;
};

QTEST_GUILESS_MAIN(tst_ServerInfoService)
#include "tst_ServerInfoService.moc"
