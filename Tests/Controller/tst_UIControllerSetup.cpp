// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

#include "Dialogs/BVProgressDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/ProgressDialogs.h"
#include "Support/Wait.h"

#include <QDirIterator>
#include <QProgressBar>
#include <QStandardPaths>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

BVProgressDialog &thumbnailProgress(const WindowRig &rig)
{
    return *rig.window->findChild<BVProgressDialog *>();
}

/// A folder of which no thumbnail is in memory.
MediaFolder unseenFolder(int count)
{
    static int number = 1000000;
    QList<Visual> files;
    for (int slot = 1; slot <= count; ++slot)
        files.append({hashOf(number++), QString::number(slot), slot});
    return folder(0, u"Intro"_s, files);
}

} // namespace

/// What stands when the controller was built, and the one progress dialog for thumbnails.
class tst_UIControllerSetup : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void thumbnailsHaveADiskCacheOfTheirOwn();
    void theDiskCacheKeepsManyThumbnails();
    void theDeckIsKnownToTheMetaTypeSystem();
    void banksStartEmptyWithTheStoredView_data();
    void banksStartEmptyWithTheStoredView();
    void serversInTheModelAreOfferedFromTheStart();
    void theThumbnailDialogWaitsHidden();
    void downloadsOfBothBanksAddUp();
    void aShortDownloadShowsNoDialog();
    void theLastStepClosesTheDialogAndResetsIt();
    void stepsAfterTheEndAreHarmless();
    void aFolderIsDownloadedThroughTheDialog();
    void aCancelledDownloadLeavesTheBanksEnabled();
};

void tst_UIControllerSetup::thumbnailsHaveADiskCacheOfTheirOwn()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    const QString directory =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"thumbnails"_s;
    const auto cachedFiles = [&] {
        QDirIterator files(directory, {u"*.d"_s}, QDir::Files, QDirIterator::Subdirectories);
        return files.hasNext();
    };
    QVERIFY(!cachedFiles());
    server.wire.answer("/brenvoka/thumbnails/", "no picture", "Cache-Control: max-age=3600\r\n");
    QVERIFY(rig.bringUp(server, u"One"_s, {unseenFolder(1)}));
    rig.controller().folderChanged(0);
    EVENTUALLY(cachedFiles());
}

void tst_UIControllerSetup::theDiskCacheKeepsManyThumbnails()
{
    constexpr int count = 12;
    constexpr qint64 size = 1 << 20;
    PlayedServer server(loopback(1));
    ControllerRig rig;
    const auto cached = [&] {
        const QString directory = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
        QDirIterator files(directory + u"thumbnails"_s, {u"*.d"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
        qint64 bytes = 0;
        while (files.hasNext())
            bytes += files.nextFileInfo().size();
        return bytes;
    };
    server.wire.answer("/brenvoka/thumbnails/", QByteArray(size, 'x'),
                       "Cache-Control: max-age=3600\r\n");
    QVERIFY(rig.bringUp(server, u"One"_s, {unseenFolder(count)}));
    rig.controller().folderChanged(0);
    EVENTUALLY(rig.bankA().isEnabled());
    EVENTUALLY(cached() > count * size);
}

void tst_UIControllerSetup::theDeckIsKnownToTheMetaTypeSystem()
{
    WindowRig rig;
    QCOMPARE(QMetaType::fromName("ServerDeck"), QMetaType::fromType<ServerDeck>());
}

void tst_UIControllerSetup::banksStartEmptyWithTheStoredView_data()
{
    QTest::addColumn<bool>("listView");
    QTest::addColumn<int>("index");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("button");
    QTest::newRow("small grid") << false << 0 << QSize(32, 24) << u"smallSizeButton"_s;
    QTest::newRow("medium list") << true << 1 << QSize(64, 48) << u"mediumSizeButton"_s;
    QTest::newRow("large list") << true << 2 << QSize(128, 96) << u"largeSizeButton"_s;
    QTest::newRow("out of range") << false << 9 << QSize(128, 96) << u"largeSizeButton"_s;
}

void tst_UIControllerSetup::banksStartEmptyWithTheStoredView()
{
    QFETCH(const bool, listView);
    QFETCH(const int, index);
    QFETCH(const QSize, size);
    QFETCH(const QString, button);
    WindowRig rig;
    rig.model.selectedViewMode = listView;
    rig.model.selectedIconSize = index;
    rig.window.reset();
    rig.window = std::make_unique<BVMainWindow>(&rig.model);
    for (const BVServerBank *const bank : {&rig.bankA(), &rig.bankB()}) {
        QVERIFY(!bank->isEnabled());
        QCOMPARE(ControllerRig::comboBox(*bank).count(), 0);
        QCOMPARE(listOf(*bank).iconSize(), size);
        QCOMPARE(listOf(*bank).viewMode(), listView ? QListView::ListMode : QListView::IconMode);
        QVERIFY(!listOf(*bank).dragEnabled());
    }
    QCOMPARE(rig.find<QPushButton>("listModeButton").isChecked(), listView);
    QCOMPARE(rig.find<QPushButton>("gridModeButton").isChecked(), !listView);
    QVERIFY(rig.window->findChild<QPushButton *>(button)->isChecked());
    QCOMPARE(rig.model.selectedIconSize, index);
}

void tst_UIControllerSetup::serversInTheModelAreOfferedFromTheStart()
{
    WindowRig rig;
    Server server = sampleServer(u"One"_s, loopback(9));
    server.connected = true;
    rig.model.upsertServer(server);
    rig.window.reset();
    rig.window = std::make_unique<BVMainWindow>(&rig.model);
    QCOMPARE(ControllerRig::offered(rig.bankA()), QStringList{u"One"_s});
    QCOMPARE(ControllerRig::offered(rig.bankB()), QStringList{u"One"_s});
    QVERIFY(rig.bankA().currentServerUuid().isNull());
}

void tst_UIControllerSetup::theThumbnailDialogWaitsHidden()
{
    const ShownDialogs shown;
    WindowRig rig;
    QVERIFY(rig.show());
    QCOMPARE(rig.window->findChildren<BVProgressDialog *>().size(), 1);
    QCOMPARE(shown.count, 0);
    QCOMPARE(thumbnailProgress(rig).findChild<QLabel *>()->text(), u"Downloading thumbnails"_s);
}

void tst_UIControllerSetup::downloadsOfBothBanksAddUp()
{
    WindowRig rig;
    rig.controller().increaseThumbnailDownloadSize(3);
    rig.controller().increaseThumbnailDownloadSize(2);
    QCOMPARE(thumbnailProgress(rig).maximum(), 5);
    QCOMPARE(thumbnailProgress(rig).windowTitle(), u"Downloading"_s);
    rig.controller().updateProgress();
    QCOMPARE(thumbnailProgress(rig).progress(), 1);
    EVENTUALLY(thumbnailProgress(rig).isVisible());
}

void tst_UIControllerSetup::aShortDownloadShowsNoDialog()
{
    WindowRig rig;
    const ShownDialogs shown;
    rig.controller().increaseThumbnailDownloadSize(1);
    rig.controller().updateProgress();
    bool passed = false;
    QTimer::singleShot(700, this, [&passed] { passed = true; });
    EVENTUALLY(passed);
    QCOMPARE(shown.count, 0);
}

void tst_UIControllerSetup::theLastStepClosesTheDialogAndResetsIt()
{
    WindowRig rig;
    rig.controller().increaseThumbnailDownloadSize(2);
    EVENTUALLY(thumbnailProgress(rig).isVisible());
    QSignalSpy canceled(&rig.controller(), &UIController::downloadCanceled);
    rig.controller().updateProgress();
    rig.controller().updateProgress();
    QVERIFY(!thumbnailProgress(rig).isVisible());
    QCOMPARE(thumbnailProgress(rig).maximum(), 0);
    QCOMPARE(thumbnailProgress(rig).progress(), 0);
    QCOMPARE(canceled.size(), 0);
}

void tst_UIControllerSetup::stepsAfterTheEndAreHarmless()
{
    WindowRig rig;
    rig.controller().updateProgress();
    rig.controller().updateProgress();
    QCOMPARE(thumbnailProgress(rig).maximum(), 0);
    QVERIFY(!thumbnailProgress(rig).isVisible());
}

void tst_UIControllerSetup::aFolderIsDownloadedThroughTheDialog()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, {unseenFolder(4)}));
    rig.controller().folderChanged(0);
    QCOMPARE(thumbnailProgress(rig.rig).maximum(), 4);
    QVERIFY(!rig.bankA().isEnabled());
    QVERIFY(server.wire.waitForRequests(4, "/brenvoka/thumbnails/"));
    for (const WireRequest &request : server.wire.requests("/brenvoka/thumbnails/"))
        request.answer("no picture", "Cache-Control: no-store\r\n");
    EVENTUALLY(rig.bankA().isEnabled());
    QCOMPARE(listOf(rig.bankA()).count(), 257);
    // Each reply is counted by the services of both banks.
    EVENTUALLY_COMPARE(thumbnailProgress(rig.rig).progress(), 4);
    QCOMPARE(thumbnailProgress(rig.rig).maximum(), 0);
}

void tst_UIControllerSetup::aCancelledDownloadLeavesTheBanksEnabled()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, {unseenFolder(2)}));
    QVERIFY(rig.bringUp(two, u"Two"_s, {unseenFolder(3)}));
    rig.controller().folderChanged(0);
    QVERIFY(!rig.bankA().isEnabled() && !rig.bankB().isEnabled());
    BVProgressDialog &dialog = thumbnailProgress(rig.rig);
    EVENTUALLY(dialog.isVisible());
    QCOMPARE(dialog.maximum(), 5);
    QSignalSpy canceled(&rig.controller(), &UIController::downloadCanceled);
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QCOMPARE(canceled.size(), 1);
    QVERIFY(rig.bankA().isEnabled() && rig.bankB().isEnabled());
    QVERIFY(!dialog.isVisible());
    QCOMPARE(rig.bankA().currentFolder, 0);
    QCOMPARE(rig.bankB().currentFolder, 0);
    // What was drawn before stays: at this level the rows come with the pictures.
    QCOMPARE(listOf(rig.bankA()).count(), 256);
}

QTEST_MAIN(tst_UIControllerSetup)
#include "tst_UIControllerSetup.moc"
