// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/MoveTask.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/TaskRig.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

/// The move of one visual within its folder: from slot 7 to slot 12 of folder 3.
class tst_MoveTask : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<TaskRig>(loopback(1));
        QVERIFY(rig->connectServer());
    }
    void cleanup() { rig.reset(); }

    void aMoveIsOneRequest();
    void theDialogIsModalAndSaysWhatItDoes();
    void aMoveThatAnswersSoonShowsNoDialog();
    void aLongMoveShowsItsDialog();
    void resultCodes_data() { addResultRows(); }
    void resultCodes();
    void numbersOfThreeDigitsStandAsTheyAre();
    void aBrokenConnectionIsAFailureAndSendsNothingTwice();
    void namesInErrorLinesAreTakenLiterally();
    void aVanishedServerIsNamedByNothing();
    void aCancelLeavesTheMoveToTheServer();
    void aFailureAfterTheCancelIsKeptAndEndsNothing();
    void aCancelTogetherWithTheResultEndsTwice();
    void abortLeavesNothingToShow();
    void abortBeforeTheStartEndsTheTask();
    void aResultOfAnotherServerIsLoggedAndChangesNothing();
    void deletionTakesDialogAndConnectionsAlong();

private:
    void start() { rig->start<MoveTask>(3, 7, 12); }

    std::unique_ptr<TaskRig> rig;
};

void tst_MoveTask::aMoveIsOneRequest()
{
    start();
    QVERIFY(rig->started);
    QCOMPARE(rig->task->affectedServer(), rig->server.uuid);
    QVERIFY(rig->task->involvesServer(rig->server.uuid));
    QVERIFY(!rig->task->involvesServer(QUuid()));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->finished->first().first().value<TaskBase *>(), rig->task.get());
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
    QCOMPARE(rig->requests().size(), 1);
    const Command command = rig->server.commands(ScriptedServer::Move).constFirst();
    QCOMPARE(command.visual(), VisualRef(3, 7));
    QCOMPARE(command.field("visualToIdx"), u"12"_s);
}

void tst_MoveTask::theDialogIsModalAndSaysWhatItDoes()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    QVERIFY(rig->dialog()->isModal());
    QCOMPARE(rig->dialog()->windowTitle(), u"Moving..."_s);
    QCOMPARE(rig->label(), u"Moving visuals"_s);
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->dialog()->maximum(), 1);
}

void tst_MoveTask::aMoveThatAnswersSoonShowsNoDialog()
{
    const ShownDialogs shown;
    rig->server.wire.hold(TaskRig::execute);
    start();
    emit rig->service.movedFileFinished(rig->server.uuid);
    QCOMPARE(rig->finished->size(), 1);
    // A timer set now fires behind that of the dialog.
    bool isLater = false;
    QTimer::singleShot(501, Qt::PreciseTimer, rig->task.get(), [&isLater] { isLater = true; });
    EVENTUALLY(isLater);
    QCOMPARE(shown.count, 0);
}

void tst_MoveTask::aLongMoveShowsItsDialog()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    QVERIFY(!rig->dialog()->isVisible());
    EVENTUALLY(rig->dialog()->isVisible());
    QVERIFY(rig->answer(0));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
}

void tst_MoveTask::resultCodes()
{
    QFETCH(const QByteArray, result);
    QFETCH(const QString, text);
    rig->server.wire.answer(TaskRig::execute, result);
    start();
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Visual could not be moved"_s);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Move from 007 to 012 in folder 003 on server \"Stage left\" failed: "_s +
                         text + u'.'});
}

void tst_MoveTask::numbersOfThreeDigitsStandAsTheyAre()
{
    rig->model.setServerName(rig->server.uuid, u"%5 %1"_s);
    rig->server.refuse("%2");
    rig->start<MoveTask>(255, 100, 0);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Move from 100 to 000 in folder 255 on server \"%5 %1\" failed: %2."_s});
}

void tst_MoveTask::aBrokenConnectionIsAFailureAndSendsNothingTwice()
{
    start();
    EVENTUALLY_COMPARE(rig->finished->size(), 1);

    // On the connection that the first move has left open, where Qt would try again.
    rig->server.wire.on(TaskRig::execute, [](const WireRequest &request) { request.close(); });
    const QSignalSpy refused(&rig->service, &ServerConnectionService::movedFileError);
    start();
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->requests().at(1).connection, rig->requests().at(0).connection);
    const QString text = refused.first().last().toString();
    QVERIFY(!text.isEmpty());
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Move from 007 to 012 in folder 003 on server \"Stage left\" failed: "_s +
                         text + u'.'});
    QVERIFY(rig->settle());
    QCOMPARE(rig->server.commands(ScriptedServer::Move).size(), 2);
}

void tst_MoveTask::namesInErrorLinesAreTakenLiterally()
{
    rig->model.setServerName(rig->server.uuid, u"%5\n%1"_s);
    rig->start<MoveTask>(3, 7, 12);
    emit rig->service.movedFileError(rig->server.uuid, u"%2\n%%%"_s.repeated(1000));
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Move from 007 to 012 in folder 003 on server \"%5 %1\" failed: "_s +
                         u"%2\n%%%"_s.repeated(1000).left(4096) + u"…."_s});
}

void tst_MoveTask::aVanishedServerIsNamedByNothing()
{
    rig->server.refuse("no");
    start();
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->model.removeServer(rig->server.uuid));
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Move from 007 to 012 in folder 003 on server \"\" failed: no."_s});
}

void tst_MoveTask::aCancelLeavesTheMoveToTheServer()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    EVENTUALLY(rig->dialog()->isVisible());
    pressCancel(*rig->dialog());
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->task->hasErrors());
    QVERIFY(!rig->dialog()->isVisible());

    // No cancel is sent, and the request stands.
    QSignalSpy moved(&rig->service, &ServerConnectionService::movedFileFinished);
    QVERIFY(rig->answer(0));
    QVERIFY(moved.wait(patience));
    QCOMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->requests().size(), 1);
}

void tst_MoveTask::aFailureAfterTheCancelIsKeptAndEndsNothing()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    QVERIFY(rig->server.wire.waitForRequests(1, TaskRig::execute));
    rig->dialog()->reject();
    QCOMPARE(rig->finished->size(), 1);
    QSignalSpy refused(&rig->service, &ServerConnectionService::movedFileError);
    QVERIFY(rig->answer(0, TaskRig::inUse));
    QVERIFY(refused.wait(patience));
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->finished->size(), 1);
}

void tst_MoveTask::aCancelTogetherWithTheResultEndsTwice()
{
    rig->server.wire.answer(TaskRig::execute, TaskRig::inUse);
    start();
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    rig->dialog()->reject();
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(rig->task->hasErrors());
}

void tst_MoveTask::abortLeavesNothingToShow()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    EVENTUALLY(rig->dialog()->isVisible());
    emit rig->service.movedFileError(rig->server.uuid, u"no"_s);
    QVERIFY(rig->task->hasErrors());
    rig->dialog()->show();
    rig->task->abort();
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
}

void tst_MoveTask::abortBeforeTheStartEndsTheTask()
{
    MoveTask task(&rig->model, nullptr, &rig->service, rig->server.uuid, 3, 7, 12);
    const QSignalSpy finished(&task, &TaskBase::taskFinished);
    task.abort();
    QCOMPARE(finished.size(), 1);
}

void tst_MoveTask::aResultOfAnotherServerIsLoggedAndChangesNothing()
{
    ScriptedServer other(loopback(2));
    QVERIFY(rig->connectTo(other, u"Stage right"_s));
    rig->server.wire.hold(TaskRig::execute);
    start();
    LogCapture log;
    QSignalSpy moved(&rig->service, &ServerConnectionService::movedFileFinished);
    rig->service.requestMove(other.uuid, 3, 7, 12);
    QVERIFY(moved.wait(patience));
    other.wire.answer(TaskRig::execute, TaskRig::inUse);
    QSignalSpy refused(&rig->service, &ServerConnectionService::movedFileError);
    rig->service.requestMove(other.uuid, 3, 7, 12);
    QVERIFY(refused.wait(patience));
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(log.texts().count(u"Invalid server id in notification "_s + other.uuid.toString()), 2);
}

void tst_MoveTask::deletionTakesDialogAndConnectionsAlong()
{
    rig->server.wire.hold(TaskRig::execute);
    start();
    EVENTUALLY(rig->dialog()->isVisible());
    const QPointer<BVProgressDialog> dialog = rig->dialog();
    rig->task.reset();
    QVERIFY(!dialog);
    QSignalSpy moved(&rig->service, &ServerConnectionService::movedFileFinished);
    QVERIFY(rig->answer(0));
    QVERIFY(moved.wait(patience));
    QCOMPARE(rig->finished->size(), 0);
}

QTEST_MAIN(tst_MoveTask)
#include "tst_MoveTask.moc"
