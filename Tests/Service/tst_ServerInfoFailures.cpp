// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerInfoFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QNetworkReply>
#include <QTest>

using namespace LibraryWire;
using namespace Qt::Literals::StringLiterals;

/// Invalid responses, and blocked servers.
class tst_ServerInfoFailures : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<ServerInfoFixture>(loopback(1));
    }

    void cleanup() { fixture.reset(); }

    void malformedFeatureListBlocksTheServer_data()
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
    void malformedFeatureListBlocksTheServer()
    {
        QFETCH(QByteArray, headers);
        const QString malformed = u"error: Discarding library.json from server Stage left for "
                                  "malformed feature list: invalid bitset<N> char"_s;
        LogCapture log;
        fixture->peer.answer(libraryPath, emptyLibrary, headers);
        const Server server = fixture->server();
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(log.entries().filter(malformed).size(), 1);
        verifyServerIsBlocked(server);
    }

    void failedDownloadBlocksTheServer_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::newRow("404") << Wire::response(emptyLibrary, versionHeader, "404 Not Found");
        QTest::newRow("500") << Wire::response(emptyLibrary, versionHeader, "500 Oops");
        QTest::newRow("closed without an answer") << QByteArray();
        QTest::newRow("half a head") << QByteArray("HTTP/1.1 200 OK\r\nX-BVProto");
        QTest::newRow("body of the maximum length")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 268435456\r\n\r\n{");
        QTest::newRow("half a body") << Wire::response(emptyLibrary, versionHeader).chopped(5);
    }
    void failedDownloadBlocksTheServer()
    {
        QFETCH(QByteArray, response);
        LogCapture log;
        fixture->peer.on(libraryPath, [response](const WireRequest &request) {
            request.send(response);
            request.close();
        });
        const Server server = fixture->server();
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(
            log.entries()
                .filter(u"error: Failed to download server info from http://" LOOPBACK(
                    1) ":4567/brenvoka/"
                       "library.json?ver=281474976710656 error: "_s)
                .size(),
            1);
        verifyServerIsBlocked(server);
    }

    void tooLargeLibraryBlocksTheServer_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("piece");
        QTest::newRow("stated length")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 268435457\r\n\r\n") << QByteArray();
        QTest::newRow("without an end")
            << Wire::chunkedHead(versionHeader) << Wire::chunk(QByteArray(1 << 18, ' '));
    }
    void tooLargeLibraryBlocksTheServer()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, piece);
        LogCapture log;
        fixture->peer.on(libraryPath, [head, piece](const WireRequest &request) {
            request.send(head);
            if (!piece.isEmpty())
                request.sendWithoutEnd(piece);
        });
        const Server server = fixture->server();
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(
            log.texts().filter(u"ver=281474976710656: more than 268435456 bytes"_s).size(), 1);
        QCOMPARE(log.texts().filter(u"error: Operation canceled"_s).size(), 1);
        EVENTUALLY_COMPARE(fixture->peer.openConnections(), 0);
        verifyServerIsBlocked(server);
    }

    void refusedConnectionBlocksTheServer()
    {
        LogCapture log;
        Server server = fixture->server();
        server.connections.first().first = QHostAddress(loopback(77));
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(log.texts().filter(u"Failed to download server info from"_s).size(), 1);
        verifyServerIsBlocked(server);
    }

    /// Later replies may reuse the address of an earlier one; none may unblock a server.
    void blockedServersStayBlockedAmongManyOthers()
    {
        constexpr int count = 40;
        LogCapture log;
        fixture->peer.answer(libraryPath, {}, {}, "404 Not Found");
        QList<Server> closed;
        for (int i = 0; i < count; ++i) {
            closed.append(fixture->server());
            fixture->service.requestLibrary(closed.constLast());
        }
        EVENTUALLY_COMPARE(log.texts().filter(u"Failed to download server info"_s).size(), count);
        fixture->peer.forgetRequests();
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader);
        for (int i = 0; i < count; ++i)
            fixture->service.requestLibrary(fixture->server());
        EVENTUALLY_COMPARE(fixture->spy.size(), count);
        for (const Server &server : closed)
            fixture->service.requestLibrary(server);
        fixture->service.requestLibrary(fixture->server());
        EVENTUALLY_COMPARE(fixture->spy.size(), count + 1);
        QCOMPARE(fixture->peer.requests().size(), count + 1);
    }

    void invalidBodyDoesNotBlockTheServer_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no JSON") << QByteArray("<html>");
        QTest::newRow("no hash") << QByteArray(R"({"folders":[]})");
        QTest::newRow("NUL before the document") << '\0' + emptyLibrary;
    }
    void invalidBodyDoesNotBlockTheServer()
    {
        QFETCH(QByteArray, body);
        LogCapture log;
        fixture->peer.answer(libraryPath, body, versionHeader);
        const Server server = fixture->server(u"Büro"_s);
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(
            log.entries()
                .filter(u"error: Error while parsing library.json from server Büro"_s)
                .size(),
            1);
        QCOMPARE(fixture->spy.size(), 0);

        fixture->peer.answer(libraryPath, emptyLibrary + '\0' + "rest", versionHeader);
        fixture->service.requestLibrary(server);
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);
    }

    void redirectIsNotFollowed()
    {
        LogCapture log;
        fixture->peer.answer(libraryPath, {}, "Location: http://" LOOPBACK(1) ":4567/elsewhere\r\n",
                             "302 Found");
        fixture->service.requestLibrary(fixture->server());
        EVENTUALLY_COMPARE(log.texts().filter(u"for unsupported version"_s).size(), 1);
        QCOMPARE(fixture->peer.requests().size(), 1);
    }

    void unknownReplyIsLogged()
    {
        LogCapture log;
        QNetworkAccessManager other;
        auto *reply = other.get(QNetworkRequest(QUrl(u"data:,x"_s)));
        QSignalSpy destroyed(reply, &QObject::destroyed);
        QVERIFY(QMetaObject::invokeMethod(&fixture->service, "downloadFinished",
                                          Q_ARG(QNetworkReply *, reply)));
        EVENTUALLY_COMPARE(
            log.entries().filter(u"error: Reply was not found for server info"_s).size(), 1);
        EVENTUALLY_COMPARE(destroyed.size(), 1);
        QCOMPARE(fixture->spy.size(), 0);
    }

private:
    /// The reply for another server shows that the calls before it sent nothing.
    void verifyServerIsBlocked(Server server)
    {
        fixture->peer.forgetRequests();
        fixture->peer.answer(libraryPath, emptyLibrary, versionHeader);
        fixture->service.requestLibrary(server);
        server.name = u"another name"_s;
        fixture->service.requestLibrary(server);
        const Server other = fixture->server();
        fixture->service.requestLibrary(other);
        EVENTUALLY_COMPARE(fixture->spy.size(), 1);
        QCOMPARE(fixture->received().uuid, other.uuid);
        QCOMPARE(fixture->peer.requests().size(), 1);
    }

    std::unique_ptr<ServerInfoFixture> fixture;
};

QTEST_GUILESS_MAIN(tst_ServerInfoFailures)
#include "tst_ServerInfoFailures.moc"
