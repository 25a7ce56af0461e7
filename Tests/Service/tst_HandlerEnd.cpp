// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Service/HandlerTesting.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QTemporaryFile>

#include <memory>

namespace {

const QString address = loopback(1);
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

/// What a handler still does when its stream has ended or it was stopped: nothing.
class tst_HandlerEnd : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<HandlerRig>(address);
        QVERIFY(rig->open());
        QVERIFY(file.open());
    }

    void cleanup() { rig.reset(); }

    void waitingCommandsAreDroppedBeforeTheLossIsReported()
    {
        startEverything();
        rig->handler.requestSync(source, {{2, 1}, {2, 2}, {2, 3}});
        QVERIFY(rig->waitForCommands(4));
        rig->events.lines.clear();
        bool empty = false;
        connect(&rig->handler, &ServerConnectionHandler::handlerServerDisconnected, this,
                [&] { empty = nothingWaits() && rig->probe.pendingRequests() == 4; });
        rig->stream.reset();
        EVENTUALLY_COMPARE(rig->events.lines.size(), 1);
        QVERIFY(rig->events.lines.first().startsWith(u"disconnected 3"_s));
        QVERIFY(empty);
    }

    void answersAfterTheEndOfTheStreamAreNotReported_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("success") << successBody;
        QTest::newRow("refusal") << json("{'msg_type':7,'RESULT':1}");
        QTest::newRow("reset") << QByteArray();
    }

    void answersAfterTheEndOfTheStreamAreNotReported()
    {
        QFETCH(const QByteArray, answer);
        startEverything();
        rig->handler.requestUpload(1, 2, file.fileName());
        QVERIFY(rig->waitForCommands(3));
        QVERIFY(rig->server.waitForRequests(1, uploadPath));
        rig->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(rig->events.lines.filter(u"disconnected"_s).size(), 1);
        rig->events.lines.clear();
        const auto end = [&answer](const WireRequest &request) {
            answer.isNull() ? request.reset() : request.answer(answer);
        };
        // Qt repeats an upload on a new connection.
        rig->server.on(uploadPath, end);
        for (const WireRequest &request : rig->commands() + rig->server.requests(uploadPath))
            end(request);
        // What is sent next is sent before an answer is reported.
        EVENTUALLY_COMPARE(rig->probe.runningReplies(), 0);
        QCOMPARE(rig->commands().size(), 3);
        QCOMPARE(rig->events.lines, QStringList());
        QVERIFY(nothingWaits());
    }

    void progressOfAnUploadIsNotReportedAfterTheEndOfTheStream()
    {
        QVERIFY(file.resize(16 << 20));
        rig->server.setReading(false);
        rig->handler.requestUpload(1, 2, file.fileName());
        EVENTUALLY_COMPARE(rig->events.lines.filter(u"upload progress"_s).isEmpty(), false);
        rig->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(rig->events.lines.filter(u"disconnected"_s).size(), 1);
        rig->events.lines.clear();
        rig->server.setReading(true);
        EVENTUALLY_COMPARE(rig->server.requests(uploadPath).size(), 1);
        QCOMPARE(rig->events.lines, QStringList());
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
        rig->sendFrame(twoTransfers);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 3);
        // Inside the report as well as after it.
        connect(&rig->handler, &ServerConnectionHandler::handlerServerDisconnected, this,
                [&] { request(rig->handler, file.fileName()); });
        if (stopped)
            rig->handler.stop();
        else
            rig->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(rig->probe.streamReply(), nullptr);
        request(rig->handler, file.fileName());
        rig->handler.stop();
        QCOMPARE(rig->events.lines.size(), stopped ? 3 : 4);
        QCOMPARE(rig->probe.runningReplies(), 0);
        QCOMPARE(rig->probe.pendingRequests(), 0);
        QVERIFY(nothingWaits() && rig->probe.nothingInFlight());
    }

    void stopInsideTheSignalsOfARequestEndsIt_data()
    {
        QTest::addColumn<Request>("request");
        for (const auto &[name, request] : requests.first(2))
            QTest::newRow(name) << request;
    }

    void stopInsideTheSignalsOfARequestEndsIt()
    {
        QFETCH(const Request, request);
        rig->sendFrame(twoTransfers);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 3);
        connect(&rig->handler, &ServerConnectionHandler::handlerSyncProgressUpdate, this,
                [this] { rig->handler.stop(); });
        request(rig->handler, {});
        QCOMPARE(rig->events.lines.size(), 4);
        QCOMPARE(rig->probe.pendingRequests(), rig->probe.runningReplies());
    }

    void removalRequestedWhileStopReportsIsDropped()
    {
        rig->handler.requestRemove({{1, 1}, {1, 2}});
        connect(&rig->handler, &ServerConnectionHandler::handlerRemoveFinished, this, [this] {
            rig->handler.requestRemove({{1, 3}, {1, 4}});
        });
        rig->handler.stop();
        rig->handler.stop();
        QCOMPARE(rig->events.lines, QStringList{u"removed 1 2"_s});
        QVERIFY(nothingWaits());
    }

private:
    /// One command of each kind that is answered, and one that waits behind it.
    void startEverything()
    {
        rig->handler.requestRemove({{1, 1}, {1, 2}});
        rig->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        rig->handler.requestMove(1, 2, 3);
    }

    [[nodiscard]] bool nothingWaits() const
    {
        return rig->probe.removeQueue().isEmpty() && rig->probe.renameQueue().isEmpty();
    }

    QTemporaryFile file;
    std::unique_ptr<HandlerRig> rig;
};

QTEST_GUILESS_MAIN(tst_HandlerEnd)
#include "tst_HandlerEnd.moc"
