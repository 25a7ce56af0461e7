// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveTask.h"

#include "Support/TaskFixture.h"
#include "Support/Wait.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {

using Visuals = QList<VisualRef>;
const Visuals five{{3, 1}, {3, 2}, {3, 3}, {3, 4}, {3, 5}};

} // namespace

/// How a removal ends before its work is done: by the operator, by an abort, by deletion.
class tst_RemoveTaskEnds : public TaskTest
{
    Q_OBJECT

private slots:
    void init()
    {
        setUp();
        fixture->server.hold();
    }
    void cleanup() { tearDown(); }

    void cancelStopsTheRemainingRemovals()
    {
        fixture->start<RemoveTask>(five);
        QVERIFY(fixture->answer(0));
        QVERIFY(fixture->answer(1));
        QVERIFY(fixture->server.waitForCommands(3));
        EVENTUALLY(fixture->dialog()->isVisible());
        pressCancel(*fixture->dialog());
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());

        // The removal in flight completes, and the task still gets its result.
        QVERIFY(fixture->server.requests().last().isOpen());
        QSignalSpy removed(&fixture->service, &ServerConnectionService::visualRemoveFinished);
        QVERIFY(fixture->answer(2));
        QVERIFY(removed.wait(patience));
        QCOMPARE(removed.first().mid(1), (QVariantList{3, 3}));
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->task->hasErrors());
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove), five.first(3));
    }

    void cancelKeepsEarlierFailures()
    {
        fixture->start<RemoveTask>(five);
        QVERIFY(fixture->answer(0, TaskFixture::inUse));
        QVERIFY(fixture->server.waitForCommands(2));
        fixture->dialog()->reject();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 1 visuals from a total of 5."_s);
        QCOMPARE(fixture->task->errorDetails().size(), 1);
    }

    void escapeCancels()
    {
        fixture->start<RemoveTask>(five);
        EVENTUALLY(fixture->dialog()->isVisible());
        QTest::keyClick(fixture->dialog(), Qt::Key_Escape);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->answer(0));
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove), five.first(1));
    }

    void cancelAfterTheLastResultFinishesTwice()
    {
        fixture->start<RemoveTask>(five.first(1));
        QVERIFY(fixture->answer(0));
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        fixture->dialog()->reject();
        QCOMPARE(fixture->finished->size(), 2);
        QVERIFY(!fixture->task->hasErrors());
    }

    void abortHidesTheDialogAndClearsErrors()
    {
        fixture->start<RemoveTask>(five);
        QVERIFY(fixture->answer(0, TaskFixture::inUse));
        EVENTUALLY(fixture->task->hasErrors());
        EVENTUALLY(fixture->dialog()->isVisible());
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 0 visuals from a total of 0."_s);
        QCOMPARE(fixture->task->errorDetails(), QStringList());
        // The aborted task no longer has any of the visuals.
        emit fixture->service.visualRemoveError(fixture->server.uuid, 3, 2, u"no"_s);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->finished->size(), 1);
    }

    void deletionRemovesTheDialogAndConnections()
    {
        fixture->start<RemoveTask>(five);
        EVENTUALLY(fixture->dialog()->isVisible());
        const QPointer<BVProgressDialog> dialog = fixture->dialog();
        fixture->task.reset();
        QVERIFY(!dialog);
        QCOMPARE(fixture->finished->size(), 0);
        // The requests continue.
        QVERIFY(fixture->answer(0));
        QVERIFY(fixture->server.waitForCommands(2));
        fixture->server.accept();
        QVERIFY(fixture->answer(1));
        EVENTUALLY_COMPARE(fixture->server.visuals(ScriptedServer::Remove), five);
        QCOMPARE(fixture->finished->size(), 0);
    }

    void withoutAConnectionOnlyCancelFinishesTheTask()
    {
        fixture->service.removeHandler(fixture->server.uuid);
        fixture->start<RemoveTask>(five);
        EVENTUALLY(fixture->dialog()->isVisible());
        QCOMPARE(fixture->finished->size(), 0);
        pressCancel(*fixture->dialog());
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->server.requests().size(), 0);
    }
};

QTEST_MAIN(tst_RemoveTaskEnds)
#include "tst_RemoveTaskEnds.moc"
