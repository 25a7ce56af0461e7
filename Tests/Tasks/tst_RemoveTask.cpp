// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveTask.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/TaskRig.h"
#include "Support/Wait.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString address = loopback(1);
using Visuals = QList<VisualRef>;
const Visuals five{{3, 1}, {3, 2}, {3, 3}, {4, 1}, {4, 2}};

} // namespace

/// A removal that runs to its end.
class tst_RemoveTask : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<TaskRig>(address);
        QVERIFY(rig->connectServer());
    }
    void cleanup() { rig.reset(); }

    void knowsItsServer();
    void theDialogIsModalAndSaysWhatItDoes();
    void aShortRemovalShowsNoDialog();
    void aLongRemovalShowsItsDialog();
    void theServerGetsOneRemovalAtATime();
    void fiveRemovalsWithOneFailure();
    void resultCodes_data() { addResultRows(); }
    void resultCodes();
    void failuresAreListedInTheOrderGiven();
    void namesInErrorLinesAreTakenLiterally();
    void aVanishedServerIsNamedByNothing();
    void aBrokenConnectionFailsOneRemovalAndSendsNoneTwice();
    void aResultForASlotNotInTheListMovesNoBar();
    void aResultForASlotNotInTheListEndsAFullTaskAgain();
    void aSecondResultAfterTheEndChangesNothing();
    void aVisualGivenTwiceLeavesTheNextOneTwiceInTheQueue();
    void theFirstOfTwoEqualEntriesTakesTheResults();
    void aFailureStaysOneWhateverComesLater();
    void aResultOfAnotherServerIsLoggedAndChangesNothing();

private:
    std::unique_ptr<TaskRig> rig;
};

void tst_RemoveTask::knowsItsServer()
{
    rig->start<RemoveTask>(five);
    QVERIFY(rig->started);
    QCOMPARE(rig->task->affectedServer(), rig->server.uuid);
    QVERIFY(rig->task->involvesServer(rig->server.uuid));
    QVERIFY(!rig->task->involvesServer(QUuid::createUuid()));
    QVERIFY(!rig->task->involvesServer(QUuid()));
}

void tst_RemoveTask::theDialogIsModalAndSaysWhatItDoes()
{
    rig->start<RemoveTask>(five);
    QVERIFY(rig->dialog()->isModal());
    QCOMPARE(rig->dialog()->windowTitle(), u"Removing..."_s);
    QCOMPARE(rig->label(), u"Removing visuals"_s);
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->dialog()->maximum(), 5);
}

void tst_RemoveTask::aShortRemovalShowsNoDialog()
{
    const ShownDialogs shown;
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 2}});
    emit rig->service.visualRemoveFinished(rig->server.uuid, 3, 1);
    QCOMPARE(rig->finished->size(), 0);
    emit rig->service.visualRemoveFinished(rig->server.uuid, 3, 2);
    QCOMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->finished->first().first().value<TaskBase *>(), rig->task.get());
    // A timer set now fires behind that of the dialog.
    bool isLater = false;
    QTimer::singleShot(501, Qt::PreciseTimer, rig->task.get(), [&isLater] { isLater = true; });
    EVENTUALLY(isLater);
    QCOMPARE(shown.count, 0);
}

void tst_RemoveTask::aLongRemovalShowsItsDialog()
{
    const ShownDialogs shown;
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 2}});
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(rig->answer(0));
    EVENTUALLY_COMPARE(rig->dialog()->progress(), 1);
    EVENTUALLY(rig->dialog()->isVisible());
    QVERIFY(rig->answer(1));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QCOMPARE(shown.count, 1);
}

void tst_RemoveTask::theServerGetsOneRemovalAtATime()
{
    int onTheWire = 0;
    rig->server.wire.on(TaskRig::execute, [&onTheWire](const WireRequest &request) {
        QCOMPARE(++onTheWire, 1);
        QTimer::singleShot(5, [&onTheWire, request] {
            --onTheWire;
            request.answer(TaskRig::success);
        });
    });
    rig->start<RemoveTask>(five);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), five);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(rig->task->errorDetails(), QStringList());
}

void tst_RemoveTask::fiveRemovalsWithOneFailure()
{
    rig->server.wire.on(TaskRig::execute, [](const WireRequest &request) {
        request.answer(request.body.contains("visualIdx=3&") ? TaskRig::inUse : TaskRig::success);
    });
    rig->start<RemoveTask>(five);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), five);
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 1 visuals from a total of 5."_s);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 003 in folder 003 on server \"Stage left\" failed: "
                         "Visual is in use."_s});
}

void tst_RemoveTask::resultCodes()
{
    QFETCH(const QByteArray, result);
    QFETCH(const QString, text);
    rig->server.wire.answer(TaskRig::execute, result);
    rig->start<RemoveTask>(Visuals{{3, 17}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->task->hasErrors());
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 1 visuals from a total of 1."_s);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 017 in folder 003 on server \"Stage left\" failed: "_s +
                         text + u'.'});
}

void tst_RemoveTask::failuresAreListedInTheOrderGiven()
{
    rig->server.refuse("no");
    rig->start<RemoveTask>(Visuals{{200, 9}, {4, 255}, {0, 0}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 3 visuals from a total of 3."_s);
    QCOMPARE(
        rig->task->errorDetails(),
        (QStringList{u"Remove visual 009 in folder 200 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 255 in folder 004 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 000 in folder 000 on server \"Stage left\" failed: no."_s}));
}

void tst_RemoveTask::namesInErrorLinesAreTakenLiterally()
{
    rig->model.setServerName(rig->server.uuid, u"%4\n<b>%1</b>"_s);
    rig->server.refuse("%1%% %3" + QByteArray(5000, 'W'));
    rig->start<RemoveTask>(Visuals{{3, 17}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 017 in folder 003 on server \"%4 <b>%1</b>\" failed: "
                         "%1%% %3"_s +
                         u"W"_s.repeated(4096 - 7) + u"…."_s});
}

void tst_RemoveTask::aVanishedServerIsNamedByNothing()
{
    rig->server.refuse("no");
    rig->start<RemoveTask>(Visuals{{3, 17}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->model.removeServer(rig->server.uuid));
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 017 in folder 003 on server \"\" failed: no."_s});
}

void tst_RemoveTask::aBrokenConnectionFailsOneRemovalAndSendsNoneTwice()
{
    rig->server.wire.on(TaskRig::execute, [](const WireRequest &request) {
        if (request.body.contains("visualIdx=2&"))
            request.close();
        else
            request.answer(TaskRig::success);
    });
    const Visuals three{{3, 1}, {3, 2}, {3, 3}};
    const QSignalSpy refused(&rig->service, &ServerConnectionService::visualRemoveError);
    rig->start<RemoveTask>(three);
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->settle());
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), three);
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 1 visuals from a total of 3."_s);
    const QString text = refused.first().last().toString();
    QVERIFY(!text.isEmpty());
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 002 in folder 003 on server \"Stage left\" failed: "_s +
                         text + u'.'});
}

void tst_RemoveTask::aResultForASlotNotInTheListMovesNoBar()
{
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 17}, {3, 18}});
    emit rig->service.visualRemoveFinished(rig->server.uuid, 17, 3);
    emit rig->service.visualRemoveError(rig->server.uuid, 3, 19, u"no"_s);
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(!rig->task->hasErrors());
    QVERIFY(rig->answer(0));
    EVENTUALLY_COMPARE(rig->dialog()->progress(), 1);
    QCOMPARE(rig->finished->size(), 0);
}

void tst_RemoveTask::aResultForASlotNotInTheListEndsAFullTaskAgain()
{
    rig->start<RemoveTask>(Visuals{{3, 17}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    emit rig->service.visualRemoveFinished(rig->server.uuid, 3, 18);
    QCOMPARE(rig->finished->size(), 2);
    QVERIFY(!rig->task->hasErrors());
}

void tst_RemoveTask::aSecondResultAfterTheEndChangesNothing()
{
    rig->start<RemoveTask>(Visuals{{3, 17}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    emit rig->service.visualRemoveFinished(rig->server.uuid, 3, 17);
    QCOMPARE(rig->finished->size(), 1);
    QVERIFY(!rig->dialog()->isVisible());
    QVERIFY(!rig->task->hasErrors());
}

// As many results come as visuals were given, so the bar gets full and the task ends once.
void tst_RemoveTask::aVisualGivenTwiceLeavesTheNextOneTwiceInTheQueue()
{
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 1}, {3, 2}});
    QCOMPARE(rig->dialog()->maximum(), 3);
    QVERIFY(rig->answer(0));
    QVERIFY(rig->answer(1));
    EVENTUALLY_COMPARE(rig->dialog()->progress(), 2);
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(rig->answer(2));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QVERIFY(rig->settle());
    QCOMPARE(rig->server.visuals(ScriptedServer::Remove), (Visuals{{3, 1}, {3, 2}, {3, 2}}));
    QCOMPARE(rig->finished->size(), 1);
}

void tst_RemoveTask::theFirstOfTwoEqualEntriesTakesTheResults()
{
    rig->server.refuse("no");
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 2}, {3, 1}});
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 2 visuals from a total of 3."_s);
    QCOMPARE(
        rig->task->errorDetails(),
        (QStringList{u"Remove visual 001 in folder 003 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 002 in folder 003 on server \"Stage left\" failed: no."_s}));
}

void tst_RemoveTask::aFailureStaysOneWhateverComesLater()
{
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 1}, {3, 2}});
    QVERIFY(rig->answer(0));
    QVERIFY(rig->answer(1, TaskRig::inUse));
    QVERIFY(rig->answer(2));
    EVENTUALLY_COMPARE(rig->finished->size(), 1);
    QCOMPARE(rig->task->errorMessage(), u"Failed to remove 1 visuals from a total of 3."_s);
    QCOMPARE(rig->task->errorDetails(),
             QStringList{u"Remove visual 002 in folder 003 on server \"Stage left\" failed: "
                         "Visual is in use."_s});
}

void tst_RemoveTask::aResultOfAnotherServerIsLoggedAndChangesNothing()
{
    ScriptedServer other(loopback(2));
    QVERIFY(rig->connectTo(other, u"Stage right"_s));
    rig->server.wire.hold(TaskRig::execute);
    rig->start<RemoveTask>(Visuals{{3, 1}, {3, 2}});
    LogCapture log;
    QSignalSpy removed(&rig->service, &ServerConnectionService::visualRemoveFinished);
    rig->service.requestRemove(other.uuid, {{3, 1}});
    QVERIFY(removed.wait(patience));
    other.wire.answer(TaskRig::execute, TaskRig::inUse);
    QSignalSpy refused(&rig->service, &ServerConnectionService::visualRemoveError);
    rig->service.requestRemove(other.uuid, {{3, 2}});
    QVERIFY(refused.wait(patience));
    QCOMPARE(rig->dialog()->progress(), 0);
    QCOMPARE(rig->finished->size(), 0);
    QVERIFY(!rig->task->hasErrors());
    QCOMPARE(log.texts().count(u"Invalid server id in notification "_s + other.uuid.toString()), 2);
}

QTEST_MAIN(tst_RemoveTask)
#include "tst_RemoveTask.moc"
