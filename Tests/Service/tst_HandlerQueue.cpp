// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Service/HandlerTesting.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <memory>

namespace {

const QString address = loopback(1);
const QHostAddress source(u"127.0.0.2"_s);

QByteArray removal(int folderSlot, int fileSlot)
{
    return CommandBodies::remove({folderSlot, fileSlot});
}

QByteArray rename(int folderSlot, const QString &name)
{
    return CommandBodies::rename({folderSlot, name});
}

QList<VisualRef> visuals(int count)
{
    QList<VisualRef> all;
    for (int i = 0; i < count; ++i)
        all.append({i / 256, i % 256});
    return all;
}

} // namespace

/// Which commands are in flight, which wait, and what happens to either.
class tst_HandlerQueue : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<HandlerRig>(address);
        QVERIFY(rig->open());
    }

    void cleanup() { rig.reset(); }

    void removalsGoOneByOne()
    {
        rig->handler.requestRemove({{1, 1}, {1, 2}});
        QVERIFY(rig->waitForCommands(1));
        rig->handler.requestRemove({{1, 3}});
        QCOMPARE(rig->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 3}}));
        QCOMPARE(rig->probe.pendingRequests(), 1);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(rig->waitForCommands(i + 1));
            QCOMPARE(rig->commands().size(), i + 1);
            rig->commands().at(i).answer(successBody);
        }
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"removed 1 1"_s, u"removed 1 2"_s, u"removed 1 3"_s}));
        QCOMPARE(rig->commandBodies(),
                 (QByteArrayList{removal(1, 1), removal(1, 2), removal(1, 3)}));
        QVERIFY(rig->probe.nothingInFlight());
    }

    void renamesGoOneByOne()
    {
        rig->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        QVERIFY(rig->waitForCommands(1));
        rig->handler.requestRename({{3, u"c"_s}});
        QCOMPARE(rig->probe.renameQueue().size(), 2);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(rig->waitForCommands(i + 1));
            QCOMPARE(rig->commands().size(), i + 1);
            rig->commands().at(i).answer(successBody);
        }
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"renamed 1"_s, u"renamed 2"_s, u"renamed 3"_s}));
        QVERIFY(rig->probe.nothingInFlight());
    }

    void duplicateRemovalsAreTakenOffByTheRule()
    {
        rig->server.answer(executePath, successBody);
        rig->handler.requestRemove({{1, 1}, {1, 1}, {1, 2}});
        QCOMPARE(rig->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 2}}));
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"removed 1 1"_s, u"removed 1 2"_s, u"removed 1 2"_s}));
        QCOMPARE(rig->commandBodies(),
                 (QByteArrayList{removal(1, 1), removal(1, 2), removal(1, 2)}));
    }

    void duplicateRenamesAreTakenOffByTheRule()
    {
        rig->server.answer(executePath, successBody);
        rig->handler.requestRename({{1, u"a"_s}, {1, u"a"_s}, {1, u"b"_s}});
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"renamed 1"_s, u"renamed 1"_s, u"renamed 1"_s}));
        QCOMPARE(rig->commandBodies(),
                 (QByteArrayList{rename(1, u"a"_s), rename(1, u"b"_s), rename(1, u"b"_s)}));
    }

    void cancelOfRemovalsSparesTheOneInFlight()
    {
        rig->handler.requestRemove({{1, 1}, {1, 2}, {1, 3}});
        QVERIFY(rig->waitForCommands(1));
        rig->handler.cancelRemoves();
        QVERIFY(rig->probe.removeQueue().isEmpty());
        QCOMPARE(rig->events.lines, QStringList());
        rig->commands().constFirst().answer(successBody);
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"removed 1 1"_s});
        QVERIFY(rig->probe.nothingInFlight());
        QCOMPARE(rig->commands().size(), 1);
    }

    void secondMoveTakesThePlaceOfTheFirst()
    {
        rig->handler.requestMove(1, 2, 3);
        rig->handler.requestMove(4, 5, 6);
        QVERIFY(rig->waitForCommands(2));
        QCOMPARE(rig->probe.moveInFlight().folderSlot, 4);
        QCOMPARE(rig->probe.pendingRequests(), 2);
        rig->command(CommandBodies::move(1, 2, 3)).answer(json("{'msg_type':7,'RESULT':1}"));
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 1);
        QCOMPARE(rig->events.lines, QStringList());
        rig->command(CommandBodies::move(4, 5, 6)).answer(successBody);
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"moved"_s});
        QVERIFY(rig->probe.nothingInFlight());
    }

    void commandsFromInsideTheirAnswers()
    {
        rig->server.answer(executePath, successBody);
        connect(&rig->handler, &ServerConnectionHandler::handlerRemoveFinished, this,
                [&](const QUuid &, int, int fileSlot) {
                    if (fileSlot == 1)
                        rig->handler.requestRemove({{1, 2}});
                });
        bool again = true;
        connect(&rig->handler, &ServerConnectionHandler::handlerMoveFileFinished, this, [&] {
            if (std::exchange(again, false))
                rig->handler.requestMove(1, 2, 3);
        });
        rig->handler.requestRemove({{1, 1}});
        rig->handler.requestMove(1, 2, 3);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 4);
        QCOMPARE(rig->events.lines.filter(u"removed"_s),
                 (QStringList{u"removed 1 1"_s, u"removed 1 2"_s}));
        QCOMPARE(rig->events.lines.count(u"moved"_s), 2);
        QCOMPARE(rig->commands().size(), 4);
    }

    void stopFromInsideAnAnswerSendsNoMore()
    {
        connect(&rig->handler, &ServerConnectionHandler::handlerRenameFinished, this,
                [&] { rig->handler.stop(); });
        rig->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        QVERIFY(rig->waitForCommands(1));
        rig->commands().constFirst().answer(successBody);
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"renamed 1"_s});
        QCOMPARE(rig->probe.renameQueue().size(), 1);
        QCOMPARE(rig->probe.pendingRequests(), 0);
    }

    void fourCommandsAreOnTheWireAtMost()
    {
        rig->handler.requestSync(source, visuals(10));
        QCOMPARE(rig->events.lines.size(), 10);
        QCOMPARE(rig->probe.pendingRequests(), 10);
        QVERIFY(rig->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);
        rig->commands().at(2).answer(successBody);
        QVERIFY(rig->waitForCommands(5));
        QCOMPARE(commandsOnTheWire(), 4);
        QCOMPARE(rig->probe.pendingRequests(), 9);
    }

    void twoThousandSyncsGoOutInOrder()
    {
        rig->server.answer(executePath, successBody);
        const QList<VisualRef> all = visuals(2000);
        rig->handler.requestSync(source, all);
        QCOMPARE(rig->events.lines.size(), 2000);
        QCOMPARE(rig->probe.pendingRequests(), 2000);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->events.lines.size(), 2000);

        // Four connections deliver in any order among themselves, so three may still be on their
        // way that were sent before.
        const QByteArrayList bodies = rig->commandBodies();
        QCOMPARE(bodies.size(), 2000);
        for (qsizetype i = 0; i < all.size(); ++i) {
            const qsizetype at = bodies.indexOf(CommandBodies::sync(source, all.at(i)));
            QVERIFY2(at >= 0 && i <= at + 3, qPrintable(u"%1 came as %2"_s.arg(i).arg(at)));
        }
        QVERIFY(rig->server.connectionCount() <= 5);
    }

    void cancelGoesBehindWhatItFollows()
    {
        rig->handler.requestSync(source, visuals(5));
        rig->handler.cancelSyncs();
        rig->handler.requestSync(source, {{9, 9}});
        QCOMPARE(rig->probe.pendingRequests(), 7);
        QVERIFY(rig->waitForCommands(4));
        for (int i = 0; i < 3; ++i)
            rig->commands().at(i).answer(successBody);
        QVERIFY(rig->waitForCommands(5));
        rig->commands().at(4).answer(successBody);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 3);
        QCOMPARE(commandsOnTheWire(), 1);

        rig->commands().at(3).answer(successBody);
        QVERIFY(rig->waitForCommands(6));
        QCOMPARE(rig->commands().at(5).body, CommandBodies::cancelSyncs());
        QCOMPARE(commandsOnTheWire(), 1);

        rig->commands().at(5).answer(successBody);
        QVERIFY(rig->waitForCommands(7));
        QCOMPARE(rig->commands().at(6).body, CommandBodies::sync(source, {9, 9}));
        rig->commands().at(6).answer(successBody);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
    }

    void failedCancelLetsTheRestGo()
    {
        rig->handler.cancelSyncs();
        rig->handler.requestSync(source, visuals(1));
        QVERIFY(rig->waitForCommands(1));
        rig->commands().constFirst().answer({}, {}, "404 Nothing");
        QVERIFY(rig->waitForCommands(2));
    }

    void inFlightIsTrueFromTheCall()
    {
        rig->handler.requestSync(source, visuals(4));
        rig->handler.requestRemove({{1, 1}, {1, 2}});
        rig->handler.requestRemove({{1, 3}});
        rig->handler.requestRename({{1, u"a"_s}});
        rig->handler.requestRename({{2, u"b"_s}});
        rig->handler.requestMove(1, 2, 3);
        QCOMPARE(rig->probe.pendingRequests(), 7);
        QCOMPARE(rig->probe.removeInFlight().fileSlot, 1);
        QCOMPARE(rig->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 3}}));
        QCOMPARE(rig->probe.renameInFlight().name, u"a"_s);
        QCOMPARE(rig->probe.renameQueue(), (QList<FolderRename>{{2, u"b"_s}}));
        QCOMPARE(rig->probe.moveInFlight().toSlot, 3);
        QVERIFY(rig->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);

        rig->events.lines.clear();
        rig->server.answer(executePath, successBody);
        for (const WireRequest &request : rig->commands())
            request.answer(successBody);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 6);
        QVERIFY(rig->events.lines.contains(u"moved"_s));
        QCOMPARE(rig->events.lines.filter(u"removed"_s).size(), 3);
        QCOMPARE(rig->events.lines.filter(u"renamed"_s).size(), 2);
        QVERIFY(rig->probe.nothingInFlight());
    }

    void secondMoveTakesThePlaceOfOneThatStillWaits()
    {
        rig->handler.requestSync(source, visuals(4));
        rig->handler.requestMove(1, 2, 3);
        rig->handler.requestMove(4, 5, 6);
        rig->events.lines.clear();
        QVERIFY(rig->waitForCommands(4));
        for (const WireRequest &request : rig->commands())
            request.answer(successBody);
        QVERIFY(rig->waitForCommands(6));
        for (const WireRequest &request : rig->commands().mid(4))
            request.answer(request.body == CommandBodies::move(1, 2, 3)
                               ? json("{'msg_type':7,'RESULT':1}")
                               : successBody);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->events.lines, QStringList{u"moved"_s});
    }

    void nextIsSentBeforeTheSignalsOfAnAnswer()
    {
        rig->handler.requestRemove({{1, 1}});
        rig->handler.requestSync(source, visuals(4));
        QVERIFY(rig->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);
        bool sent = false;
        connect(&rig->handler, &ServerConnectionHandler::handlerRemoveFinished, this,
                [&] { sent = rig->waitForCommands(5); });
        for (const WireRequest &request : rig->commands()) {
            if (request.body == removal(1, 1))
                request.answer(successBody);
        }
        EVENTUALLY_COMPARE(rig->events.lines.contains(u"removed 1 1"_s), true);
        EVENTUALLY_COMPARE(sent, true);
    }

    void stopDropsWhatWaits()
    {
        rig->handler.requestSync(source, visuals(10));
        rig->handler.requestRemove({{1, 1}, {1, 2}});
        rig->handler.requestMove(1, 2, 3);
        rig->handler.cancelSyncs();
        rig->events.lines.clear();
        QVERIFY(rig->waitForCommands(4));
        rig->handler.stop();
        QCOMPARE(rig->events.lines, QStringList{u"removed 1 2"_s});
        for (const WireRequest &request : rig->commands())
            request.answer(successBody);
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->probe.runningReplies(), 0);
        QCOMPARE(rig->commands().size(), 4);
        QCOMPARE(rig->events.lines.size(), 1);
    }

    void destructionDropsWhatWaits()
    {
        auto handler =
            std::make_unique<ServerConnectionHandler>(rig->server.address(), QUuid::createUuid());
        const HandlerEvents events(*handler);
        handler->requestSync(source, visuals(10));
        QVERIFY(rig->waitForCommands(4));
        handler.reset();
        QCOMPARE(events.lines.size(), 10);
        EVENTUALLY_COMPARE(rig->server.openConnections(), 1);
        QCOMPARE(rig->commands().size(), 4);
    }

private:
    /// Those that Qt has, whether or not they have arrived.
    int commandsOnTheWire() const
    {
        constexpr int stream = 1;
        return rig->probe.runningReplies() - stream;
    }

    std::unique_ptr<HandlerRig> rig;
};

QTEST_GUILESS_MAIN(tst_HandlerQueue)
#include "tst_HandlerQueue.moc"
