// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "BrowsingFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QScrollBar>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The scroll bar of the bank's list, as soon as its rows need one.
QScrollBar *scrollBarOf(const BVServerBank &bank)
{
    QScrollBar *const bar = listOf(bank).verticalScrollBar();
    return waitFor([bar] { return bar->maximum() > 100; }) ? bar : nullptr;
}

} // namespace

/// How the two banks stay the same: level, marks, scroll position, selection and view.
class tst_UIControllerBrowsing : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void equalLibrariesShowNoDifference()
    {
        const QList<MediaFolder> folders{folder(0, u"a"_s, {cachedVisual(1, u"x"_s, 1)})};
        BrowsingFixture fixture(folders, folders);
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(fixture.bankB().sameMarks.all());
        QVERIFY(fixture.find<QLabel>("unsyncServers").isHidden());
    }

    void oneServerShowsTheSignAndNoDifference()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(!fixture.find<QLabel>("unsyncServers").isHidden());
        fixture.controller().folderChanged(3);
        QVERIFY(fixture.bankA().sameMarks.all());
        fixture.controller().backToFolders();
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(!fixture.find<QLabel>("unsyncServers").isHidden());
    }

    void aFolderOfOneServerDiffersAtBothLevels()
    {
        BrowsingFixture fixture(
            {folder(0, u"a"_s),
             folder(7, u"Seven"_s, {cachedVisual(1, u"x"_s, 1), cachedVisual(2, u"y"_s, 2)})},
            {folder(0, u"a"_s)});
        QCOMPARE(differences(fixture.bankA().sameMarks), QList<int>{7});
        QCOMPARE(differences(fixture.bankB().sameMarks), QList<int>{7});
        fixture.controller().folderChanged(7);
        QCOMPARE(differences(fixture.bankA().sameMarks), (QList<int>{1, 2}));
        QCOMPARE(differences(fixture.bankB().sameMarks), (QList<int>{1, 2}));
        QVERIFY(headerOf(fixture.bankA()).contains(u"#FF0000"_s));
        QVERIFY(headerOf(fixture.bankB()).contains(u"#FF0000"_s));
        fixture.controller().backToFolders();
        QCOMPARE(differences(fixture.bankA().sameMarks), QList<int>{7});
        QVERIFY(!fixture.find<QLabel>("unsyncServers").isHidden());
    }

    void anotherFolderNameShowsOnlyARedHeader()
    {
        BrowsingFixture fixture(
            {folder(0, u"a"_s), folder(1, u"One"_s, {cachedVisual(1, u"x"_s, 1)})},
            {folder(0, u"a"_s), folder(1, u"Eins"_s, {cachedVisual(1, u"x"_s, 1)})});
        QCOMPARE(differences(fixture.bankA().sameMarks), QList<int>{1});
        fixture.controller().folderChanged(1);
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(fixture.bankB().sameMarks.all());
        QCOMPARE(headerOf(fixture.bankA()), u"Library > <b><font color=#FF0000>One</font></b>"_s);
        QCOMPARE(headerOf(fixture.bankB()), u"Library > <b><font color=#FF0000>Eins</font></b>"_s);
        fixture.controller().folderChanged(0);
        QCOMPARE(headerOf(fixture.bankA()), u"Library > a"_s);
    }

    void aFolderThatBothLackHasARedHeader()
    {
        BrowsingFixture fixture;
        fixture.controller().folderChanged(9);
        QVERIFY(fixture.bankA().sameMarks.all());
        QVERIFY(headerOf(fixture.bankA()).contains(u"#FF0000"_s));
    }

    void aSingleServerHasNoRedHeader()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(9);
        QCOMPARE(headerOf(fixture.bankA()), u"Library > 009_Folder"_s);
    }

    void bothBanksChangeLevelTogether()
    {
        BrowsingFixture fixture;
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankB(), 3);
        QCOMPARE(fixture.model.selectedFolder, 3);
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QCOMPARE(fixture.bankB().currentFolder, 3);
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
        doubleClickRow(fixture.bankA(), 0);
        QCOMPARE(fixture.model.selectedFolder, -1);
        QCOMPARE(fixture.bankA().currentFolder, -1);
        QCOMPARE(fixture.bankB().currentFolder, -1);
        QCOMPARE(listOf(fixture.bankB()).count(), 256);
    }

    void aChangeOfServerStaysInTheFolder()
    {
        ScriptedServer server(loopback(53));
        ControllerFixture fixture;
        const Server sample = sampleServer(u"One"_s, loopback(51));
        fixture.connectServer(sample);
        fixture.controller().folderChanged(3);
        QVERIFY(fixture.connectServer(server, u"Other"_s,
                                      {folder(3, u"Stage"_s, {cachedVisual(3, u"Sunset"_s, 3)})}));
        QCOMPARE(fixture.bankB().currentServerUuid(), server.uuid);
        QCOMPARE(fixture.bankB().currentFolder, 3);
        QCOMPARE(differences(fixture.bankA().sameMarks), QList<int>{5});
        QCOMPARE(differences(fixture.bankB().sameMarks), QList<int>{5});
        fixture.choose(fixture.bankA(), u"Other"_s);
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QVERIFY(fixture.bankA().sameMarks.all());
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
    }

    void selectionIsMirroredByRow()
    {
        BrowsingFixture fixture;
        QVERIFY(fixture.show());
        clickRow(fixture.bankA(), 3);
        clickRow(fixture.bankA(), 4, Qt::ControlModifier);
        QCOMPARE(selectedRowsOf(fixture.bankB()), (QList<int>{3, 4}));
        clickRow(fixture.bankB(), 7);
        QCOMPARE(fixture.bankA().selectedRows(), QList<int>{7});
    }

    void rowsPastTheEndAreNotMirrored()
    {
        OneServerFixture fixture;
        QCOMPARE(listOf(fixture.bankB()).count(), 0);
        fixture.bankA().selectRows({3, 4});
        fixture.controller().serverItemsSelectionChanged(ServerDeckA);
        QCOMPARE(fixture.bankB().selectedRowCount(), 0);

        for (int row = 0; row < 4; ++row)
            listOf(fixture.bankB()).addItem(QString::number(row));
        fixture.controller().serverItemsSelectionChanged(ServerDeckA);
        QCOMPARE(fixture.bankB().selectedRows(), QList<int>{3});
        QCOMPARE(fixture.bankA().selectedRowCount(), 2);
    }

    void scrollingIsLinked()
    {
        BrowsingFixture fixture;
        QVERIFY(fixture.show());
        QScrollBar *const barA = scrollBarOf(fixture.bankA());
        QScrollBar *const barB = scrollBarOf(fixture.bankB());
        QVERIFY(barA && barB);
        barA->setValue(80);
        QCOMPARE(barB->value(), 80);
        barB->setValue(20);
        QCOMPARE(barA->value(), 20);
    }

    void goingBackRestoresTheScrollPosition()
    {
        BrowsingFixture fixture;
        QVERIFY(fixture.show());
        QScrollBar *const barA = scrollBarOf(fixture.bankA());
        QScrollBar *const barB = scrollBarOf(fixture.bankB());
        QVERIFY(barA && barB);
        barA->setValue(70);
        fixture.controller().folderChanged(3);
        QCOMPARE(barA->value(), 0);
        fixture.controller().backToFolders();
        EVENTUALLY_COMPARE(barA->value(), 70);
        QCOMPARE(barB->value(), 70);
    }

    /// Bank B has no server, and so no position to restore.
    void goingBackRestoresThePositionOfBankA()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        QScrollBar *const bar = scrollBarOf(fixture.bankA());
        QVERIFY(bar);
        bar->setValue(70);
        fixture.controller().folderChanged(3);
        fixture.controller().backToFolders();
        EVENTUALLY_COMPARE(bar->value(), 70);
    }

    void viewSettingsReachModelAndBanks_data()
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
    void viewSettingsReachModelAndBanks()
    {
        QFETCH(const QString, button);
        QFETCH(const bool, listView);
        QFETCH(const int, size);
        WindowFixture fixture;
        fixture.model.selectedIconSize = 7;
        fixture.model.selectedViewMode = !listView && button.contains(u"Mode"_s);
        fixture.window->findChild<QPushButton *>(button)->click();
        QCOMPARE(fixture.model.selectedViewMode, listView);
        QCOMPARE(fixture.model.selectedIconSize, size);
        const QSize sizes[] = {{32, 24}, {64, 48}, {128, 96}};
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            QCOMPARE(listOf(*bank).viewMode(),
                     listView ? QListView::ListMode : QListView::IconMode);
            if (size < 3)
                QCOMPARE(listOf(*bank).iconSize(), sizes[size]);
        }
        QVERIFY(!QFile::exists(settingsFilePath()));
    }

    void aFailedThumbnailHasAMessage()
    {
        BrowsingFixture fixture;
        fixture.model.setServerName(fixture.two.uuid, u"%1\n<b>Two</b>\u202E"_s);
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.controller().thumbnailError(7, QHostAddress(loopback(52)));
        QCOMPARE(modals.seen().value(0).text,
                 u"Download of thumbnail for visual 007 from server \"%1 <b>Two</b> \" failed."_s);
    }

    void aFailedThumbnailOfAHiddenServerHasNoMessage()
    {
        BrowsingFixture fixture;
        fixture.connectServer(sampleServer(u"Three"_s, loopback(53)));
        ModalDriver modals;
        fixture.controller().thumbnailError(7, QHostAddress(loopback(53)));
        fixture.controller().thumbnailError(7, QHostAddress(loopback(149)));
        QVERIFY(modals.seen().isEmpty());
    }
};

QTEST_MAIN(tst_UIControllerBrowsing)
#include "tst_UIControllerBrowsing.moc"
