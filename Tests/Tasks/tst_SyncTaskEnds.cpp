// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/LogCapture.h"
#include "Support/ProgressDialogs.h"
#include "Support/SyncTaskFixture.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

/// How a sync task ends before its work is done: by the operator, by a lost server, by deletion.
class tst_SyncTaskEnds : public SyncTaskTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void cancelOfRenamesDoesNotStopThem()
    {
        QVERIFY(fixture->connectDestination());
        fixture->destination.hold();
        fixture->start({{3, u"Three"_s}, {4, u"Four"_s}}, {{3, 1}}, {{3, 2}});
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Rename).size(), 1);
        BVProgressDialog *const renaming = fixture->progressDialog(u"Renaming..."_s);
        EVENTUALLY(renaming->isVisible());
        pressCancel(*renaming);
        QCOMPARE(fixture->finished->size(), 1);
        fixture->task.reset();

        fixture->destination.accept();
        QVERIFY(fixture->answer(0));
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Rename).size(), 2);
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->destination.commands(ScriptedServer::Remove).size(), 0);
        QCOMPARE(fixture->destination.commands(ScriptedServer::Sync).size(), 0);
    }

    void cancelOfRemovalsStartsNoTransfer()
    {
        startRemovals();
        BVProgressDialog *const removing = fixture->progressDialog(u"Removing..."_s);
        EVENTUALLY(removing->isVisible());
        QTest::keyClick(removing, Qt::Key_Escape);
        QCOMPARE(fixture->finished->size(), 1);

        verifyNothingIsSentAfterTheRemoval();
        QVERIFY(!fixture->dialog<TransferDialog>());
        QCOMPARE(fixture->finished->size(), 1);
    }

    // Results may arrive between the end and the deletion of the task; a closed bar counts as full.
    void cancelOfRenamesStartsNoFurtherPhase()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        fixture->progressDialog(u"Renaming..."_s)->reject();
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 9);
        QVERIFY(!fixture->progressDialog(u"Removing..."_s));
        QVERIFY(!fixture->dialog<TransferDialog>());
    }

    void cancelOfRemovalsStartsNoFurtherPhase()
    {
        fixture->start({}, {{3, 1}}, {{3, 2}});
        fixture->progressDialog(u"Removing..."_s)->reject();
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 9, 9);
        QVERIFY(!fixture->dialog<TransferDialog>());
    }

    void abortOfRenamesStartsNoFurtherPhase()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        // The source is lost, and the destination still answers its last rename.
        fixture->task->abort();
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        QVERIFY(!fixture->progressDialog(u"Removing..."_s));
        QVERIFY(!fixture->dialog<TransferDialog>());
    }

    void abortOfRemovalsStartsNoFurtherPhase()
    {
        fixture->start({}, {{3, 1}}, {{3, 2}});
        fixture->task->abort();
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        QVERIFY(!fixture->dialog<TransferDialog>());
    }

    // A replaced task lives on, and results of other operations reach it.
    void resultsAfterTheEndStartNoPhaseAgain()
    {
        startAllPhases();
        emit fixture->service.syncOperationFinished(fixture->destinationUuid);
        QCOMPARE(fixture->finished->size(), 1);
        verifyUnlistedResultsStartNoPhaseAgain();
    }

    void resultsForAReplacedTaskStartNoPhaseAgain()
    {
        startAllPhases();
        fixture->task->setReplaced();
        verifyUnlistedResultsStartNoPhaseAgain();
        QCOMPARE(fixture->finished->size(), 0);
    }

    void aReplacedTaskContinues()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        fixture->task->setReplaced();
        endRenamesAndRemovals();
        QVERIFY(fixture->dialog<TransferDialog>());
    }

    // As for a destination that no longer announces itself: the removal in flight is not reported.
    void queuedRemovalsReportedAsDoneStartNoTransfer()
    {
        startRemovals();
        fixture->service.removeHandler(fixture->destinationUuid);
        QCOMPARE(fixture->progressDialog(u"Removing..."_s)->progress(), 2);
        QCOMPARE(fixture->finished->size(), 0);
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog<TransferDialog>());
        QVERIFY(!fixture->task->hasErrors());
    }

    void cancelAfterTheLastResultFinishesTwice()
    {
        fixture->start({}, {{3, 1}}, {});
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        fixture->progressDialog(u"Removing..."_s)->reject();
        QCOMPARE(fixture->finished->size(), 2);
    }

    void cancelKeepsEarlierErrors()
    {
        fixture->start({}, {{3, 1}, {3, 2}}, {});
        emit fixture->service.visualRemoveError(fixture->destinationUuid, 3, 1, u"locked"_s);
        fixture->progressDialog(u"Removing..."_s)->reject();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails().size(), 1);
    }

    void abortClearsErrorsAndHidesTheDialog()
    {
        fixture->start({}, {{3, 1}, {3, 2}}, {});
        emit fixture->service.visualRemoveError(fixture->destinationUuid, 3, 1, u"locked"_s);
        BVProgressDialog *const removing = fixture->progressDialog(u"Removing..."_s);
        EVENTUALLY(removing->isVisible());
        QVERIFY(fixture->task->hasErrors());
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->task->hasErrors());
        QVERIFY(!removing->isVisible());
    }

    void abortKeepsTheRenameDialog()
    {
        fixture->start({{3, u"Three"_s}}, {}, {});
        const QPointer<BVProgressDialog> renaming = fixture->progressDialog(u"Renaming..."_s);
        EVENTUALLY(renaming->isVisible());
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(renaming->isVisible());
        fixture->task.reset();
        QVERIFY(!renaming);
    }

    // The source is lost; the destination is still connected.
    void abortDropsQueuedRemovals()
    {
        startRemovals();
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);

        verifyNothingIsSentAfterTheRemoval();
    }

    void abortForALostDestinationMakesNoRequest()
    {
        fixture->start({}, {{3, 1}}, {});
        LogCapture log;
        fixture->task->abort();
        QCOMPARE(log.texts(), QStringList());
    }

    void deletionRemovesDialogsAndConnections()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        const QPointer<QDialog> renaming = fixture->progressDialog(u"Renaming..."_s);
        const QPointer<QDialog> removing = fixture->progressDialog(u"Removing..."_s);
        const QPointer<QDialog> transferring = fixture->dialog<TransferDialog>();
        QVERIFY(renaming && removing && transferring);
        const qsizetype before = fixture->finished->size();
        fixture->task.reset();
        QVERIFY(!renaming && !removing && !transferring);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        emit fixture->service.syncOperationFinished(fixture->destinationUuid);
        QCOMPARE(fixture->finished->size(), before);
    }

    void errorLineOfARemovedServerHasNoName()
    {
        fixture->start({}, {{3, 1}}, {});
        emit fixture->service.visualRemoveError(fixture->destinationUuid, 3, 1, u"gone"_s);
        fixture->model.removeServer(fixture->destinationUuid);
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{u"Remove visual 001 in folder 003 on server \"\" failed: gone."_s});
    }

private:
    /// Starts a rename, a removal and a transfer, and ends the first two.
    void startAllPhases()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {{3, 2}});
        endRenamesAndRemovals();
    }
    void endRenamesAndRemovals()
    {
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
    }

    /// A phase that starts again has a new dialog.
    void verifyUnlistedResultsStartNoPhaseAgain()
    {
        const QPointer<BVProgressDialog> removing = fixture->progressDialog(u"Removing..."_s);
        const QPointer<TransferDialog> transfers = fixture->dialog<TransferDialog>();
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 9, 9);
        QVERIFY(transfers);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 9);
        QVERIFY(removing && transfers);
    }

    /// Starts three removals and a transfer, and waits until the first removal is in flight.
    void startRemovals()
    {
        QVERIFY(fixture->connectDestination());
        fixture->destination.hold();
        fixture->start({}, {{3, 1}, {3, 2}, {3, 3}}, {{3, 4}});
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Remove).size(), 1);
    }

    /// The removal in flight completes, and the task still gets its result.
    void verifyNothingIsSentAfterTheRemoval()
    {
        QSignalSpy removed(&fixture->service, &ServerConnectionService::visualRemoveFinished);
        fixture->destination.accept();
        QVERIFY(fixture->answer(0));
        QVERIFY(removed.wait(patience));
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->destination.commands(ScriptedServer::Remove).size(), 1);
        QCOMPARE(fixture->destination.commands(ScriptedServer::Sync).size(), 0);
    }
};

QTEST_MAIN(tst_SyncTaskEnds)
#include "tst_SyncTaskEnds.moc"
