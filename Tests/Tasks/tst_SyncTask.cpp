// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/SyncTask.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ProgressDialogs.h"
#include "Support/SyncRig.h"
#include "Support/Wait.h"

#include <QLabel>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

/// The order of the phases, the renames and the removals.
class tst_SyncTask : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void nothingToDoEndsAtOnce();
    void knowsItsServers();
    void phasesFollowEachOther();
    void renamesOnlyEndAfterTheLast();
    void removalsOnlyEndAfterTheLast();
    void transfersOnlyShowNoProgressDialog();
    void theProgressDialogsAreModalAndSayWhatTheyDo();
    void aShortPhaseShowsNoDialog();
    void aLongPhaseShowsItsDialog();
    void aStrayRenameResultMovesNoBar();
    void aStrayRenameResultAtTheEndOfTheBarStartsTheNextPhase();
    void aStrayRenameResultLetsNoRemovalCountTwice();
    void aStrayRemovalResultMovesNoBar();
    void aStrayRemovalResultLetsNoFailureCountTwice();
    void aCancelledRenamePhaseCancelsTheRemovals();
    void aResultOfAnotherServerIsLoggedAndChangesNothing();
    void failedRenamesAndRemovalsStopNothingAndAreListed();
    void aFailureWithoutATextCounts();
    void namesInErrorLinesAreTakenLiterally();
    void failedTransferIsLoggedAsAnError();
};

void tst_SyncTask::nothingToDoEndsAtOnce()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.start({}, {}, {});
    QVERIFY(rig.started);
    QCOMPARE(rig.finished->size(), 1);
    QCOMPARE(rig.finished->first().first().value<TaskBase *>(), rig.task.get());
    QVERIFY(!rig.dialog<BVProgressDialog>());
    QVERIFY(!rig.dialog<TransferDialog>());
    QVERIFY(!rig.task->hasErrors());
    QVERIFY(rig.settle());
    QCOMPARE(rig.destination.wire.requests("/brenvoka/execute.html").size(), 1);
}

void tst_SyncTask::knowsItsServers()
{
    SyncRig rig(loopback(1));
    rig.start({}, {}, {});
    QCOMPARE(rig.task->affectedServer(), rig.destinationUuid);
    QVERIFY(rig.task->involvesServer(rig.sourceUuid));
    QVERIFY(rig.task->involvesServer(rig.destinationUuid));
    QVERIFY(!rig.task->involvesServer(QUuid::createUuid()));
    QVERIFY(!rig.task->involvesServer(QUuid()));
    QCOMPARE(rig.task->errorMessage(), u"Folder synchronization completed with errors"_s);
}

void tst_SyncTask::phasesFollowEachOther()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({{3, u"Three"_s}}, {{3, 7}}, {{3, 8}, {4, 9}});

    const auto requests = [&] { return rig.destination.wire.requests("/brenvoka/execute.html"); };
    EVENTUALLY_COMPARE(requests().size(), 1);
    const Command rename = rig.destination.commands(ScriptedServer::Rename).value(0);
    QCOMPARE(rename.field("folderIdx"), u"3"_s);
    QCOMPARE(rename.field("folderName"), u"Three"_s);
    QVERIFY(!rig.progressDialog(u"Removing..."_s));

    requests().last().answer(R"({"msg_type":7,"RESULT":0})");
    EVENTUALLY_COMPARE(requests().size(), 2);
    QCOMPARE(rig.destination.visuals(ScriptedServer::Remove), (QList<VisualRef>{{3, 7}}));
    QVERIFY(!rig.dialog<TransferDialog>());

    rig.destination.accept();
    requests().last().answer(R"({"msg_type":7,"RESULT":0})");
    EVENTUALLY_COMPARE(requests().size(), 4);
    const QList<Command> syncs = rig.destination.commands(ScriptedServer::Sync);
    QList<VisualRef> visuals = rig.destination.visuals(ScriptedServer::Sync);
    std::ranges::sort(visuals); // each has a connection of its own
    QCOMPARE(visuals, (QList<VisualRef>{{3, 8}, {4, 9}}));
    QCOMPARE(syncs.first().field("serverURL"), u"http://" LOOPBACK(109) ":4567"_s);
    QVERIFY(rig.dialog<TransferDialog>()->isVisible());
    QCOMPARE(rig.finished->size(), 0);
}

void tst_SyncTask::renamesOnlyEndAfterTheLast()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.start({{3, u"Three"_s}, {4, u"Four"_s}}, {}, {});
    QCOMPARE(rig.finished->size(), 0);
    QVERIFY(rig.finished->wait(patience));
    QVERIFY(!rig.task->hasErrors());
    QCOMPARE(rig.destination.commands(ScriptedServer::Rename).size(), 2);
    QVERIFY(rig.settle());
    QCOMPARE(rig.destination.wire.requests("/brenvoka/execute.html").size(), 3);
    QVERIFY(!rig.dialog<TransferDialog>());
}

void tst_SyncTask::removalsOnlyEndAfterTheLast()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.start({}, {{3, 1}, {3, 2}}, {});
    QVERIFY(rig.finished->wait(patience));
    QVERIFY(!rig.task->hasErrors());
    QCOMPARE(rig.destination.visuals(ScriptedServer::Remove), (QList<VisualRef>{{3, 1}, {3, 2}}));
    QVERIFY(!rig.dialog<TransferDialog>());
    QCOMPARE(rig.finished->size(), 1);
}

void tst_SyncTask::transfersOnlyShowNoProgressDialog()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.start({}, {}, {{3, 8}});
    QVERIFY(!rig.dialog<BVProgressDialog>());
    QVERIFY(rig.dialog<TransferDialog>()->isVisible());
    QVERIFY(rig.dialog<TransferDialog>()->isModal());
}

void tst_SyncTask::theProgressDialogsAreModalAndSayWhatTheyDo()
{
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}, {4, u"Four"_s}}, {{3, 1}}, {});
    const BVProgressDialog *const renaming = rig.progressDialog(u"Renaming..."_s);
    QVERIFY(renaming && renaming->isModal());
    QCOMPARE(renaming->findChild<QLabel *>()->text(), u"Renaming folders"_s);
    QCOMPARE(renaming->maximum(), 2);
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    QCOMPARE(renaming->progress(), 1);
    QVERIFY(!rig.progressDialog(u"Removing..."_s));
    emit rig.service.folderRenameFinished(rig.destinationUuid, 4);
    const BVProgressDialog *const removing = rig.progressDialog(u"Removing..."_s);
    QVERIFY(removing && removing->isModal());
    QCOMPARE(removing->findChild<QLabel *>()->text(), u"Removing visuals"_s);
    QCOMPARE(removing->maximum(), 1);
}

void tst_SyncTask::aShortPhaseShowsNoDialog()
{
    SyncRig rig(loopback(1));
    ShownDialogs shown;
    rig.start({{3, u"Three"_s}}, {{3, 1}}, {});
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    QCOMPARE(rig.finished->size(), 1);
    // The dialogs' own delay of 500 ms has to pass before their absence means anything.
    bool passed = false;
    QTimer::singleShot(700, this, [&passed] { passed = true; });
    EVENTUALLY(passed);
    QCOMPARE(shown.count, 0);
}

void tst_SyncTask::aLongPhaseShowsItsDialog()
{
    SyncRig rig(loopback(1));
    ShownDialogs shown;
    rig.start({{3, u"Three"_s}}, {}, {});
    QVERIFY(!rig.progressDialog(u"Renaming..."_s)->isVisible());
    EVENTUALLY(rig.progressDialog(u"Renaming..."_s)->isVisible());
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    QVERIFY(!rig.progressDialog(u"Renaming..."_s)->isVisible());
    QCOMPARE(shown.count, 1);
    QCOMPARE(rig.finished->size(), 1);
}

void tst_SyncTask::aStrayRenameResultMovesNoBar()
{
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}}, {}, {});
    emit rig.service.folderRenameFinished(rig.destinationUuid, 9);
    emit rig.service.folderRenameError(rig.destinationUuid, 9, u"no"_s);
    QCOMPARE(rig.progressDialog(u"Renaming..."_s)->progress(), 0);
    QCOMPARE(rig.finished->size(), 0);
    QVERIFY(!rig.task->hasErrors());
}

void tst_SyncTask::aStrayRenameResultAtTheEndOfTheBarStartsTheNextPhase()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({{3, u"Three"_s}}, {{3, 1}}, {});
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    const QPointer<BVProgressDialog> first = rig.progressDialog(u"Removing..."_s);
    QVERIFY(first);
    emit rig.service.folderRenameFinished(rig.destinationUuid, 9);
    QVERIFY(!first);
    QVERIFY(rig.progressDialog(u"Removing..."_s));
    // The second start has replaced the first: one result ends the phase, and ends it once.
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    QCOMPARE(rig.finished->size(), 1);
}

void tst_SyncTask::aStrayRenameResultLetsNoRemovalCountTwice()
{
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}}, {{3, 1}, {3, 2}}, {});
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    emit rig.service.folderRenameFinished(rig.destinationUuid, 9);
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    QCOMPARE(rig.progressDialog(u"Removing..."_s)->progress(), 1);
    QCOMPARE(rig.finished->size(), 0);
}

void tst_SyncTask::aStrayRemovalResultLetsNoFailureCountTwice()
{
    SyncRig rig(loopback(1));
    rig.start({}, {{3, 1}}, {{3, 8}});
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 9);
    emit rig.service.syncError(rig.destinationUuid, 3, 8, Brenvoka::SyncFailed, u"no"_s, {});
    QCOMPARE(rig.task->errorDetails().size(), 1);
    emit rig.service.syncOperationFinished(rig.destinationUuid);
    QCOMPARE(rig.finished->size(), 1);
}

/// Seen by the log alone: at a server that is not connected nothing waits that could be dropped.
void tst_SyncTask::aCancelledRenamePhaseCancelsTheRemovals()
{
    LogCapture log;
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}}, {{3, 1}}, {});
    const QString line = u"Handler not found for id "_s + rig.destinationUuid.toString();
    QVERIFY(!log.texts().contains(line));
    rig.progressDialog(u"Renaming..."_s)->reject();
    QCOMPARE(rig.finished->size(), 1);
    QCOMPARE(log.texts().count(line), 1);
}

void tst_SyncTask::aStrayRemovalResultMovesNoBar()
{
    SyncRig rig(loopback(1));
    rig.start({}, {{3, 1}}, {});
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 2);
    emit rig.service.visualRemoveError(rig.destinationUuid, 1, 3, u"no"_s);
    QCOMPARE(rig.progressDialog(u"Removing..."_s)->progress(), 0);
    QCOMPARE(rig.finished->size(), 0);
    QVERIFY(!rig.task->hasErrors());
}

void tst_SyncTask::aResultOfAnotherServerIsLoggedAndChangesNothing()
{
    LogCapture log;
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}}, {{3, 1}}, {});
    emit rig.service.folderRenameFinished(rig.sourceUuid, 3);
    emit rig.service.folderRenameError(rig.sourceUuid, 3, u"no"_s);
    QCOMPARE(rig.progressDialog(u"Renaming..."_s)->progress(), 0);
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    emit rig.service.visualRemoveFinished(rig.sourceUuid, 3, 1);
    emit rig.service.visualRemoveError(rig.sourceUuid, 3, 1, u"no"_s);
    QCOMPARE(rig.progressDialog(u"Removing..."_s)->progress(), 0);
    QVERIFY(!rig.task->hasErrors());
    QCOMPARE(log.texts().count(u"Invalid server id in notification "_s + rig.sourceUuid.toString()),
             4);
}

void tst_SyncTask::failedRenamesAndRemovalsStopNothingAndAreListed()
{
    SyncRig rig(loopback(1));
    QVERIFY(rig.connectDestination());
    rig.destination.refuse("it is locked");
    rig.start({{3, u"Three"_s}}, {{4, 17}}, {{4, 18}});
    EVENTUALLY_COMPARE(rig.destination.commands(ScriptedServer::Sync).size(), 1);
    QVERIFY(rig.task->hasErrors());
    emit rig.service.syncOperationFinished(rig.destinationUuid);
    QCOMPARE(rig.finished->size(), 1);
    QCOMPARE(rig.task->errorDetails(),
             (QStringList{u"Remove visual 017 in folder 004 on server \"Stage right\" failed: "
                          "it is locked."_s,
                          u"Rename folder index 003 to Three on server \"Stage right\" failed: "
                          "it is locked."_s}));
}

void tst_SyncTask::aFailureWithoutATextCounts()
{
    SyncRig rig(loopback(1));
    rig.start({{3, u"Three"_s}}, {}, {});
    emit rig.service.folderRenameError(rig.destinationUuid, 3, QString());
    QVERIFY(rig.task->hasErrors());
    QCOMPARE(rig.task->errorDetails().size(), 1);
}

void tst_SyncTask::failedTransferIsLoggedAsAnError()
{
    LogCapture log;
    SyncRig rig(loopback(1));
    rig.start({}, {}, {{3, 17}});
    emit rig.service.syncError(rig.destinationUuid, 3, 17, Brenvoka::SyncTransferring, {}, {});
    QVERIFY(log.entries().contains(
        u"error: Server Stage right failed to download URL \"Stage right\"."_s));
}

void tst_SyncTask::namesInErrorLinesAreTakenLiterally()
{
    SyncRig rig(loopback(1));
    rig.addServer(rig.destinationUuid, rig.destination.wire.address(), u"%1\n%2"_s);
    rig.start({{3, u"%3\u202E%4"_s}}, {}, {});
    emit rig.service.folderRenameError(rig.destinationUuid, 3, u"%1%%\n"_s.repeated(5000));
    QCOMPARE(rig.task->errorDetails(),
             QStringList{u"Rename folder index 003 to %3 %4 on server \"%1 %2\" failed: "_s +
                         u"%1%%\n"_s.repeated(5000).left(4096) + u"…."_s});
}

QTEST_MAIN(tst_SyncTask)
#include "tst_SyncTask.moc"
