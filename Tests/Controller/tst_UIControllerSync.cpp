// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

#include "Dialogs/BVProgressDialog.h"
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

/// A synchronisation from the click to the fresh library, by the commands that reach the servers.
class tst_UIControllerSync : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void everythingIsComparedWithoutASelection();
    void aSelectedFolderIsComparedAlone();
    void aSelectedSlotIsComparedAlone();
    void theOtherDirectionIsTheOtherButton();
    void anEqualSlotStillTouchesItsFolder();
    void aMissingFolderIsNamedFirst();
    void whatTheSourceLacksIsRemoved();
    void serversWithoutACommonSubnetAreToldAtTheClick();
    void oneServerInBothBanksDisablesTheTransfer();
    void withoutADestinationThereIsNoCommonSubnet();
    void withoutASourceNothingHappens();
    void nothingToDoFetchesTheLibrary();
    void theLibraryIsFetchedAtTheEndAlone();
    void theLibraryIsFetchedAfterACancel();
    void errorsAreShownOnceAtTheEnd();
    void theFreshLibraryReachesTheScreen();
    void theEndOfNoTaskIsLogged();
    void aSecondStartLetsGoOfTheFirst();
    void theWindowGoesWithItsTask();
};

void tst_UIControllerSync::everythingIsComparedWithoutASelection()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s, {visual(1, u"x"_s, 1), visual(2, u"y"_s, 2)}),
                        folder(1, u"b"_s, {visual(255, u"z"_s, 3)})},
                       {folder(0, u"a"_s, {visual(1, u"x"_s, 1)}), folder(1, u"b"_s)}));
    QVERIFY(stage.start(2));
    Refs visuals = stage.two.visuals(PlayedServer::Sync);
    std::ranges::sort(visuals); // each has a connection of its own
    QCOMPARE(visuals, (Refs{{0, 2}, {1, 255}}));
    QCOMPARE(stage.two.commands(PlayedServer::Sync).first().field("serverURL"),
             u"http://" LOOPBACK(101) ":4567"_s);
    QVERIFY(stage.one.wire.requests("/brenvoka/execute.html").isEmpty());
}

void tst_UIControllerSync::aSelectedFolderIsComparedAlone()
{
    SyncStage stage;
    QVERIFY(stage.open(
        {folder(0, u"a"_s, {visual(2, u"y"_s, 2)}), folder(1, u"b"_s, {visual(255, u"z"_s, 3)})},
        {folder(0, u"a"_s), folder(1, u"other name"_s)}));
    stage.rig.bankA().selectRows({0});
    QVERIFY(stage.start());
    stage.two.sendStarted({0, 2});
    stage.two.sendEnded({0, 2}, Brenvoka::SyncFinished);
    EVENTUALLY(!stage.transferDialog());
    QCOMPARE(stage.two.wire.requests("/brenvoka/execute.html").size(), 1);
    QCOMPARE(stage.two.visuals(PlayedServer::Sync), (Refs{{0, 2}}));
}

void tst_UIControllerSync::aSelectedSlotIsComparedAlone()
{
    SyncStage stage;
    QVERIFY(stage.open(
        {folder(0, u"a"_s), folder(1, u"b"_s, {visual(7, u"z"_s, 3), visual(8, u"z"_s, 3)})},
        {folder(0, u"a"_s), folder(1, u"b"_s)}));
    stage.rig.controller().folderChanged(1);
    stage.rig.bankA().selectRows({9, 10});
    QVERIFY(stage.start());
    QCOMPARE(stage.two.visuals(PlayedServer::Sync), (Refs{{1, 8}}));
}

void tst_UIControllerSync::theOtherDirectionIsTheOtherButton()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {visual(2, u"y"_s, 2)})}));
    stage.rig.clickRightToLeft();
    EVENTUALLY_COMPARE(stage.one.visuals(PlayedServer::Sync), (Refs{{0, 2}}));
    QCOMPARE(stage.one.commands(PlayedServer::Sync).first().field("serverURL"),
             u"http://" LOOPBACK(102) ":4567"_s);
}

void tst_UIControllerSync::anEqualSlotStillTouchesItsFolder()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s, {visual(1, u"x"_s, 1)})},
                       {folder(0, u"b"_s, {visual(1, u"x"_s, 1)})}));
    stage.rig.clickLeftToRight();
    EVENTUALLY_COMPARE(stage.two.commands(PlayedServer::Rename).size(), 1);
    QCOMPARE(stage.two.commands(PlayedServer::Rename).first().field("folderName"), u"a"_s);
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
    QCOMPARE(stage.two.wire.requests("/brenvoka/execute.html").size(), 1);
}

void tst_UIControllerSync::aMissingFolderIsNamedFirst()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s), folder(1, u"b"_s, {visual(1, u"x"_s, 1)})},
                       {folder(0, u"a"_s)}));
    QVERIFY(stage.start());
    const QList<WireRequest> requests = stage.two.wire.requests("/brenvoka/execute.html");
    QCOMPARE(requests.size(), 2);
    QVERIFY(requests.first().body.startsWith("req_type=5&folderIdx=1&folderName=b&"));
    QVERIFY(requests.last().body.startsWith("req_type=1&"));
}

void tst_UIControllerSync::whatTheSourceLacksIsRemoved()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {visual(1, u"x"_s, 1)}),
                                             folder(1, u"b"_s, {visual(9, u"x"_s, 1)})}));
    stage.rig.clickLeftToRight();
    EVENTUALLY_COMPARE(stage.two.visuals(PlayedServer::Remove), (Refs{{0, 1}, {1, 9}}));
    QCOMPARE(stage.two.commands(PlayedServer::Rename).size(), 0);
}

void tst_UIControllerSync::serversWithoutACommonSubnetAreToldAtTheClick()
{
    LogCapture log;
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s, {visual(1, u"x"_s, 1)})}, {folder(0, u"a"_s)}, 32));
    QVERIFY(stage.rig.isTransferEnabled());
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    stage.rig.clickLeftToRight();
    QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
    QVERIFY(log.texts().contains(u"Server don't share a subnet"_s));
    QVERIFY(!stage.transferDialog());
    QVERIFY(stage.rig.isTransferEnabled());
}

void tst_UIControllerSync::oneServerInBothBanksDisablesTheTransfer()
{
    ControllerRig rig;
    const Server one = sampleServer(u"One"_s, loopback(101));
    rig.rig.connectServer(one);
    rig.rig.connectServer(sampleServer(u"Two"_s, loopback(102)));
    QVERIFY(rig.isTransferEnabled());
    rig.bankB().setServers({one.uuid});
    rig.choose(rig.bankB(), u"One"_s);
    QCOMPARE(rig.bankB().currentServerUuid(), rig.bankA().currentServerUuid());
    QVERIFY(!rig.isTransferEnabled());
}

void tst_UIControllerSync::withoutADestinationThereIsNoCommonSubnet()
{
    ControllerRig rig;
    rig.rig.connectServer(sampleServer(u"One"_s, loopback(109)));
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    rig.controller().transferFromServerA();
    QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
}

void tst_UIControllerSync::withoutASourceNothingHappens()
{
    ControllerRig rig;
    rig.rig.connectServer(sampleServer(u"One"_s, loopback(109)));
    ModalDriver modals;
    rig.controller().transferFromServerB();
    QVERIFY(modals.seen().isEmpty());
}

void tst_UIControllerSync::nothingToDoFetchesTheLibrary()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s, {visual(1, u"x"_s, 1)})},
                       {folder(0, u"a"_s, {visual(1, u"x"_s, 1)})}));
    stage.rig.clickLeftToRight();
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
    QCOMPARE(stage.one.libraryRequests(), 1);
    QVERIFY(!stage.transferDialog());
    QVERIFY(stage.two.wire.requests("/brenvoka/execute.html").isEmpty());
}

void tst_UIControllerSync::theLibraryIsFetchedAtTheEndAlone()
{
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    QCOMPARE(stage.two.libraryRequests(), 1);
    stage.two.sendStarted({0, 1});
    stage.two.sendLibraryChanged();
    stage.one.sendLibraryChanged();
    stage.two.sendProgress({0, 1}, Brenvoka::SyncTransferring, 50);
    EVENTUALLY_COMPARE(stage.transferDialog()->rows.at({0, 1}).percent, 50);
    // What the source says comes on a stream of its own: the rates show that all was heard.
    stage.one.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":24.5})"));
    EVENTUALLY(stage.rig.controller().connectedServer(stage.one.uuid).hasFpsStats);
    QCOMPARE(stage.two.libraryRequests(), 1);
    stage.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
    QVERIFY(!stage.transferDialog());
    // A change that is told while a library is still on its way asks for nothing new.
    EVENTUALLY((stage.two.sendLibraryChanged(), stage.two.libraryRequests() > 2));
    QCOMPARE(stage.one.libraryRequests(), 1);
}

void tst_UIControllerSync::theLibraryIsFetchedAfterACancel()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {visual(1, u"x"_s, 1)})}));
    stage.two.wire.hold("/brenvoka/execute.html");
    stage.rig.clickLeftToRight();
    BVProgressDialog *removing = nullptr;
    EVENTUALLY([&] {
        for (auto *const dialog : stage.rig.rig.window->findChildren<BVProgressDialog *>()) {
            if (dialog->windowTitle() == u"Removing..."_s && dialog->isVisible())
                removing = dialog;
        }
        return removing;
    }());
    QTest::keyClick(removing, Qt::Key_Escape);
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
}

void tst_UIControllerSync::errorsAreShownOnceAtTheEnd()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s, {visual(1, u"x"_s, 1)})},
                       {folder(0, u"a"_s, {visual(2, u"y"_s, 2)})}));
    stage.two.refuse("it is <locked>");
    QVERIFY(stage.start());
    stage.two.sendStarted({0, 1});
    ModalDriver modals;
    modals.answer([&](QDialog &errors) {
        // The library does not wait for the operator.
        EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
        errors.accept();
    });
    stage.two.sendEnded({0, 1}, Brenvoka::SyncImporting);
    EVENTUALLY(!modals.pending() && !QApplication::activeModalWidget());
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().text, u"Folder synchronization completed with errors"_s);
    QCOMPARE(modals.seen().first().details,
             u"Remove visual 002 in folder 000 on server \"Two\" failed: it is <locked>.\n"
             "Visual sync from \"One\" on server \"Two\" in folder 000 at index 001 failed: "
             "Import failure."_s);
    QCOMPARE(stage.two.libraryRequests(), 2);
}

void tst_UIControllerSync::theFreshLibraryReachesTheScreen()
{
    const QList<MediaFolder> source{folder(0, u"a"_s, {visual(1, u"x"_s, 1)})};
    SyncStage stage;
    stage.rig.model().warningLevel = 0;
    stage.one.setLibrary(source);
    stage.two.setLibrary({folder(0, u"a"_s)});
    QVERIFY(stage.rig.discover(stage.one, u"One"_s) && stage.rig.discover(stage.two, u"Two"_s));
    QVERIFY(!stage.rig.bankA().sameMarks.test(0));
    QVERIFY(stage.start());
    stage.two.setLibrary(source);
    stage.two.sendStarted({0, 1});
    stage.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
    EVENTUALLY(!stage.rig.isSyncWarningShown());
    QVERIFY(stage.rig.bankA().sameMarks.all());
    QVERIFY(stage.rig.bankB().sameMarks.all());
}

void tst_UIControllerSync::theEndOfNoTaskIsLogged()
{
    LogCapture log;
    ControllerRig rig;
    rig.controller().onTaskFinished(nullptr);
    QCOMPARE(log.texts().count(u"Finish notification received from invalid task"_s), 1);
}

void tst_UIControllerSync::aSecondStartLetsGoOfTheFirst()
{
    LogCapture log;
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s)}, {folder(0, u"a"_s, {visual(1, u"x"_s, 1)})}));
    stage.two.wire.hold("/brenvoka/execute.html");
    {
        const LeakAllowed first;
        stage.rig.clickLeftToRight();
    }
    stage.rig.clickLeftToRight();
    stage.two.accept();
    QVERIFY(stage.two.wire.waitForRequests(1, "/brenvoka/execute.html"));
    stage.two.wire.requests("/brenvoka/execute.html")
        .first()
        .answer(R"({"msg_type":7,"RESULT":0})");
    EVENTUALLY(log.texts().contains(u"Finish notification received from invalid task"_s));
    // The first task's result is the second's as well: each ends with it.
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), 2);
}

void tst_UIControllerSync::theWindowGoesWithItsTask()
{
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    const QPointer<TransferDialog> dialog = stage.transferDialog();
    QVERIFY(dialog->isVisible());
    bool isTaskDeleted = false; // which takes its dialog along, before the window does
    connect(&stage.rig.controller(), &QObject::destroyed, this,
            [&] { isTaskDeleted = dialog.isNull(); });
    stage.rig.rig.window.reset();
    QVERIFY(isTaskDeleted);
    EVENTUALLY(!stage.two.stream.isOpen());
    QVERIFY(QApplication::topLevelWidgets().isEmpty());
}

QTEST_MAIN(tst_UIControllerSync)
#include "tst_UIControllerSync.moc"
