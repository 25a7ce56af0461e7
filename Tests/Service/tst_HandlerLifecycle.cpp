// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Service/HandlerTest.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QPointer>

#include <memory>

namespace {

const QByteArray libraryChanged = json("{'msg_type':6}");
const QByteArray shutdown = json("{'msg_type':4}");

} // namespace

/// How a connection starts and ends, and what receivers may do inside its signals.
class tst_HandlerLifecycle : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void cleanEndHasNoReason()
    {
        fixture->sendFrame(libraryChanged);
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines, (QStringList{u"connected"_s, u"library changed"_s,
                                                               u"disconnected 0 \"\""_s}));
        QCOMPARE(fixture->probe.streamReply(), nullptr);
    }

    void closeOfAStreamWithoutLengthHasNoReason()
    {
        HandlerFixture other(loopback(2));
        other.server.on(notifierPath, [](const WireRequest &request) {
            request.send(Wire::streamHead() + Wire::frame(libraryChanged));
            request.close();
        });
        EVENTUALLY_COMPARE(other.events.lines, (QStringList{u"connected"_s, u"library changed"_s,
                                                            u"disconnected 0 \"\""_s}));
    }

    void resetIsANetworkError()
    {
        fixture->sendFrame(libraryChanged);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 2);
        fixture->stream.reset();
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 3);
        QVERIFY2(isNetworkError(fixture->events.lines.last()),
                 qPrintable(fixture->events.lines.last()));
    }

    void endWithoutAByteDoesNotConnect()
    {
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"disconnected 0 \"\""_s});
    }

    void incompleteHeadIsANetworkError()
    {
        HandlerFixture other(loopback(2));
        other.server.on(notifierPath, [](const WireRequest &request) {
            request.send("HTTP/1.1 200 OK\r\nContent-Ty");
            request.reset();
        });
        EVENTUALLY_COMPARE(other.events.lines.size(), 1);
        QVERIFY(isNetworkError(other.events.lines.first()));
    }

    void refusedConnectionDoesNotConnect()
    {
        ServerConnectionHandler handler(QHostAddress(loopback(3)), QUuid::createUuid());
        const HandlerEvents events(handler);
        EVENTUALLY_COMPARE(events.lines.size(), 1);
        QCOMPARE(events.lines.first(), u"disconnected 3 \"Connection refused\""_s);
    }

    void shutdownMessageWaitsForTheEndOfTheStream()
    {
        fixture->sendFrame(shutdown);
        fixture->sendFrame(libraryChanged);
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"connected"_s, u"library changed"_s}));
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"disconnected 1 \"\""_s);
    }

    void shutdownFollowedByAnErrorIsAShutdown()
    {
        fixture->sendFrame(shutdown);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
        fixture->stream.reset();
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"disconnected 1 \"\""_s);
    }

    void statusCodeIsIgnoredWhileTheStreamIsOpen()
    {
        HandlerFixture other(loopback(2));
        other.server.on(notifierPath, [](const WireRequest &request) {
            request.send("HTTP/1.1 503 Busy\r\nTransfer-Encoding: chunked\r\n\r\n" +
                         Wire::chunk(Wire::frame(libraryChanged)));
        });
        EVENTUALLY_COMPARE(other.events.lines, (QStringList{u"connected"_s, u"library changed"_s}));
        QVERIFY(other.probe.streamReply()->isRunning());
    }

    void redirectIsNotFollowed()
    {
        HandlerFixture other(loopback(2));
        other.server.answer(notifierPath, {}, "Location: http://" LOOPBACK(2) ":4567/elsewhere\r\n",
                            "302 Found");
        EVENTUALLY_COMPARE(other.events.lines, QStringList{u"disconnected 0 \"\""_s});
        QCOMPARE(other.server.requests().size(), 1);
    }

    void endClearsTheTransfersSilently()
    {
        startTransfer();
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"disconnected 0 \"\""_s);
        QCOMPARE(fixture->events.lines.size(), 3);
        QVERIFY(fixture->probe.activeTransfers().isEmpty());
    }

    void startAndEndAreLogged()
    {
        LogCapture log;
        ServerConnectionHandler handler(QHostAddress(loopback(3)), QUuid::createUuid());
        const HandlerEvents events(handler);
        EVENTUALLY_COMPARE(events.lines.size(), 1);
        QCOMPARE(
            log.entries(),
            (QStringList{u"info: Connecting to notification stream of server : "
                         "http://" LOOPBACK(3) ":4567/brenvoka/notifier.html?ver=281474976710656"_s,
                         u"info: Connection to server "
                         "http://" LOOPBACK(3) ":4567/brenvoka/notifier.html?%2 terminated"_s}));
    }

    void stopEndsTheStreamWithoutASignal()
    {
        LogCapture log;
        startTransfer();
        fixture->events.lines.clear();
        fixture->handler.stop();
        QCOMPARE(fixture->probe.streamReply(), nullptr);
        QVERIFY(fixture->probe.activeTransfers().isEmpty());
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 0);
        QCOMPARE(fixture->events.lines, QStringList());
        QCOMPARE(log.entries().last(), u"info: Connection to server "
                                       "http://" LOOPBACK(1) ":4567/brenvoka/notifier.html?%2 "
                                                             "terminated"_s);
    }

    void stopBeforeTheFirstByteIsSilent()
    {
        ServerConnectionHandler handler(fixture->server.address(), QUuid::createUuid());
        const HandlerEvents events(handler);
        handler.stop();
        handler.stop();
        QCOMPARE(events.lines, QStringList());
    }

    void stopAfterTheEndIsSilent()
    {
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
        fixture->handler.stop();
        QCOMPARE(fixture->events.lines.size(), 1);
    }

    void stopReportsQueuedRemovalsOnly()
    {
        fixture->handler.requestRemove({{1, 1}, {1, 2}, {2, 3}});
        fixture->handler.requestMove(1, 2, 3);
        fixture->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        QVERIFY(fixture->waitForCommands(3));
        fixture->handler.stop();
        QCOMPARE(fixture->events.lines, (QStringList{u"removed 1 2"_s, u"removed 2 3"_s}));
        QVERIFY(fixture->probe.removeQueue().isEmpty());
        // The removal and the move are aborted; the connection of the rename remains open.
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        fixture->command(CommandBodies::rename({1, u"a"_s})).answer(successBody);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->probe.renameQueue().size(), 1);
        QCOMPARE(fixture->commands().size(), 3);
        QCOMPARE(fixture->events.lines.size(), 2);
    }

    void stopInsideASignal()
    {
        connect(&fixture->handler, &ServerConnectionHandler::connectedServerLibraryChanged, this,
                [this] { fixture->handler.stop(); });
        fixture->send(Wire::frame(libraryChanged) + Wire::frame(libraryChanged));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"connected"_s, u"library changed"_s}));
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 0);
        QCOMPARE(fixture->events.lines.size(), 2);
    }

    void stopInsideConnected()
    {
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerConnected, this,
                [this] { fixture->handler.stop(); });
        fixture->sendFrame(libraryChanged);
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 0);
        QCOMPARE(fixture->events.lines, QStringList{u"connected"_s});
    }

    // Here nothing was read before the stream ended.
    void stopInsideConnectedAtTheEnd()
    {
        disconnect(fixture->probe.streamReply(), &QNetworkReply::readyRead, &fixture->handler,
                   nullptr);
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerConnected, this,
                [this] { fixture->handler.stop(); });
        fixture->sendFrame(libraryChanged);
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->probe.streamReply(), nullptr);
        QCOMPARE(fixture->events.lines, QStringList{u"connected"_s});
    }

    void stopInsideTheListOfTransfers()
    {
        connect(&fixture->handler, &ServerConnectionHandler::handlerSyncProgressUpdate, this,
                [this] { fixture->handler.stop(); });
        fixture->sendFrame(json("{'msg_type':0,'active_transfers':["
                                "{'ID':'7d444840-9dc0-11d1-b245-5ffdce74fad2'},"
                                "{'ID':'8d444840-9dc0-11d1-b245-5ffdce74fad2'}]}"));
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 0);
        QCOMPARE(fixture->events.lines, (QStringList{u"connected"_s, u"progress 0 0 0 0"_s}));
    }

    void nestedLoopKeepsTheOrder()
    {
        bool first = true;
        connect(&fixture->handler, &ServerConnectionHandler::connectedServerLibraryChanged, this,
                [&] {
                    if (std::exchange(first, false)) {
                        fixture->sendFrame(json("_type':5,'GFPS':3}"));
                        QVERIFY(waitFor([&] { return fixture->events.lines.size() == 5; }));
                    }
                });
        fixture->send(Wire::frame(libraryChanged) + Wire::frame(json("{'msg_type':5,'GFPS':1}")) +
                      Wire::frame(json("{'msg_type':5,'GFPS':2}")) + json("{'msg"));
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 5);
        fixture->sendFrame(libraryChanged);
        EVENTUALLY_COMPARE(
            fixture->events.lines,
            (QStringList{u"connected"_s, u"library changed"_s, u"stats 1 0 0 false"_s,
                         u"stats 2 0 0 false"_s, u"stats 3 0 0 false"_s, u"library changed"_s}));
        QCOMPARE(fixture->probe.receiveBuffer(), QByteArray());
    }

    // The bytes are still unread when the stream ends, since the receiver of the first signal has
    // not returned.
    void shutdownInTheLastBytesOverridesAnError()
    {
        bool nested = true;
        QString error;
        const QNetworkReply *const reply = fixture->probe.streamReply();
        connect(reply, &QNetworkReply::errorOccurred, this, [&] { error = reply->errorString(); });
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerConnected, this, [&] {
            fixture->stream.reset();
            nested = waitFor([&] { return fixture->events.lines.size() == 3; });
        });
        fixture->send(Wire::frame(libraryChanged) + Wire::frame(shutdown));
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 3);
        QVERIFY(nested);
        QCOMPARE(fixture->events.lines.at(1), u"library changed"_s);
        // On a busy machine Qt takes some resets for the end of the stream, without a text.
        QCOMPARE(fixture->events.lines.last(), u"disconnected 1 \"%1\""_s.arg(error));
    }

    void stopInTheLastBytesIsSilent()
    {
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerConnected, this, [&] {
            fixture->stream.reset();
            QVERIFY(waitFor([&] { return fixture->probe.streamReply() == nullptr; }));
        });
        connect(&fixture->handler, &ServerConnectionHandler::connectedServerLibraryChanged, this,
                [&] { fixture->handler.stop(); });
        fixture->sendFrame(libraryChanged);
        EVENTUALLY_COMPARE(fixture->probe.streamReply(), nullptr);
        QCOMPARE(fixture->events.lines, (QStringList{u"connected"_s, u"library changed"_s}));
    }

    void endInANestedLoopIsReportedAfterTheMessages()
    {
        bool first = true;
        connect(&fixture->handler, &ServerConnectionHandler::connectedServerLibraryChanged, this,
                [&] {
                    if (std::exchange(first, false)) {
                        fixture->stream.send(Wire::lastChunk());
                        QVERIFY(waitFor([&] { return fixture->probe.streamReply() == nullptr; }));
                    }
                });
        fixture->send(Wire::frame(libraryChanged) + Wire::frame(libraryChanged) +
                      Wire::frame(shutdown));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"connected"_s, u"library changed"_s, u"library changed"_s,
                                        u"disconnected 1 \"\""_s}));
    }

    void deletionInANestedLoopWaitsForTheSignalToReturn_data()
    {
        QTest::addColumn<bool>("atTheEnd");
        QTest::newRow("message") << false;
        QTest::newRow("end of the stream") << true;
    }
    void deletionInANestedLoopWaitsForTheSignalToReturn()
    {
        QFETCH(const bool, atTheEnd);
        const QPointer<ServerConnectionHandler> handler =
            new ServerConnectionHandler(fixture->server.address(), QUuid::createUuid());
        bool alive = false;
        const auto boxWithADeletion = [&] {
            QTimer::singleShot(0, handler, [&] {
                handler->stop();
                handler->deleteLater();
            });
            QEventLoop box;
            QTimer::singleShot(50, &box, &QEventLoop::quit);
            box.exec();
            alive = !handler.isNull();
        };
        if (atTheEnd)
            connect(handler, &ServerConnectionHandler::handlerServerDisconnected, this,
                    boxWithADeletion);
        else
            connect(handler, &ServerConnectionHandler::connectedServerLibraryChanged, this,
                    boxWithADeletion);
        QVERIFY(fixture->server.waitForRequests(2, notifierPath));
        const WireRequest stream = fixture->server.requests(notifierPath).last();
        stream.send(Wire::chunk(Wire::frame(libraryChanged)));
        if (atTheEnd)
            stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(handler.isNull(), true);
        QVERIFY(alive);
    }

    void destructionIsSilent()
    {
        auto handler = std::make_unique<ServerConnectionHandler>(fixture->server.address(),
                                                                 QUuid::createUuid());
        const HandlerEvents events(*handler);
        handler->requestRemove({{1, 1}, {1, 2}});
        handler->requestMove(1, 2, 3);
        QVERIFY(fixture->waitForCommands(2));
        handler.reset();
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        QCOMPARE(events.lines, QStringList());
    }

    void processReceivedDataIsNeverEmitted()
    {
        bool received = false;
        connect(&fixture->handler, &ServerConnectionHandler::processReceivedData, this,
                [&] { received = true; });
        fixture->send(wireFile(u"stream.bin"_s));
        EVENTUALLY_COMPARE(fixture->events.lines.contains(u"library changed"_s), true);
        QVERIFY(!received);
    }

private:
    static bool isNetworkError(const QString &line)
    {
        return line.startsWith(u"disconnected 3 \""_s) && line != u"disconnected 3 \"\""_s;
    }

    void startTransfer()
    {
        fixture->sendFrame(
            json("{'msg_type':1,'sync':{'ID':'7d444840-9dc0-11d1-b245-5ffdce74fad2'}}"));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"connected"_s, u"progress 0 0 0 0"_s}));
    }
};

QTEST_GUILESS_MAIN(tst_HandlerLifecycle)
#include "tst_HandlerLifecycle.moc"
