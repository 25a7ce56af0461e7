// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Protocol/Urls.h"
#include "Service/HandlerTest.h"
#include "Support/Wait.h"

#include <memory>

namespace {

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

/// Which commands are in flight, which are queued, and what happens to both.
class tst_HandlerQueue : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void removalsAreSentOneByOne()
    {
        fixture->handler.requestRemove({{1, 1}, {1, 2}});
        QVERIFY(fixture->waitForCommands(1));
        fixture->handler.requestRemove({{1, 3}});
        QCOMPARE(fixture->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 3}}));
        QCOMPARE(fixture->probe.pendingRequests(), 1);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(fixture->waitForCommands(i + 1));
            QCOMPARE(fixture->commands().size(), i + 1);
            fixture->commands().at(i).answer(successBody);
        }
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"removed 1 1"_s, u"removed 1 2"_s, u"removed 1 3"_s}));
        QCOMPARE(fixture->commandBodies(),
                 (QByteArrayList{removal(1, 1), removal(1, 2), removal(1, 3)}));
        QVERIFY(fixture->probe.nothingInFlight());
    }

    void renamesAreSentOneByOne()
    {
        fixture->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        QVERIFY(fixture->waitForCommands(1));
        fixture->handler.requestRename({{3, u"c"_s}});
        QCOMPARE(fixture->probe.renameQueue().size(), 2);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(fixture->waitForCommands(i + 1));
            QCOMPARE(fixture->commands().size(), i + 1);
            fixture->commands().at(i).answer(successBody);
        }
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"renamed 1"_s, u"renamed 2"_s, u"renamed 3"_s}));
        QVERIFY(fixture->probe.nothingInFlight());
    }

    void duplicateRemovalRepeatsTheNextOne()
    {
        fixture->server.answer(executePath, successBody);
        fixture->handler.requestRemove({{1, 1}, {1, 1}, {1, 2}});
        QCOMPARE(fixture->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 2}}));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"removed 1 1"_s, u"removed 1 2"_s, u"removed 1 2"_s}));
        QCOMPARE(fixture->commandBodies(),
                 (QByteArrayList{removal(1, 1), removal(1, 2), removal(1, 2)}));
    }

    void duplicateRenameRepeatsTheNextOne()
    {
        fixture->server.answer(executePath, successBody);
        fixture->handler.requestRename({{1, u"a"_s}, {1, u"a"_s}, {1, u"b"_s}});
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"renamed 1"_s, u"renamed 1"_s, u"renamed 1"_s}));
        QCOMPARE(fixture->commandBodies(),
                 (QByteArrayList{rename(1, u"a"_s), rename(1, u"b"_s), rename(1, u"b"_s)}));
    }

    void cancelRemovesKeepsTheOneInFlight()
    {
        fixture->handler.requestRemove({{1, 1}, {1, 2}, {1, 3}});
        QVERIFY(fixture->waitForCommands(1));
        fixture->handler.cancelRemoves();
        QVERIFY(fixture->probe.removeQueue().isEmpty());
        QCOMPARE(fixture->events.lines, QStringList());
        fixture->commands().constFirst().answer(successBody);
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"removed 1 1"_s});
        QVERIFY(fixture->probe.nothingInFlight());
        QCOMPARE(fixture->commands().size(), 1);
    }

    void secondMoveReplacesTheFirst()
    {
        fixture->handler.requestMove(1, 2, 3);
        fixture->handler.requestMove(4, 5, 6);
        QVERIFY(fixture->waitForCommands(2));
        QCOMPARE(fixture->probe.moveInFlight().folderSlot, 4);
        QCOMPARE(fixture->probe.pendingRequests(), 2);
        fixture->command(CommandBodies::move(1, 2, 3)).answer(json("{'msg_type':7,'RESULT':1}"));
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 1);
        QCOMPARE(fixture->events.lines, QStringList());
        fixture->command(CommandBodies::move(4, 5, 6)).answer(successBody);
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"moved"_s});
        QVERIFY(fixture->probe.nothingInFlight());
    }

    void receiversMaySendCommands()
    {
        fixture->server.answer(executePath, successBody);
        connect(&fixture->handler, &ServerConnectionHandler::handlerRemoveFinished, this,
                [&](const QUuid &, int, int fileSlot) {
                    if (fileSlot == 1)
                        fixture->handler.requestRemove({{1, 2}});
                });
        bool again = true;
        connect(&fixture->handler, &ServerConnectionHandler::handlerMoveFileFinished, this, [&] {
            if (std::exchange(again, false))
                fixture->handler.requestMove(1, 2, 3);
        });
        fixture->handler.requestRemove({{1, 1}});
        fixture->handler.requestMove(1, 2, 3);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 4);
        QCOMPARE(fixture->events.lines.filter(u"removed"_s),
                 (QStringList{u"removed 1 1"_s, u"removed 1 2"_s}));
        QCOMPARE(fixture->events.lines.count(u"moved"_s), 2);
        QCOMPARE(fixture->commands().size(), 4);
    }

    void stopInsideAResultSendsNoMore()
    {
        connect(&fixture->handler, &ServerConnectionHandler::handlerRenameFinished, this,
                [&] { fixture->handler.stop(); });
        fixture->handler.requestRename({{1, u"a"_s}, {2, u"b"_s}});
        QVERIFY(fixture->waitForCommands(1));
        fixture->commands().constFirst().answer(successBody);
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"renamed 1"_s});
        QCOMPARE(fixture->probe.renameQueue().size(), 1);
        QCOMPARE(fixture->probe.pendingRequests(), 0);
    }

    void atMostFourCommandsAreSentAtOnce()
    {
        fixture->handler.requestSync(source, visuals(10));
        QCOMPARE(fixture->events.lines.size(), 10);
        QCOMPARE(fixture->probe.pendingRequests(), 10);
        QVERIFY(fixture->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);
        fixture->commands().at(2).answer(successBody);
        QVERIFY(fixture->waitForCommands(5));
        QCOMPARE(commandsOnTheWire(), 4);
        QCOMPARE(fixture->probe.pendingRequests(), 9);
    }

    void twoThousandSyncsAreSentInOrder()
    {
        fixture->server.answer(executePath, successBody);
        const QList<VisualRef> all = visuals(2000);
        fixture->handler.requestSync(source, all);
        QCOMPARE(fixture->events.lines.size(), 2000);
        QCOMPARE(fixture->probe.pendingRequests(), 2000);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->events.lines.size(), 2000);

        // The order among four connections is not fixed, so up to three earlier commands may
        // arrive later.
        const QByteArrayList bodies = fixture->commandBodies();
        QCOMPARE(bodies.size(), 2000);
        for (qsizetype i = 0; i < all.size(); ++i) {
            const qsizetype at =
                bodies.indexOf(CommandBodies::sync(Protocol::serverUrl(source), all.at(i)));
            QVERIFY2(at >= 0 && i <= at + 3, qPrintable(u"%1 came as %2"_s.arg(i).arg(at)));
        }
        QVERIFY(fixture->server.connectionCount() <= 5);
    }

    void cancelIsSentAfterEarlierSyncs()
    {
        fixture->handler.requestSync(source, visuals(5));
        fixture->handler.cancelSyncs();
        fixture->handler.requestSync(source, {{9, 9}});
        QCOMPARE(fixture->probe.pendingRequests(), 7);
        QVERIFY(fixture->waitForCommands(4));
        for (int i = 0; i < 3; ++i)
            fixture->commands().at(i).answer(successBody);
        QVERIFY(fixture->waitForCommands(5));
        fixture->commands().at(4).answer(successBody);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 3);
        QCOMPARE(commandsOnTheWire(), 1);

        fixture->commands().at(3).answer(successBody);
        QVERIFY(fixture->waitForCommands(6));
        QCOMPARE(fixture->commands().at(5).body, CommandBodies::cancelSyncs());
        QCOMPARE(commandsOnTheWire(), 1);

        fixture->commands().at(5).answer(successBody);
        QVERIFY(fixture->waitForCommands(7));
        QCOMPARE(fixture->commands().at(6).body,
                 CommandBodies::sync(Protocol::serverUrl(source), {9, 9}));
        fixture->commands().at(6).answer(successBody);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
    }

    void failedCancelDoesNotStopTheQueue()
    {
        fixture->handler.cancelSyncs();
        fixture->handler.requestSync(source, visuals(1));
        QVERIFY(fixture->waitForCommands(1));
        fixture->commands().constFirst().answer({}, {}, "404 Nothing");
        QVERIFY(fixture->waitForCommands(2));
    }

    void commandIsInFlightFromTheCall()
    {
        fixture->handler.requestSync(source, visuals(4));
        fixture->handler.requestRemove({{1, 1}, {1, 2}});
        fixture->handler.requestRemove({{1, 3}});
        fixture->handler.requestRename({{1, u"a"_s}});
        fixture->handler.requestRename({{2, u"b"_s}});
        fixture->handler.requestMove(1, 2, 3);
        QCOMPARE(fixture->probe.pendingRequests(), 7);
        QCOMPARE(fixture->probe.removeInFlight().fileSlot, 1);
        QCOMPARE(fixture->probe.removeQueue(), (QList<VisualRef>{{1, 2}, {1, 3}}));
        QCOMPARE(fixture->probe.renameInFlight().name, u"a"_s);
        QCOMPARE(fixture->probe.renameQueue(), (QList<FolderRename>{{2, u"b"_s}}));
        QCOMPARE(fixture->probe.moveInFlight().toSlot, 3);
        QVERIFY(fixture->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);

        fixture->events.lines.clear();
        fixture->server.answer(executePath, successBody);
        for (const WireRequest &request : fixture->commands())
            request.answer(successBody);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 6);
        QVERIFY(fixture->events.lines.contains(u"moved"_s));
        QCOMPARE(fixture->events.lines.filter(u"removed"_s).size(), 3);
        QCOMPARE(fixture->events.lines.filter(u"renamed"_s).size(), 2);
        QVERIFY(fixture->probe.nothingInFlight());
    }

    void secondMoveReplacesAQueuedOne()
    {
        fixture->handler.requestSync(source, visuals(4));
        fixture->handler.requestMove(1, 2, 3);
        fixture->handler.requestMove(4, 5, 6);
        fixture->events.lines.clear();
        QVERIFY(fixture->waitForCommands(4));
        for (const WireRequest &request : fixture->commands())
            request.answer(successBody);
        QVERIFY(fixture->waitForCommands(6));
        for (const WireRequest &request : fixture->commands().mid(4))
            request.answer(request.body == CommandBodies::move(1, 2, 3)
                               ? json("{'msg_type':7,'RESULT':1}")
                               : successBody);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->events.lines, QStringList{u"moved"_s});
    }

    void nextCommandIsSentBeforeTheSignals()
    {
        fixture->handler.requestRemove({{1, 1}});
        fixture->handler.requestSync(source, visuals(4));
        QVERIFY(fixture->waitForCommands(4));
        QCOMPARE(commandsOnTheWire(), 4);
        bool sent = false;
        connect(&fixture->handler, &ServerConnectionHandler::handlerRemoveFinished, this,
                [&] { sent = fixture->waitForCommands(5); });
        for (const WireRequest &request : fixture->commands()) {
            if (request.body == removal(1, 1))
                request.answer(successBody);
        }
        EVENTUALLY_COMPARE(fixture->events.lines.contains(u"removed 1 1"_s), true);
        EVENTUALLY_COMPARE(sent, true);
    }

    void stopDropsQueuedCommands()
    {
        fixture->handler.requestSync(source, visuals(10));
        fixture->handler.requestRemove({{1, 1}, {1, 2}});
        fixture->handler.requestMove(1, 2, 3);
        fixture->handler.cancelSyncs();
        fixture->events.lines.clear();
        QVERIFY(fixture->waitForCommands(4));
        fixture->handler.stop();
        QCOMPARE(fixture->events.lines, QStringList{u"removed 1 2"_s});
        for (const WireRequest &request : fixture->commands())
            request.answer(successBody);
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->probe.runningReplies(), 0);
        QCOMPARE(fixture->commands().size(), 4);
        QCOMPARE(fixture->events.lines.size(), 1);
    }

    void destructionDropsQueuedCommands()
    {
        auto handler = std::make_unique<ServerConnectionHandler>(fixture->server.address(),
                                                                 QUuid::createUuid());
        const HandlerEvents events(*handler);
        handler->requestSync(source, visuals(10));
        QVERIFY(fixture->waitForCommands(4));
        handler.reset();
        QCOMPARE(events.lines.size(), 10);
        EVENTUALLY_COMPARE(fixture->server.openConnections(), 1);
        QCOMPARE(fixture->commands().size(), 4);
    }

private:
    /// The commands that Qt has, whether or not they have arrived.
    int commandsOnTheWire() const
    {
        constexpr int stream = 1;
        return fixture->probe.runningReplies() - stream;
    }
};

QTEST_GUILESS_MAIN(tst_HandlerQueue)
#include "tst_HandlerQueue.moc"
