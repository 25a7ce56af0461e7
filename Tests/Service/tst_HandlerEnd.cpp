// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Service/HandlerTest.h"
#include "Support/Wait.h"

#include <QTemporaryFile>

namespace {

const QHostAddress source(u"127.0.0.2"_s);
const QByteArray twoTransfers =
    json("{'msg_type':0,'active_transfers':["
         "{'ID':'7d444840-9dc0-11d1-b245-5ffdce74fad2','FLDIDX':1,'VISIDX':2},"
         "{'ID':'8d444840-9dc0-11d1-b245-5ffdce74fad2','FLDIDX':1,'VISIDX':2}]}");

using Request = std::function<void(ServerConnectionHandler &, const QString &file)>;

const QList<std::pair<const char *, Request>> requests{
    {"requestSync",
     [](auto &handler, const auto &) {
         handler.requestSync(source, {{1, 1}, {1, 2}});
     }},
    {"cancelSyncs", [](auto &handler, const auto &) { handler.cancelSyncs(); }},
    {"requestRemove",
     [](auto &handler, const auto &) {
         handler.requestRemove({{1, 1}, {1, 2}});
     }},
    {"cancelRemoves", [](auto &handler, const auto &) { handler.cancelRemoves(); }},
    {"requestMove", [](auto &handler, const auto &) { handler.requestMove(1, 2, 3); }},
    {"requestRename",
     [](auto &handler, const auto &) {
         handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
     }},
    {"requestUpload", [](auto &handler, const auto &file) { handler.requestUpload(1, 2, file); }},
    {"cancelUpload", [](auto &handler, const auto &) { handler.cancelUpload(); }}};

} // namespace

/// A handler does nothing after the end of its stream or a stop.
class tst_HandlerEnd : public HandlerTest
{
    Q_OBJECT

private slots:
    void init()
    {
        setUp();
        QVERIFY(file.open());
    }

    void cleanup() { tearDown(); }

    void queuedCommandsAreDroppedBeforeTheLossIsReported()
    {
        startEverything();
        fixture->handler.requestSync(source, {{2, 1}, {2, 2}, {2, 3}});
        QVERIFY(fixture->waitForCommands(4));
        fixture->events.lines.clear();
        bool empty = false;
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerDisconnected, this,
                [&] { empty = nothingWaits() && fixture->probe.pendingRequests() == 4; });
        fixture->stream.reset();
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
        // On a busy machine Qt takes some resets for the end of the stream, without an error.
        QVERIFY(fixture->events.lines.first().startsWith(u"disconnected"_s));
        QVERIFY(empty);
    }

    void resultsAfterTheEndAreNotReported_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("success") << successBody;
        QTest::newRow("refusal") << json("{'msg_type':7,'RESULT':1}");
        QTest::newRow("reset") << QByteArray();
    }
    void resultsAfterTheEndAreNotReported()
    {
        QFETCH(const QByteArray, answer);
        startEverything();
        fixture->handler.requestUpload(1, 2, file.fileName());
        QVERIFY(fixture->waitForCommands(3));
        QVERIFY(fixture->server.waitForRequests(1, uploadPath));
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.filter(u"disconnected"_s).size(), 1);
        fixture->events.lines.clear();
        const auto end = [&answer](const WireRequest &request) {
            answer.isNull() ? request.reset() : request.answer(answer);
        };
        // Qt repeats an upload on a new connection.
        fixture->server.on(uploadPath, end);
        for (const WireRequest &request :
             fixture->commands() + fixture->server.requests(uploadPath))
            end(request);
        // The next command is sent before a result is reported.
        EVENTUALLY_COMPARE(fixture->probe.runningReplies(), 0);
        QCOMPARE(fixture->commands().size(), 3);
        QCOMPARE(fixture->events.lines, QStringList());
        QVERIFY(nothingWaits());
    }

    void stopAfterTheEndUsesNoDeletedReply()
    {
        startEverything();
        QVERIFY(fixture->waitForCommands(3));
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.filter(u"disconnected"_s).size(), 1);
        for (const WireRequest &request : fixture->commands())
            request.answer(successBody);
        EVENTUALLY_COMPARE(fixture->probe.replies().size(), 0);
        QVERIFY(fixture->probe.nothingInFlight());
        fixture->handler.stop();
    }

    void uploadProgressAfterTheEndIsNotReported()
    {
        QVERIFY(file.resize(16 << 20));
        fixture->server.setReading(false);
        fixture->handler.requestUpload(1, 2, file.fileName());
        EVENTUALLY_COMPARE(fixture->events.lines.filter(u"upload progress"_s).isEmpty(), false);
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines.filter(u"disconnected"_s).size(), 1);
        fixture->events.lines.clear();
        fixture->server.setReading(true);
        EVENTUALLY_COMPARE(fixture->server.requests(uploadPath).size(), 1);
        QCOMPARE(fixture->events.lines, QStringList());
    }

    void requestAfterTheEndIsDropped_data()
    {
        QTest::addColumn<bool>("stopped");
        QTest::addColumn<Request>("request");
        for (const bool stopped : {true, false}) {
            for (const auto &[name, request] : requests)
                QTest::addRow("%s after %s", name, stopped ? "stop" : "the end of the stream")
                    << stopped << request;
        }
    }
    void requestAfterTheEndIsDropped()
    {
        QFETCH(const bool, stopped);
        QFETCH(const Request, request);
        fixture->sendFrame(twoTransfers);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 3);
        // Inside the signal as well as after it.
        connect(&fixture->handler, &ServerConnectionHandler::handlerServerDisconnected, this,
                [&] { request(fixture->handler, file.fileName()); });
        if (stopped)
            fixture->handler.stop();
        else
            fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->probe.streamReply(), nullptr);
        request(fixture->handler, file.fileName());
        fixture->handler.stop();
        QCOMPARE(fixture->events.lines.size(), stopped ? 3 : 4);
        QCOMPARE(fixture->probe.runningReplies(), 0);
        QCOMPARE(fixture->probe.pendingRequests(), 0);
        QVERIFY(nothingWaits() && fixture->probe.nothingInFlight());
    }

    void stopInsideSignalsEndsTheRequest_data()
    {
        QTest::addColumn<Request>("request");
        for (const auto &[name, request] : requests.first(2))
            QTest::newRow(name) << request;
    }
    void stopInsideSignalsEndsTheRequest()
    {
        QFETCH(const Request, request);
        fixture->sendFrame(twoTransfers);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 3);
        connect(&fixture->handler, &ServerConnectionHandler::handlerSyncProgressUpdate, this,
                [this] { fixture->handler.stop(); });
        request(fixture->handler, {});
        QCOMPARE(fixture->events.lines.size(), 4);
        QCOMPARE(fixture->probe.pendingRequests(), fixture->probe.runningReplies());
    }

    void removalRequestedDuringStopIsDropped()
    {
        fixture->handler.requestRemove({{1, 1}, {1, 2}});
        connect(&fixture->handler, &ServerConnectionHandler::handlerRemoveFinished, this, [this] {
            fixture->handler.requestRemove({{1, 3}, {1, 4}});
        });
        fixture->handler.stop();
        fixture->handler.stop();
        QCOMPARE(fixture->events.lines, QStringList{u"removed 1 2"_s});
        QVERIFY(nothingWaits());
    }

private:
    /// One command of each kind with a result, and one that is queued after it.
    void startEverything()
    {
        fixture->handler.requestRemove({{1, 1}, {1, 2}});
        fixture->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        fixture->handler.requestMove(1, 2, 3);
    }

    [[nodiscard]] bool nothingWaits() const
    {
        return fixture->probe.removeQueue().isEmpty() && fixture->probe.renameQueue().isEmpty();
    }

    QTemporaryFile file;
};

QTEST_GUILESS_MAIN(tst_HandlerEnd)
#include "tst_HandlerEnd.moc"
