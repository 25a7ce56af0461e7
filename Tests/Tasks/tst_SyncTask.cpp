// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/SyncTask.h"

#include "Support/LogCapture.h"
#include "Support/ProgressDialogs.h"
#include "Support/SyncTaskFixture.h"
#include "Support/Wait.h"

#include <QLabel>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

/// The order of the phases, the renames and the removals.
class tst_SyncTask : public SyncTaskTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void nothingToDoFinishesAtOnce()
    {
        QVERIFY(fixture->connectDestination());
        fixture->start({}, {}, {});
        QVERIFY(fixture->started);
        QCOMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->finished->first().first().value<TaskBase *>(), fixture->task.get());
        QVERIFY(!fixture->dialog<BVProgressDialog>());
        QVERIFY(!fixture->dialog<TransferDialog>());
        QVERIFY(!fixture->task->hasErrors());
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->destination.requests().size(), 1);
    }

    void knowsItsServers()
    {
        fixture->start({}, {}, {});
        QCOMPARE(fixture->task->affectedServer(), fixture->destinationUuid);
        QVERIFY(fixture->task->involvesServer(fixture->sourceUuid));
        QVERIFY(fixture->task->involvesServer(fixture->destinationUuid));
        QVERIFY(!fixture->task->involvesServer(QUuid::createUuid()));
        QVERIFY(!fixture->task->involvesServer(QUuid()));
        QCOMPARE(fixture->task->errorMessage(), u"Folder synchronization completed with errors"_s);
    }

    void phasesRunInOrder()
    {
        QVERIFY(fixture->connectDestination());
        fixture->destination.hold();
        fixture->start({{3, u"Three"_s}}, {{3, 7}}, {{3, 8}, {4, 9}});

        const auto requests = [&] { return fixture->destination.requests(); };
        EVENTUALLY_COMPARE(requests().size(), 1);
        const Command rename = fixture->destination.commands(ScriptedServer::Rename).value(0);
        QCOMPARE(rename.field("folderIdx"), u"3"_s);
        QCOMPARE(rename.field("folderName"), u"Three"_s);
        QVERIFY(!fixture->progressDialog(u"Removing..."_s));

        requests().last().answer(ScriptedServer::success);
        EVENTUALLY_COMPARE(requests().size(), 2);
        QCOMPARE(fixture->destination.visuals(ScriptedServer::Remove), (QList<VisualRef>{{3, 7}}));
        QVERIFY(!fixture->dialog<TransferDialog>());

        fixture->destination.accept();
        requests().last().answer(ScriptedServer::success);
        EVENTUALLY_COMPARE(requests().size(), 4);
        const QList<Command> syncs = fixture->destination.commands(ScriptedServer::Sync);
        QList<VisualRef> visuals = fixture->destination.visuals(ScriptedServer::Sync);
        std::ranges::sort(visuals); // each is sent on a different connection
        QCOMPARE(visuals, (QList<VisualRef>{{3, 8}, {4, 9}}));
        QCOMPARE(syncs.first().field("serverURL"), u"http://" LOOPBACK(109) ":4567"_s);
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
        QCOMPARE(fixture->finished->size(), 0);
    }

    void renamesOnlyFinishesAfterTheLastOne()
    {
        QVERIFY(fixture->connectDestination());
        fixture->start({{3, u"Three"_s}, {4, u"Four"_s}}, {}, {});
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->finished->wait(patience));
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->destination.commands(ScriptedServer::Rename).size(), 2);
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->destination.requests().size(), 3);
        QVERIFY(!fixture->dialog<TransferDialog>());
    }

    void removalsOnlyFinishesAfterTheLastOne()
    {
        QVERIFY(fixture->connectDestination());
        fixture->start({}, {{3, 1}, {3, 2}}, {});
        QVERIFY(fixture->finished->wait(patience));
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->destination.visuals(ScriptedServer::Remove),
                 (QList<VisualRef>{{3, 1}, {3, 2}}));
        QVERIFY(!fixture->dialog<TransferDialog>());
        QCOMPARE(fixture->finished->size(), 1);
    }

    void transfersOnlyShowNoProgressDialog()
    {
        QVERIFY(fixture->connectDestination());
        fixture->start({}, {}, {{3, 8}});
        QVERIFY(!fixture->dialog<BVProgressDialog>());
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
        QVERIFY(fixture->dialog<TransferDialog>()->isModal());
    }

    void progressDialogsAreModalAndHaveTheirTexts()
    {
        fixture->start({{3, u"Three"_s}, {4, u"Four"_s}}, {{3, 1}}, {});
        const BVProgressDialog *const renaming = fixture->progressDialog(u"Renaming..."_s);
        QVERIFY(renaming && renaming->isModal());
        QCOMPARE(renaming->findChild<QLabel *>()->text(), u"Renaming folders"_s);
        QCOMPARE(renaming->maximum(), 2);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        QCOMPARE(renaming->progress(), 1);
        QVERIFY(!fixture->progressDialog(u"Removing..."_s));
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 4);
        const BVProgressDialog *const removing = fixture->progressDialog(u"Removing..."_s);
        QVERIFY(removing && removing->isModal());
        QCOMPARE(removing->findChild<QLabel *>()->text(), u"Removing visuals"_s);
        QCOMPARE(removing->maximum(), 1);
    }

    void shortPhaseShowsNoDialog()
    {
        ShownDialogs shown;
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {});
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        QCOMPARE(fixture->finished->size(), 1);
        waitPastTheDelay();
        QCOMPARE(shown.count, 0);
    }

    void longPhaseShowsTheDialog()
    {
        ShownDialogs shown;
        fixture->start({{3, u"Three"_s}}, {}, {});
        QVERIFY(!fixture->progressDialog(u"Renaming..."_s)->isVisible());
        EVENTUALLY(fixture->progressDialog(u"Renaming..."_s)->isVisible());
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        QVERIFY(!fixture->progressDialog(u"Renaming..."_s)->isVisible());
        QCOMPARE(shown.count, 1);
        QCOMPARE(fixture->finished->size(), 1);
    }

    void unlistedRenameResultIsIgnored()
    {
        fixture->start({{3, u"Three"_s}}, {}, {});
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 9);
        emit fixture->service.folderRenameError(fixture->destinationUuid, 9, u"no"_s);
        QCOMPARE(fixture->progressDialog(u"Renaming..."_s)->progress(), 0);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(!fixture->task->hasErrors());
    }

    void unlistedRenameResultAfterTheLastRestartsTheRemovals()
    {
        QVERIFY(fixture->connectDestination());
        fixture->destination.hold();
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {});
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        const QPointer<BVProgressDialog> first = fixture->progressDialog(u"Removing..."_s);
        QVERIFY(first);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 9);
        QVERIFY(!first);
        QVERIFY(fixture->progressDialog(u"Removing..."_s));
        // The second start replaced the first: one result ends the phase once.
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        QCOMPARE(fixture->finished->size(), 1);
    }

    void restartedRemovalsCountOnce()
    {
        fixture->start({{3, u"Three"_s}}, {{3, 1}, {3, 2}}, {});
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 9);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        QCOMPARE(fixture->progressDialog(u"Removing..."_s)->progress(), 1);
        QCOMPARE(fixture->finished->size(), 0);
    }

    void unlistedRemovalResultIsIgnored()
    {
        fixture->start({}, {{3, 1}}, {});
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 2);
        emit fixture->service.visualRemoveError(fixture->destinationUuid, 1, 3, u"no"_s);
        QCOMPARE(fixture->progressDialog(u"Removing..."_s)->progress(), 0);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(!fixture->task->hasErrors());
    }

    void restartedTransfersCountFailuresOnce()
    {
        fixture->start({}, {{3, 1}}, {{3, 8}});
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 1);
        emit fixture->service.visualRemoveFinished(fixture->destinationUuid, 3, 9);
        emit fixture->service.syncError(fixture->destinationUuid, 3, 8, Brenvoka::SyncFailed,
                                        u"no"_s, {});
        QCOMPARE(fixture->task->errorDetails().size(), 1);
        emit fixture->service.syncOperationFinished(fixture->destinationUuid);
        QCOMPARE(fixture->finished->size(), 1);
    }

    /// Only the log shows it: the server is not connected, so no removal is queued.
    void cancelOfRenamesCancelsTheRemovals()
    {
        LogCapture log;
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {});
        const QString line = u"Handler not found for id "_s + fixture->destinationUuid.toString();
        QVERIFY(!log.texts().contains(line));
        fixture->progressDialog(u"Renaming..."_s)->reject();
        QCOMPARE(fixture->finished->size(), 1);
        QCOMPARE(log.texts().count(line), 1);
    }

    void resultOfAnotherServerIsLoggedAndIgnored()
    {
        LogCapture log;
        fixture->start({{3, u"Three"_s}}, {{3, 1}}, {});
        emit fixture->service.folderRenameFinished(fixture->sourceUuid, 3);
        emit fixture->service.folderRenameError(fixture->sourceUuid, 3, u"no"_s);
        QCOMPARE(fixture->progressDialog(u"Renaming..."_s)->progress(), 0);
        emit fixture->service.folderRenameFinished(fixture->destinationUuid, 3);
        emit fixture->service.visualRemoveFinished(fixture->sourceUuid, 3, 1);
        emit fixture->service.visualRemoveError(fixture->sourceUuid, 3, 1, u"no"_s);
        QCOMPARE(fixture->progressDialog(u"Removing..."_s)->progress(), 0);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(log.entries().count(u"info: Invalid server id in notification "_s +
                                     fixture->sourceUuid.toString()),
                 4);
    }

    void failedRenamesAndRemovalsAreListedAndDoNotStop()
    {
        QVERIFY(fixture->connectDestination());
        fixture->destination.refuse("it is locked");
        fixture->start({{3, u"Three"_s}}, {{4, 17}}, {{4, 18}});
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Sync).size(), 1);
        QVERIFY(fixture->task->hasErrors());
        emit fixture->service.syncOperationFinished(fixture->destinationUuid);
        QCOMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->task->errorDetails(),
                 (QStringList{u"Remove visual 017 in folder 004 on server \"Stage right\" failed: "
                              "it is locked."_s,
                              u"Rename folder index 003 to Three on server \"Stage right\" failed: "
                              "it is locked."_s}));
    }

    void failureWithoutTextCounts()
    {
        fixture->start({{3, u"Three"_s}}, {}, {});
        emit fixture->service.folderRenameError(fixture->destinationUuid, 3, QString());
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails().size(), 1);
    }

    void errorLineTakesNamesLiterally()
    {
        fixture->addServer(fixture->destinationUuid, fixture->destination.wire.address(),
                           u"%1\n%2"_s);
        fixture->start({{3, u"%3\u202E%4"_s}}, {}, {});
        emit fixture->service.folderRenameError(fixture->destinationUuid, 3,
                                                u"%1%%\n"_s.repeated(5000));
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{u"Rename folder index 003 to %3 %4 on server \"%1 %2\" failed: "_s +
                             u"%1%%\n"_s.repeated(5000).left(4096) + u"…."_s});
    }

    void failedTransferIsLoggedAsAnError()
    {
        LogCapture log;
        fixture->start({}, {}, {{3, 17}});
        emit fixture->service.syncError(fixture->destinationUuid, 3, 17, Brenvoka::SyncTransferring,
                                        {}, {});
        QVERIFY(log.entries().contains(
            u"error: Server Stage right failed to download URL \"Stage right\"."_s));
    }
};

QTEST_MAIN(tst_SyncTask)
#include "tst_SyncTask.moc"
