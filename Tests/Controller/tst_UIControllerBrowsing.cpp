// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "BrowsingStage.h"

#include "Support/FailOnWarning.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QScrollBar>

using namespace Qt::Literals::StringLiterals;

/// How the two banks are kept in step: level, marks, scroll position, selection and view.
class tst_UIControllerBrowsing : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void equalLibrariesShowNoDifference();
    void oneServerShowsTheSignAndNoDifference();
    void aFolderOfOneServerDiffersAtBothLevels();
    void equalVisualsUnderAnotherNameShowARedHeaderOnly();
    void aFolderThatBothLackHasARedHeader();
    void aSingleServerHasNoRedHeader();
    void bothBanksChangeLevelTogether();
    void aChangeOfServerStaysInTheFolder();
    void selectionIsMirroredByRow();
    void rowsPastTheEndAreNotMirrored();
    void scrollingIsLinked();
    void goingBackRestoresTheScrollPosition();
    void goingBackRestoresThePositionOfBankA();
    void viewSettingsReachModelAndBanks_data();
    void viewSettingsReachModelAndBanks();
    void aFailedThumbnailHasAMessage();
    void aFailedThumbnailOfAHiddenServerHasNone();
};

void tst_UIControllerBrowsing::equalLibrariesShowNoDifference()
{
    const QList<MediaFolder> folders{folder(0, u"a"_s, {visual(1, u"x"_s, 1)})};
    BrowsingStage stage(folders, folders);
    QVERIFY(stage.rig.bankA().sameMarks.all());
    QVERIFY(stage.rig.bankB().sameMarks.all());
    QVERIFY(stage.rig.find<QLabel>("unsyncServers").isHidden());
}

void tst_UIControllerBrowsing::oneServerShowsTheSignAndNoDifference()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(51)));
    QVERIFY(rig.bankA().sameMarks.all());
    QVERIFY(!rig.find<QLabel>("unsyncServers").isHidden());
    rig.controller().folderChanged(3);
    QVERIFY(rig.bankA().sameMarks.all());
    rig.controller().backToFolders();
    QVERIFY(rig.bankA().sameMarks.all());
    QVERIFY(!rig.find<QLabel>("unsyncServers").isHidden());
}

void tst_UIControllerBrowsing::aFolderOfOneServerDiffersAtBothLevels()
{
    BrowsingStage stage(
        {folder(0, u"a"_s), folder(7, u"Seven"_s, {visual(1, u"x"_s, 1), visual(2, u"y"_s, 2)})},
        {folder(0, u"a"_s)});
    QCOMPARE(differences(stage.rig.bankA().sameMarks), QList<int>{7});
    QCOMPARE(differences(stage.rig.bankB().sameMarks), QList<int>{7});
    stage.rig.controller().folderChanged(7);
    QCOMPARE(differences(stage.rig.bankA().sameMarks), (QList<int>{1, 2}));
    QCOMPARE(differences(stage.rig.bankB().sameMarks), (QList<int>{1, 2}));
    QVERIFY(headerOf(stage.rig.bankA()).contains(u"#FF0000"_s));
    QVERIFY(headerOf(stage.rig.bankB()).contains(u"#FF0000"_s));
    stage.rig.controller().backToFolders();
    QCOMPARE(differences(stage.rig.bankA().sameMarks), QList<int>{7});
    QVERIFY(!stage.rig.find<QLabel>("unsyncServers").isHidden());
}

void tst_UIControllerBrowsing::equalVisualsUnderAnotherNameShowARedHeaderOnly()
{
    BrowsingStage stage({folder(0, u"a"_s), folder(1, u"One"_s, {visual(1, u"x"_s, 1)})},
                        {folder(0, u"a"_s), folder(1, u"Eins"_s, {visual(1, u"x"_s, 1)})});
    QCOMPARE(differences(stage.rig.bankA().sameMarks), QList<int>{1});
    stage.rig.controller().folderChanged(1);
    QVERIFY(stage.rig.bankA().sameMarks.all());
    QVERIFY(stage.rig.bankB().sameMarks.all());
    QCOMPARE(headerOf(stage.rig.bankA()), u"Library > <b><font color=#FF0000>One</font></b>"_s);
    QCOMPARE(headerOf(stage.rig.bankB()), u"Library > <b><font color=#FF0000>Eins</font></b>"_s);
    stage.rig.controller().folderChanged(0);
    QCOMPARE(headerOf(stage.rig.bankA()), u"Library > a"_s);
}

void tst_UIControllerBrowsing::aFolderThatBothLackHasARedHeader()
{
    BrowsingStage stage({folder(0, u"a"_s)}, {folder(0, u"a"_s)});
    stage.rig.controller().folderChanged(9);
    QVERIFY(stage.rig.bankA().sameMarks.all());
    QVERIFY(headerOf(stage.rig.bankA()).contains(u"#FF0000"_s));
}

void tst_UIControllerBrowsing::aSingleServerHasNoRedHeader()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(51)));
    rig.controller().folderChanged(9);
    QCOMPARE(headerOf(rig.bankA()), u"Library > 009_Folder"_s);
}

void tst_UIControllerBrowsing::bothBanksChangeLevelTogether()
{
    const Server sample = sampleServer(u"x"_s, loopback(51));
    BrowsingStage stage(sample.folders, sample.folders);
    QVERIFY(stage.rig.show());
    doubleClickRow(stage.rig.bankB(), 3);
    QCOMPARE(stage.rig.model.selectedFolder, 3);
    QCOMPARE(stage.rig.bankA().currentFolder, 3);
    QCOMPARE(stage.rig.bankB().currentFolder, 3);
    QCOMPARE(listOf(stage.rig.bankA()).count(), 257);
    doubleClickRow(stage.rig.bankA(), 0);
    QCOMPARE(stage.rig.model.selectedFolder, -1);
    QCOMPARE(stage.rig.bankA().currentFolder, -1);
    QCOMPARE(stage.rig.bankB().currentFolder, -1);
    QCOMPARE(listOf(stage.rig.bankB()).count(), 256);
}

void tst_UIControllerBrowsing::aChangeOfServerStaysInTheFolder()
{
    PlayedServer server(loopback(53));
    ControllerRig rig;
    const Server sample = sampleServer(u"One"_s, loopback(51));
    rig.rig.connectServer(sample);
    rig.controller().folderChanged(3);
    QVERIFY(rig.bringUp(server, u"Other"_s, {folder(3, u"Stage"_s, {visual(3, u"Sunset"_s, 3)})}));
    QCOMPARE(rig.bankB().currentServerUuid(), server.uuid);
    QCOMPARE(rig.bankB().currentFolder, 3);
    QCOMPARE(differences(rig.bankA().sameMarks), QList<int>{5});
    QCOMPARE(differences(rig.bankB().sameMarks), QList<int>{5});
    rig.choose(rig.bankA(), u"Other"_s);
    QCOMPARE(rig.bankA().currentFolder, 3);
    QVERIFY(rig.bankA().sameMarks.all());
    QCOMPARE(listOf(rig.bankA()).item(4)->text(), u"003: Sunset"_s);
}

void tst_UIControllerBrowsing::selectionIsMirroredByRow()
{
    const Server sample = sampleServer(u"x"_s, loopback(51));
    BrowsingStage stage(sample.folders, sample.folders);
    QVERIFY(stage.rig.show());
    clickRow(stage.rig.bankA(), 3);
    clickRow(stage.rig.bankA(), 4, Qt::ControlModifier);
    QList<int> rows = stage.rig.bankB().selectedRows();
    std::sort(rows.begin(), rows.end());
    QCOMPARE(rows, (QList<int>{3, 4}));
    clickRow(stage.rig.bankB(), 7);
    QCOMPARE(stage.rig.bankA().selectedRows(), QList<int>{7});
}

void tst_UIControllerBrowsing::rowsPastTheEndAreNotMirrored()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(51)));
    QCOMPARE(listOf(rig.bankB()).count(), 0);
    rig.bankA().selectRows({3, 4});
    rig.controller().serverItemsSelectionChanged(ServerDeckA);
    QCOMPARE(rig.bankB().selectedRowCount(), 0);

    for (int row = 0; row < 4; ++row)
        listOf(rig.bankB()).addItem(QString::number(row));
    rig.controller().serverItemsSelectionChanged(ServerDeckA);
    QCOMPARE(rig.bankB().selectedRows(), QList<int>{3});
    QCOMPARE(rig.bankA().selectedRowCount(), 2);
}

void tst_UIControllerBrowsing::scrollingIsLinked()
{
    const Server sample = sampleServer(u"x"_s, loopback(51));
    BrowsingStage stage(sample.folders, sample.folders);
    QVERIFY(stage.rig.show());
    QScrollBar *const barA = listOf(stage.rig.bankA()).verticalScrollBar();
    QScrollBar *const barB = listOf(stage.rig.bankB()).verticalScrollBar();
    EVENTUALLY(barA->maximum() > 100 && barB->maximum() > 100);
    barA->setValue(80);
    QCOMPARE(barB->value(), 80);
    barB->setValue(20);
    QCOMPARE(barA->value(), 20);
}

/// Bank B has no server, and so no position to go back to.
void tst_UIControllerBrowsing::goingBackRestoresThePositionOfBankA()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(51)));
    QVERIFY(rig.show());
    QScrollBar *const bar = listOf(rig.bankA()).verticalScrollBar();
    EVENTUALLY(bar->maximum() > 100);
    bar->setValue(70);
    rig.controller().folderChanged(3);
    rig.controller().backToFolders();
    EVENTUALLY_COMPARE(bar->value(), 70);
}

void tst_UIControllerBrowsing::goingBackRestoresTheScrollPosition()
{
    const Server sample = sampleServer(u"x"_s, loopback(51));
    BrowsingStage stage(sample.folders, sample.folders);
    QVERIFY(stage.rig.show());
    QScrollBar *const barA = listOf(stage.rig.bankA()).verticalScrollBar();
    QScrollBar *const barB = listOf(stage.rig.bankB()).verticalScrollBar();
    EVENTUALLY(barA->maximum() > 100 && barB->maximum() > 100);
    barA->setValue(70);
    stage.rig.controller().folderChanged(3);
    QCOMPARE(barA->value(), 0);
    stage.rig.controller().backToFolders();
    EVENTUALLY_COMPARE(barA->value(), 70);
    QCOMPARE(barB->value(), 70);
}

void tst_UIControllerBrowsing::viewSettingsReachModelAndBanks_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("listView");
    QTest::addColumn<int>("size");
    QTest::newRow("small") << u"smallSizeButton"_s << false << 0;
    QTest::newRow("medium") << u"mediumSizeButton"_s << false << 1;
    QTest::newRow("large") << u"largeSizeButton"_s << false << 2;
    QTest::newRow("list") << u"listModeButton"_s << true << 7;
    QTest::newRow("grid") << u"gridModeButton"_s << false << 7;
}

void tst_UIControllerBrowsing::viewSettingsReachModelAndBanks()
{
    QFETCH(const QString, button);
    QFETCH(const bool, listView);
    QFETCH(const int, size);
    WindowRig rig;
    rig.model.selectedIconSize = 7;
    rig.model.selectedViewMode = !listView && button.contains(u"Mode"_s);
    rig.window->findChild<QPushButton *>(button)->click();
    QCOMPARE(rig.model.selectedViewMode, listView);
    QCOMPARE(rig.model.selectedIconSize, size);
    const QSize sizes[] = {{32, 24}, {64, 48}, {128, 96}};
    for (const BVServerBank *const bank : {&rig.bankA(), &rig.bankB()}) {
        QCOMPARE(listOf(*bank).viewMode(), listView ? QListView::ListMode : QListView::IconMode);
        if (size < 3)
            QCOMPARE(listOf(*bank).iconSize(), sizes[size]);
    }
    QVERIFY(!QFile::exists(settingsFilePath()));
}

void tst_UIControllerBrowsing::aFailedThumbnailHasAMessage()
{
    BrowsingStage stage({folder(0, u"a"_s)}, {folder(0, u"a"_s)});
    stage.rig.model.setServerName(stage.two.uuid, u"%1\n<b>Two</b>\u202E"_s);
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    stage.rig.controller().thumbnailError(7, QHostAddress(loopback(52)));
    QCOMPARE(modals.seen().value(0).text,
             u"Download of thumbnail for visual 007 from server \"%1 <b>Two</b> \" failed."_s);
}

void tst_UIControllerBrowsing::aFailedThumbnailOfAHiddenServerHasNone()
{
    BrowsingStage stage({folder(0, u"a"_s)}, {folder(0, u"a"_s)});
    stage.rig.connectServer(sampleServer(u"Three"_s, loopback(53)));
    ModalDriver modals;
    stage.rig.controller().thumbnailError(7, QHostAddress(loopback(53)));
    stage.rig.controller().thumbnailError(7, QHostAddress(loopback(149)));
    QVERIFY(modals.seen().isEmpty());
}

QTEST_MAIN(tst_UIControllerBrowsing)
#include "tst_UIControllerBrowsing.moc"
