// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "SyncClickFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

namespace {

using Refs = QList<VisualRef>;

} // namespace

/// A synchronisation from the click to the new library, by the commands that the servers receive.
class tst_UIControllerSync : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void everythingIsComparedWithoutASelection()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open(
            {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1), cachedVisual(2, u"y"_s, 2)}),
             folder(1, u"b"_s, {cachedVisual(255, u"z"_s, 3)})},
            {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)}), folder(1, u"b"_s)}));
        QVERIFY(fixture.start(2));
        Refs visuals = fixture.two.visuals(ScriptedServer::Sync);
        std::ranges::sort(visuals); // they use separate connections
        QCOMPARE(visuals, (Refs{{0, 2}, {1, 255}}));
        QCOMPARE(fixture.two.commands(ScriptedServer::Sync).first().field("serverURL"),
                 u"http://" LOOPBACK(101) ":4567"_s);
        QVERIFY(fixture.one.requests().isEmpty());
    }

    void onlyTheSelectedFolderIsCompared()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(2, u"y"_s, 2)}),
                              folder(1, u"b"_s, {cachedVisual(255, u"z"_s, 3)})},
                             {folder(0, u"a"_s), folder(1, u"other name"_s)}));
        fixture.bankA().selectRows({0});
        QVERIFY(fixture.start());
        fixture.two.sendStarted({0, 2});
        fixture.two.sendEnded({0, 2}, Brenvoka::SyncFinished);
        EVENTUALLY(!fixture.transferDialog());
        QCOMPARE(fixture.two.requests().size(), 1);
        QCOMPARE(fixture.two.visuals(ScriptedServer::Sync), (Refs{{0, 2}}));
    }

    void onlyTheSelectedSlotIsCompared()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open(
            {folder(0, u"a"_s),
             folder(1, u"b"_s, {cachedVisual(7, u"z"_s, 3), cachedVisual(8, u"z"_s, 3)})},
            {folder(0, u"a"_s), folder(1, u"b"_s)}));
        fixture.controller().folderChanged(1);
        fixture.bankA().selectRows({9, 10});
        QVERIFY(fixture.start());
        QCOMPARE(fixture.two.visuals(ScriptedServer::Sync), (Refs{{1, 8}}));
    }

    void aSelectedSlotThatIsEmptyInTheSourceIsRemoved()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open(
            {folder(0, u"a"_s), folder(1, u"b"_s)},
            {folder(0, u"a"_s),
             folder(1, u"b"_s, {cachedVisual(7, u"z"_s, 3), cachedVisual(8, u"z"_s, 3)})}));
        fixture.controller().folderChanged(1);
        fixture.bankA().selectRows({8});
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Remove), (Refs{{1, 7}}));
    }

    void theOtherButtonTransfersTheOtherWay()
    {
        SyncClickFixture fixture;
        QVERIFY(
            fixture.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {cachedVisual(2, u"y"_s, 2)})}));
        fixture.clickRightToLeft();
        EVENTUALLY_COMPARE(fixture.one.visuals(ScriptedServer::Sync), (Refs{{0, 2}}));
        QCOMPARE(fixture.one.commands(ScriptedServer::Sync).first().field("serverURL"),
                 u"http://" LOOPBACK(102) ":4567"_s);
    }

    void aFolderWithEqualSlotsIsRenamed()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})},
                             {folder(0, u"b"_s, {cachedVisual(1, u"x"_s, 1)})}));
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.commands(ScriptedServer::Rename).size(), 1);
        QCOMPARE(fixture.two.commands(ScriptedServer::Rename).first().field("folderName"), u"a"_s);
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
        QCOMPARE(fixture.two.requests().size(), 1);
    }

    void aMissingFolderIsNamedBeforeItsTransfers()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s), folder(1, u"b"_s, {cachedVisual(1, u"x"_s, 1)})},
                             {folder(0, u"a"_s)}));
        QVERIFY(fixture.start());
        const QList<WireRequest> requests = fixture.two.requests();
        QCOMPARE(requests.size(), 2);
        QVERIFY(requests.first().body.startsWith("req_type=5&folderIdx=1&folderName=b&"));
        QVERIFY(requests.last().body.startsWith("req_type=1&"));
    }

    void visualsMissingInTheSourceAreRemoved()
    {
        SyncClickFixture fixture;
        QVERIFY(
            fixture.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)}),
                                               folder(1, u"b"_s, {cachedVisual(9, u"x"_s, 1)})}));
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Remove), (Refs{{0, 1}, {1, 9}}));
        QCOMPARE(fixture.two.commands(ScriptedServer::Rename).size(), 0);
    }

    void serversWithoutACommonSubnetAreReportedOnClick()
    {
        LogCapture log;
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})}, {folder(0, u"a"_s)},
                             32));
        QVERIFY(fixture.isTransferEnabled());
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.clickLeftToRight();
        QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
        QVERIFY(log.entries().contains(u"info: Server don't share a subnet"_s));
        QVERIFY(!fixture.transferDialog());
        QVERIFY(fixture.isTransferEnabled());
    }

    void oneServerInBothBanksDisablesTheTransfer()
    {
        ControllerFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(101));
        fixture.connectServer(one);
        fixture.connectServer(sampleServer(u"Two"_s, loopback(102)));
        QVERIFY(fixture.isTransferEnabled());
        fixture.bankB().setServers({one.uuid});
        fixture.choose(fixture.bankB(), u"One"_s);
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.bankA().currentServerUuid());
        QVERIFY(!fixture.isTransferEnabled());
    }

    void withoutADestinationThereIsNoCommonSubnet()
    {
        ControllerFixture fixture;
        fixture.connectServer(sampleServer(u"One"_s, loopback(109)));
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.controller().transferFromServerA();
        QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
    }

    void withoutASourceNothingHappens()
    {
        ControllerFixture fixture;
        fixture.connectServer(sampleServer(u"One"_s, loopback(109)));
        ModalDriver modals;
        fixture.controller().transferFromServerB();
        QVERIFY(modals.seen().isEmpty());
    }

    void nothingToDoDownloadsTheLibrary()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})},
                             {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})}));
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
        QCOMPARE(fixture.one.libraryRequests(), 1);
        QVERIFY(!fixture.transferDialog());
        QVERIFY(fixture.two.requests().isEmpty());
    }

    void theLibraryIsDownloadedOnlyAtTheEnd()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        QCOMPARE(fixture.two.libraryRequests(), 1);
        fixture.two.sendStarted({0, 1});
        fixture.two.sendLibraryChanged();
        fixture.one.sendLibraryChanged();
        fixture.two.sendProgress({0, 1}, Brenvoka::SyncTransferring, 50);
        EVENTUALLY_COMPARE(fixture.transferDialog()->rows.at({0, 1}).percent, 50);
        // The source has its own stream: the rates show that everything before them was handled.
        fixture.one.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":24.5})"));
        EVENTUALLY(fixture.controller().connectedServer(fixture.one.uuid).hasFpsStats);
        QCOMPARE(fixture.two.libraryRequests(), 1);
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
        QVERIFY(!fixture.transferDialog());
        // A change during the download of a library is ignored.
        EVENTUALLY((fixture.two.sendLibraryChanged(), fixture.two.libraryRequests() > 2));
        QCOMPARE(fixture.one.libraryRequests(), 1);
    }

    void theLibraryIsDownloadedAfterACancel()
    {
        SyncClickFixture fixture;
        QVERIFY(
            fixture.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})}));
        fixture.two.hold();
        fixture.clickLeftToRight();
        QVERIFY(fixture.cancel(u"Removing..."_s));
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
    }

    void errorsAreShownOnceAtTheEnd()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})},
                             {folder(0, u"a"_s, {cachedVisual(2, u"y"_s, 2)})}));
        fixture.two.refuse("it is <locked>");
        QVERIFY(fixture.start());
        fixture.two.sendStarted({0, 1});
        ModalDriver modals;
        modals.answer([&](QDialog &errors) {
            // The download does not wait for the operator.
            EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
            errors.accept();
        });
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncImporting);
        EVENTUALLY(!modals.pending() && !QApplication::activeModalWidget());
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().text, u"Folder synchronization completed with errors"_s);
        QCOMPARE(modals.seen().first().details,
                 u"Remove visual 002 in folder 000 on server \"Two\" failed: it is <locked>.\n"
                 "Visual sync from \"One\" on server \"Two\" in folder 000 at index 001 failed: "
                 "Import failure."_s);
        QCOMPARE(fixture.two.libraryRequests(), 2);
    }

    void theNewLibraryIsShown()
    {
        const QList<MediaFolder> source{folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})};
        SyncClickFixture fixture;
        fixture.model.warningLevel = 0;
        fixture.one.setLibrary(source);
        fixture.two.setLibrary({folder(0, u"a"_s)});
        QVERIFY(fixture.discover(fixture.one, u"One"_s) && fixture.discover(fixture.two, u"Two"_s));
        QVERIFY(!fixture.bankA().sameMarks.test(0));
        QVERIFY(fixture.start());
        fixture.two.setLibrary(source);
        fixture.two.sendStarted({0, 1});
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
        EVENTUALLY(!fixture.isSyncWarningShown());
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(fixture.bankB().sameMarks.all());
    }

    void theEndOfAnUnknownTaskIsLogged()
    {
        LogCapture log;
        ControllerFixture fixture;
        fixture.controller().onTaskFinished(nullptr);
        QCOMPARE(log.entries().count(u"error: Finish notification received from invalid task"_s),
                 1);
    }

    void aSecondStartAbandonsTheFirstTask()
    {
        LogCapture log;
        SyncClickFixture fixture;
        QVERIFY(
            fixture.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})}));
        fixture.two.hold();
        {
            const LeakAllowed first;
            fixture.clickLeftToRight();
        }
        fixture.clickLeftToRight();
        fixture.two.accept();
        QVERIFY(fixture.two.waitForCommands(1));
        fixture.two.requests().first().answer(ScriptedServer::success);
        EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
        // The result counts for both tasks: each ends with it.
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
    }

    void aRemovalDuringAHiddenSynchronisationRepeatsNothing()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open({folder(0, u"a"_s, {cachedVisual(2, u"x"_s, 2)}), folder(1, u"b"_s)},
                             {folder(0, u"a"_s, {cachedVisual(5, u"y"_s, 5)}),
                              folder(1, u"b"_s, {cachedVisual(7, u"z"_s, 7)})}));
        fixture.bankA().selectRows({0});
        {
            const LeakAllowed first;
            fixture.clickLeftToRight();
        }
        EVENTUALLY_COMPARE(fixture.two.commands(ScriptedServer::Sync).size(), 1);
        const QPointer<TransferDialog> transfers = fixture.transferDialog();
        transfers->reject();
        fixture.bankB().selectRows({1});
        childOf<QPushButton>(fixture.bankB(), "removeButton").click();
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), 2);
        QCOMPARE(fixture.two.visuals(ScriptedServer::Remove), (Refs{{0, 5}, {1, 7}}));
        QVERIFY(transfers);
    }

    void deletingTheWindowDeletesItsTask()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        const QPointer<TransferDialog> dialog = fixture.transferDialog();
        QVERIFY(dialog->isVisible());
        bool isTaskDeleted = false; // with its dialog, before the window deletes that
        connect(&fixture.controller(), &QObject::destroyed, this,
                [&] { isTaskDeleted = dialog.isNull(); });
        fixture.window.reset();
        QVERIFY(isTaskDeleted);
        EVENTUALLY(!fixture.two.stream.isOpen());
        QVERIFY(QApplication::topLevelWidgets().isEmpty());
    }
};

QTEST_MAIN(tst_UIControllerSync)
#include "tst_UIControllerSync.moc"
