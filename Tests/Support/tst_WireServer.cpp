// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// The peer itself: what it records and what a client sees of what it sends.
class tst_WireServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { manager.setProxy(QNetworkProxy::NoProxy); }

    void recordsRequestsByteForByte()
    {
        WireServer server(loopback(1));
        QTcpSocket client;
        client.connectToHost(server.address(), 4567);
        QVERIFY(client.waitForConnected());
        const QByteArray first = "POST /a?x=1 HTTP/1.1\r\ncontent-length: 4\r\n\r\nab\0c"_ba;
        const QByteArray second = "GET /b/c HTTP/1.1\r\n\r\n";
        client.write(first.left(30));
        client.flush();
        EVENTUALLY_COMPARE(server.received(0).size(), 30);
        QVERIFY(server.requests().isEmpty());
        client.write(first.mid(30) + second);
        QVERIFY(server.waitForRequests(2));
        QCOMPARE(server.requests().at(0).bytes(), first);
        QCOMPARE(server.requests("/a").size(), 1);
        QCOMPARE(server.requests("/b/").constFirst().bytes(), second);
        QCOMPARE(server.requests("/b").size(), 0);
        QCOMPARE(server.received(0), first + second);
        QCOMPARE(server.connectionCount(), 1);
    }

    void latestRuleWins()
    {
        WireServer server(loopback(1));
        server.answer("/", "all");
        server.answer("/one", "one", "X-Name: value\r\n", "203 Fine");
        QCOMPARE(finishedReply(server, u"/one"_s)->readAll(), "one");
        QCOMPARE(reply->rawHeader("X-Name"), "value");
        QCOMPARE(reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), 203);
        QCOMPARE(finishedReply(server, u"/other"_s)->readAll(), "all");
        QCOMPARE(server.connectionCount(), 1);
    }

    void heldRequestIsAnsweredPieceByPiece()
    {
        WireServer server(loopback(1));
        start(server, u"/held"_s);
        QVERIFY(server.waitForRequests(1));
        const WireRequest request = server.requests().constFirst();
        const QByteArray response = Wire::response("body");
        for (const char byte : response)
            request.send(QByteArray(1, byte));
        EVENTUALLY(reply->isFinished());
        QCOMPARE(reply->readAll(), "body");
    }

    void streamLastsUntilClosed()
    {
        WireServer server(loopback(1));
        server.on("/stream", [](const WireRequest &request) { request.send(Wire::streamHead()); });
        start(server, u"/stream"_s);
        QVERIFY(server.waitForRequests(1));
        const WireRequest stream = server.requests().constFirst();
        stream.send(Wire::frame("{}"));
        EVENTUALLY_COMPARE(reply->bytesAvailable(), 3);
        QVERIFY(!reply->isFinished());
        stream.close();
        EVENTUALLY(reply->isFinished());
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QCOMPARE(reply->readAll(), "{}\0"_ba);
    }

    void chunkedResponse()
    {
        WireServer server(loopback(1));
        server.on("/", [](const WireRequest &request) {
            request.send(Wire::chunkedHead() + Wire::chunk("0123456789abcdef") + Wire::lastChunk());
        });
        QCOMPARE(finishedReply(server, u"/"_s)->readAll(), "0123456789abcdef");
    }

    void resetIsAnError()
    {
        WireServer server(loopback(1));
        server.on("/", [](const WireRequest &request) {
            request.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
            request.reset();
        });
        QSignalSpy closed(&server, &WireServer::connectionClosed);
        QVERIFY(finishedReply(server, u"/"_s)->error() != QNetworkReply::NoError);
        QVERIFY(closed.size() >= 1);
        EVENTUALLY_COMPARE(server.openConnections(), 0);
    }

    void headHandlerAnswersBeforeTheBody()
    {
        WireServer server(loopback(1));
        server.onHead("/up", [&](const WireRequest &request) {
            server.setReading(false);
            request.answer("early");
        });
        QTcpSocket client;
        client.connectToHost(server.address(), 4567);
        QVERIFY(client.waitForConnected());
        client.write("POST /up HTTP/1.1\r\nContent-Length: 100000\r\n\r\n" +
                     QByteArray(100000, 'x'));
        EVENTUALLY(client.peek(1000).endsWith("early"));
        QVERIFY(server.requests().isEmpty());
        server.setReading(true);
        QVERIFY(server.waitForRequests(1));
        QCOMPARE(server.requests().constFirst().body.size(), 100000);
    }

    void refusesAfterStopListening()
    {
        WireServer server(loopback(1));
        const QHostAddress address = server.address();
        server.stopListening();
        reply.reset(manager.get(request(address, u"/"_s)));
        EVENTUALLY(reply->isFinished());
        QCOMPARE(reply->error(), QNetworkReply::ConnectionRefusedError);
    }

private:
    static QNetworkRequest request(const QHostAddress &address, const QString &path)
    {
        return QNetworkRequest(QUrl(u"http://%1:4567%2"_s.arg(address.toString(), path)));
    }

    void start(const WireServer &server, const QString &path)
    {
        reply.reset(manager.get(request(server.address(), path)));
    }

    QNetworkReply *finishedReply(const WireServer &server, const QString &path)
    {
        start(server, path);
        if (!waitFor([&] { return reply->isFinished(); }))
            qFatal("No answer");
        return reply.get();
    }

    QNetworkAccessManager manager;
    std::unique_ptr<QNetworkReply> reply;
};

QTEST_GUILESS_MAIN(tst_WireServer)
#include "tst_WireServer.moc"
