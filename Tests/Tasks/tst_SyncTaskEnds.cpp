// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ProgressDialogs.h"
#include "Support/SyncRig.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

/// How a sync task ends before its work is done: by the operator, by a lost server, by deletion.
class tst_SyncTaskEnds : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void cancellingTheRenamesLeavesThemToTheServer();
    void cancellingTheRemovalsStartsNoTransfer();
    void noPhaseStartsAfterACancel();
    void noPhaseStartsAfterAnAbort();
    void removalsThatWaitedAreToldAsDoneAndStartNoTransfer();
    void aCancelTogetherWithTheLastResultEndsTwice();
    void errorsBeforeACancelAreKept();
    void abortLeavesNoErrorsToShow();
    void abortLeavesTheRenameDialog();
    void abortDropsTheRemovalsThatWait();
    void abortForALostDestinationAsksTheServiceForNothing();
    void deletionTakesDialogsAndConnectionsAlong();
    void aVanishedDestinationIsNamedByNothing();
};

void tst_SyncTaskEnds::cancellingTheRenamesLeavesThemToTheServer()
{
    SyncRig rig(loopback(4));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({{3, u"Three"_s}, {4, u"Four"_s}}, {{3, 1}}, {{3, 2}});
    EVENTUALLY_COMPARE(rig.destination.commands(ScriptedServer::Rename).size(), 1);
    BVProgressDialog *const renaming = rig.progressDialog(u"Renaming..."_s);
    EVENTUALLY(renaming->isVisible());
    pressCancel(*renaming);
    QCOMPARE(rig.finished->size(), 1);
    rig.task.reset();

    rig.destination.accept();
    rig.destination.wire.requests("/brenvoka/execute.html")
        .last()
        .answer(R"({"msg_type":7,"RESULT":0})");
    EVENTUALLY_COMPARE(rig.destination.commands(ScriptedServer::Rename).size(), 2);
    QVERIFY(rig.settle());
    QCOMPARE(rig.destination.commands(ScriptedServer::Remove).size(), 0);
    QCOMPARE(rig.destination.commands(ScriptedServer::Sync).size(), 0);
}

void tst_SyncTaskEnds::cancellingTheRemovalsStartsNoTransfer()
{
    SyncRig rig(loopback(4));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({}, {{3, 1}, {3, 2}, {3, 3}}, {{3, 4}});
    EVENTUALLY_COMPARE(rig.destination.commands(ScriptedServer::Remove).size(), 1);
    BVProgressDialog *const removing = rig.progressDialog(u"Removing..."_s);
    EVENTUALLY(removing->isVisible());
    QTest::keyClick(removing, Qt::Key_Escape);
    QCOMPARE(rig.finished->size(), 1);

    // The removal on the wire completes on the server, and its result still finds the task.
    QSignalSpy removed(&rig.service, &ServerConnectionService::visualRemoveFinished);
    rig.destination.accept();
    rig.destination.wire.requests("/brenvoka/execute.html")
        .last()
        .answer(R"({"msg_type":7,"RESULT":0})");
    QVERIFY(removed.wait(patience));
    QVERIFY(rig.settle());
    QCOMPARE(rig.destination.commands(ScriptedServer::Remove).size(), 1);
    QCOMPARE(rig.destination.commands(ScriptedServer::Sync).size(), 0);
    QVERIFY(!rig.dialog<TransferDialog>());
    QCOMPARE(rig.finished->size(), 1);
}

// Results may come between the task's end and its deletion, and a closed bar counts as full.
void tst_SyncTaskEnds::noPhaseStartsAfterACancel()
{
    {
        SyncRig rig(loopback(4));
        rig.start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        rig.progressDialog(u"Renaming..."_s)->reject();
        emit rig.service.folderRenameFinished(rig.destinationUuid, 9);
        QVERIFY(!rig.progressDialog(u"Removing..."_s));
        QVERIFY(!rig.dialog<TransferDialog>());
    }
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}}, {{3, 2}});
    rig.progressDialog(u"Removing..."_s)->reject();
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 9, 9);
    QVERIFY(!rig.dialog<TransferDialog>());
}

void tst_SyncTaskEnds::noPhaseStartsAfterAnAbort()
{
    {
        SyncRig rig(loopback(4));
        rig.start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        // The source is lost, and the destination still answers its last rename.
        rig.task->abort();
        emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
        QVERIFY(!rig.progressDialog(u"Removing..."_s));
        QVERIFY(!rig.dialog<TransferDialog>());
    }
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}}, {{3, 2}});
    rig.task->abort();
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    QVERIFY(!rig.dialog<TransferDialog>());
}

// As a destination goes that has fallen silent: the one on the wire is told to nobody.
void tst_SyncTaskEnds::removalsThatWaitedAreToldAsDoneAndStartNoTransfer()
{
    SyncRig rig(loopback(4));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({}, {{3, 1}, {3, 2}, {3, 3}}, {{3, 4}});
    QVERIFY(rig.destination.wire.waitForRequests(1, "/brenvoka/execute.html"));
    rig.service.removeHandler(rig.destinationUuid);
    QCOMPARE(rig.progressDialog(u"Removing..."_s)->progress(), 2);
    QCOMPARE(rig.finished->size(), 0);
    rig.task->abort();
    QCOMPARE(rig.finished->size(), 1);
    QVERIFY(!rig.dialog<TransferDialog>());
    QVERIFY(!rig.task->hasErrors());
}

void tst_SyncTaskEnds::aCancelTogetherWithTheLastResultEndsTwice()
{
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}}, {});
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    rig.progressDialog(u"Removing..."_s)->reject();
    QCOMPARE(rig.finished->size(), 2);
}

void tst_SyncTaskEnds::errorsBeforeACancelAreKept()
{
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}, {3, 2}}, {});
    emit rig.service.visualRemoveError(rig.destinationUuid, 3, 1, u"locked"_s);
    rig.progressDialog(u"Removing..."_s)->reject();
    QCOMPARE(rig.finished->size(), 1);
    QVERIFY(rig.task->hasErrors());
    QCOMPARE(rig.task->errorDetails().size(), 1);
}

void tst_SyncTaskEnds::abortLeavesNoErrorsToShow()
{
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}, {3, 2}}, {});
    emit rig.service.visualRemoveError(rig.destinationUuid, 3, 1, u"locked"_s);
    BVProgressDialog *const removing = rig.progressDialog(u"Removing..."_s);
    EVENTUALLY(removing->isVisible());
    QVERIFY(rig.task->hasErrors());
    rig.task->abort();
    QCOMPARE(rig.finished->size(), 1);
    QVERIFY(!rig.task->hasErrors());
    QVERIFY(!removing->isVisible());
}

void tst_SyncTaskEnds::abortLeavesTheRenameDialog()
{
    SyncRig rig(loopback(4));
    rig.start({{3, u"Three"_s}}, {}, {});
    const QPointer<BVProgressDialog> renaming = rig.progressDialog(u"Renaming..."_s);
    EVENTUALLY(renaming->isVisible());
    rig.task->abort();
    QCOMPARE(rig.finished->size(), 1);
    QVERIFY(renaming->isVisible());
    rig.task.reset();
    QVERIFY(!renaming);
}

// The source is lost; the destination is still connected.
void tst_SyncTaskEnds::abortDropsTheRemovalsThatWait()
{
    SyncRig rig(loopback(4));
    QVERIFY(rig.connectDestination());
    rig.destination.wire.hold("/brenvoka/execute.html");
    rig.start({}, {{3, 1}, {3, 2}, {3, 3}}, {{3, 4}});
    EVENTUALLY_COMPARE(rig.destination.commands(ScriptedServer::Remove).size(), 1);
    rig.task->abort();
    QCOMPARE(rig.finished->size(), 1);

    QSignalSpy removed(&rig.service, &ServerConnectionService::visualRemoveFinished);
    rig.destination.accept();
    rig.destination.wire.requests("/brenvoka/execute.html")
        .last()
        .answer(R"({"msg_type":7,"RESULT":0})");
    QVERIFY(removed.wait(patience));
    QVERIFY(rig.settle());
    QCOMPARE(rig.destination.commands(ScriptedServer::Remove).size(), 1);
    QCOMPARE(rig.destination.commands(ScriptedServer::Sync).size(), 0);
}

void tst_SyncTaskEnds::abortForALostDestinationAsksTheServiceForNothing()
{
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}}, {});
    LogCapture log;
    rig.task->abort();
    QCOMPARE(log.texts(), QStringList());
}

void tst_SyncTaskEnds::deletionTakesDialogsAndConnectionsAlong()
{
    SyncRig rig(loopback(4));
    rig.start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    const QPointer<QDialog> renaming = rig.progressDialog(u"Renaming..."_s);
    const QPointer<QDialog> removing = rig.progressDialog(u"Removing..."_s);
    const QPointer<QDialog> transferring = rig.dialog<TransferDialog>();
    QVERIFY(renaming && removing && transferring);
    const qsizetype before = rig.finished->size();
    rig.task.reset();
    QVERIFY(!renaming && !removing && !transferring);
    emit rig.service.folderRenameFinished(rig.destinationUuid, 3);
    emit rig.service.visualRemoveFinished(rig.destinationUuid, 3, 1);
    emit rig.service.syncOperationFinished(rig.destinationUuid);
    QCOMPARE(rig.finished->size(), before);
}

void tst_SyncTaskEnds::aVanishedDestinationIsNamedByNothing()
{
    SyncRig rig(loopback(4));
    rig.start({}, {{3, 1}}, {});
    emit rig.service.visualRemoveError(rig.destinationUuid, 3, 1, u"gone"_s);
    rig.model.removeServer(rig.destinationUuid);
    QCOMPARE(rig.task->errorDetails(),
             QStringList{u"Remove visual 001 in folder 003 on server \"\" failed: gone."_s});
}

QTEST_MAIN(tst_SyncTaskEnds)
#include "tst_SyncTaskEnds.moc"
