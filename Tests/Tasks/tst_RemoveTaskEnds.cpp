// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveTask.h"

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/TaskRig.h"
#include "Support/Wait.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {

using Visuals = QList<VisualRef>;
const Visuals five{{3, 1}, {3, 2}, {3, 3}, {3, 4}, {3, 5}};

} // namespace

/// How a removal ends before its work is done: by the operator, by an abort, by deletion.
class tst_RemoveTaskEnds : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<TaskRig>(loopback(1));
        QVERIFY(rig->connectServer());
        rig->server.wire.hold(TaskRig::execute);
    }
    void cleanup() { rig.reset(); }

    void cancelAfterTwoOfFiveSendsNoMoreAndShowsNoError();
    void aCancelKeepsTheFailuresSoFar();
    void escapeIsACancel();
    void aCancelTogetherWithTheLastResultEndsTwice();
    void abortLeavesNothingToShow();
    void abortBeforeTheStartEndsTheTask();
    void deletionTakesDialogAndConnectionsAlong();
    void withoutAConnectionOnlyTheOperatorEndsIt();

private:
    std::unique_ptr<TaskRig> rig;
};

void tst_RemoveTaskEnds::cancelAfterTwoOfFiveSendsNoMoreAndShowsNoError()
{
    rig->start<RemoveTask>(five);
    QVERIFY(rig->answer(0));
    QVERIFY(rig->answer(1));
    QVERIFY(rig->server.wire.waitForRequests(3, TaskRig::execute));
    EVENTUALLY(rig->dialog()->isVisible());
    pressCancel(*rig->dialog());
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());

    // The one on the wire completes, and its result still finds the task.
    QVERIFY(rig->requests().last().isOpen());
    QSignalSpy removed(&rig->service, &ServerConnectionService::visualRemoveFinished);
    QVERIFY(rig->answer(2));
    QVERIFY(removed.wait(patience));
    QCOMPARE(removed.first().mid(1), (QVariantList{3, 3}));
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->task->hasErrors());
    QVERIFY(rig->settle());
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), five.first(3));
}

void tst_RemoveTaskEnds::aCancelKeepsTheFailuresSoFar()
{
    rig->start<RemoveTask>(five);
    QVERIFY(rig->answer(0, TaskRig::inUse));
    QVERIFY(rig->server.wire.waitForRequests(2, TaskRig::execute));
    rig->dialog()->reject();
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 1 visuals from a total of 5."_s);
    QCOMPARE(rig->task->errorDetails().size(), 1);
}

void tst_RemoveTaskEnds::escapeIsACancel()
{
    rig->start<RemoveTask>(five);
    EVENTUALLY(rig->dialog()->isVisible());
    QTest::keyClick(rig->dialog(), Qt::Key_Escape);
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(rig->answer(0));
    QVERIFY(rig->settle());
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), five.first(1));
}

void tst_RemoveTaskEnds::aCancelTogetherWithTheLastResultEndsTwice()
{
    rig->start<RemoveTask>(five.first(1));
    QVERIFY(rig->answer(0));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    rig->dialog()->reject();
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(!rig->task->hasErrors());
}

void tst_RemoveTaskEnds::abortLeavesNothingToShow()
{
    rig->start<RemoveTask>(five);
    QVERIFY(rig->answer(0, TaskRig::inUse));
    EVENTUALLY(rig->task->hasErrors());
    EVENTUALLY(rig->dialog()->isVisible());
    rig->task->abort();
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 0 visuals from a total of 0."_s);
    QCOMPARE(rig->task->errorDetails(), QStringList());
    // What is left of the task knows none of the visuals any more.
    emit rig->service.visualRemoveError(rig->server.uuid, 3, 2, u"no"_s);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->finished->size(), 1);
}

void tst_RemoveTaskEnds::abortBeforeTheStartEndsTheTask()
{
    RemoveTask task(&rig->model, nullptr, &rig->service, rig->server.uuid, five);
    const QSignalSpy finished(&task, &TaskBase::taskFinished);
    task.abort();
    QCOMPARE(finished.size(), 1);
}

void tst_RemoveTaskEnds::deletionTakesDialogAndConnectionsAlong()
{
    rig->start<RemoveTask>(five);
    EVENTUALLY(rig->dialog()->isVisible());
    const QPointer<BVProgressDialog> dialog = rig->dialog();
    rig->task.reset();
    QVERIFY(!dialog);
    QCOMPARE(rig->finished->size(), 0);
    // The requests are left alone.
    QVERIFY(rig->answer(0));
    QVERIFY(rig->server.wire.waitForRequests(2, TaskRig::execute));
    rig->server.accept();
    QVERIFY(rig->answer(1));
    EVENTUALLY_COMPARE(rig->server.visuals(ScriptedServer::Remove), five);
    QCOMPARE(rig->finished->size(), 0);
}

void tst_RemoveTaskEnds::withoutAConnectionOnlyTheOperatorEndsIt()
{
    rig->service.removeHandler(rig->server.uuid);
    rig->start<RemoveTask>(five);
    EVENTUALLY(rig->dialog()->isVisible());
    QCOMPARE(rig->finished->size(), 0);
    pressCancel(*rig->dialog());
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->requests().size(), 0);
}

QTEST_MAIN(tst_RemoveTaskEnds)
#include "tst_RemoveTaskEnds.moc"
