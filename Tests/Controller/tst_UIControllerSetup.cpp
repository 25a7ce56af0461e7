// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerFixture.h"

#include "Dialogs/BVProgressDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/ProgressDialogs.h"
#include "Support/Wait.h"

#include <QDirIterator>
#include <QProgressBar>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

BVProgressDialog &thumbnailProgress(const WindowFixture &fixture)
{
    return *fixture.window->findChild<BVProgressDialog *>();
}

/// A folder without cached thumbnails.
MediaFolder unseenFolder(int count)
{
    static int number = 1000000;
    QList<Visual> files;
    for (int slot = 1; slot <= count; ++slot)
        files.append({hashOf(number++), QString::number(slot), slot});
    return folder(0, u"Intro"_s, files);
}

} // namespace

/// The state after construction, and the progress dialog for thumbnails.
class tst_UIControllerSetup : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void thumbnailsHaveTheirOwnDiskCache()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        const QString directory =
            QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"thumbnails"_s;
        const auto cachedFiles = [&] {
            QDirIterator files(directory, {u"*.d"_s}, QDir::Files, QDirIterator::Subdirectories);
            return files.hasNext();
        };
        QVERIFY(!cachedFiles());
        server.wire.answer("/brenvoka/thumbnails/", "no picture",
                           "Cache-Control: max-age=3600\r\n");
        QVERIFY(fixture.connectServer(server, u"One"_s, {unseenFolder(1)}));
        fixture.controller().folderChanged(0);
        EVENTUALLY(cachedFiles());
    }

    void theDiskCacheKeepsManyThumbnails()
    {
        constexpr int count = 12;
        constexpr qint64 size = 1 << 20;
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        const auto cached = [&] {
            const QString directory =
                QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
            QDirIterator files(directory + u"thumbnails"_s, {u"*.d"_s}, QDir::Files,
                               QDirIterator::Subdirectories);
            qint64 bytes = 0;
            while (files.hasNext())
                bytes += files.nextFileInfo().size();
            return bytes;
        };
        server.wire.answer("/brenvoka/thumbnails/", QByteArray(size, 'x'),
                           "Cache-Control: max-age=3600\r\n");
        QVERIFY(fixture.connectServer(server, u"One"_s, {unseenFolder(count)}));
        fixture.controller().folderChanged(0);
        EVENTUALLY(fixture.bankA().isEnabled());
        EVENTUALLY(cached() > count * size);
    }

    void theDeckIsARegisteredMetaType()
    {
        WindowFixture fixture;
        QCOMPARE(QMetaType::fromName("ServerDeck"), QMetaType::fromType<ServerDeck>());
    }

    void banksStartEmptyWithTheStoredView_data()
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
    void banksStartEmptyWithTheStoredView()
    {
        QFETCH(const bool, listView);
        QFETCH(const int, index);
        QFETCH(const QSize, size);
        QFETCH(const QString, button);
        WindowFixture fixture;
        fixture.model.selectedViewMode = listView;
        fixture.model.selectedIconSize = index;
        fixture.window.reset();
        fixture.window = std::make_unique<BVMainWindow>(&fixture.model);
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            QVERIFY(!bank->isEnabled());
            QCOMPARE(ControllerFixture::comboBox(*bank).count(), 0);
            QCOMPARE(listOf(*bank).iconSize(), size);
            QCOMPARE(listOf(*bank).viewMode(),
                     listView ? QListView::ListMode : QListView::IconMode);
            QVERIFY(!listOf(*bank).dragEnabled());
        }
        QCOMPARE(fixture.find<QPushButton>("listModeButton").isChecked(), listView);
        QCOMPARE(fixture.find<QPushButton>("gridModeButton").isChecked(), !listView);
        QVERIFY(fixture.window->findChild<QPushButton *>(button)->isChecked());
        QCOMPARE(fixture.model.selectedIconSize, index);
    }

    void serversInTheModelAreOfferedFromTheStart()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"One"_s, loopback(9));
        server.connected = true;
        fixture.model.upsertServer(server);
        fixture.window.reset();
        fixture.window = std::make_unique<BVMainWindow>(&fixture.model);
        QCOMPARE(ControllerFixture::offered(fixture.bankA()), QStringList{u"One"_s});
        QCOMPARE(ControllerFixture::offered(fixture.bankB()), QStringList{u"One"_s});
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
    }

    void theThumbnailDialogWaitsHidden()
    {
        const ShownDialogs shown;
        WindowFixture fixture;
        QVERIFY(fixture.show());
        QCOMPARE(fixture.window->findChildren<BVProgressDialog *>().size(), 1);
        QCOMPARE(shown.count, 0);
        QCOMPARE(thumbnailProgress(fixture).findChild<QLabel *>()->text(),
                 u"Downloading thumbnails"_s);
    }

    void downloadsOfBothBanksAddUp()
    {
        WindowFixture fixture;
        fixture.controller().increaseThumbnailDownloadSize(3);
        fixture.controller().increaseThumbnailDownloadSize(2);
        QCOMPARE(thumbnailProgress(fixture).maximum(), 5);
        QCOMPARE(thumbnailProgress(fixture).windowTitle(), u"Downloading"_s);
        fixture.controller().updateProgress();
        QCOMPARE(thumbnailProgress(fixture).progress(), 1);
        EVENTUALLY(thumbnailProgress(fixture).isVisible());
    }

    void aShortDownloadShowsNoDialog()
    {
        WindowFixture fixture;
        const ShownDialogs shown;
        fixture.controller().increaseThumbnailDownloadSize(1);
        fixture.controller().updateProgress();
        waitPastTheDelay();
        QCOMPARE(shown.count, 0);
    }

    void theLastStepClosesTheDialogAndResetsIt()
    {
        WindowFixture fixture;
        fixture.controller().increaseThumbnailDownloadSize(2);
        EVENTUALLY(thumbnailProgress(fixture).isVisible());
        QSignalSpy canceled(&fixture.controller(), &UIController::downloadCanceled);
        fixture.controller().updateProgress();
        fixture.controller().updateProgress();
        QVERIFY(!thumbnailProgress(fixture).isVisible());
        QCOMPARE(thumbnailProgress(fixture).maximum(), 0);
        QCOMPARE(thumbnailProgress(fixture).progress(), 0);
        QCOMPARE(canceled.size(), 0);
    }

    void stepsAfterTheEndAreIgnored()
    {
        WindowFixture fixture;
        fixture.controller().updateProgress();
        fixture.controller().updateProgress();
        QCOMPARE(thumbnailProgress(fixture).maximum(), 0);
        QVERIFY(!thumbnailProgress(fixture).isVisible());
    }

    void aFolderIsDownloadedThroughTheDialog()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"One"_s, {unseenFolder(4)}));
        fixture.controller().folderChanged(0);
        QCOMPARE(thumbnailProgress(fixture).maximum(), 4);
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(server.wire.waitForRequests(4, "/brenvoka/thumbnails/"));
        for (const WireRequest &request : server.wire.requests("/brenvoka/thumbnails/"))
            request.answer("no picture", "Cache-Control: no-store\r\n");
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
        // Each reply is counted by the services of both banks.
        EVENTUALLY_COMPARE(thumbnailProgress(fixture).progress(), 4);
        QCOMPARE(thumbnailProgress(fixture).maximum(), 0);
    }

    void anAbortHidesTheDialog()
    {
        WindowFixture fixture;
        fixture.controller().increaseThumbnailDownloadSize(2);
        EVENTUALLY(thumbnailProgress(fixture).isVisible());
        fixture.controller().aborted();
        QVERIFY(!thumbnailProgress(fixture).isVisible());
    }

    void aCancelledDownloadLeavesTheBanksEnabled()
    {
        ScriptedServer one(loopback(1));
        ScriptedServer two(loopback(2));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(one, u"One"_s, {unseenFolder(2)}));
        QVERIFY(fixture.connectServer(two, u"Two"_s, {unseenFolder(3)}));
        fixture.controller().folderChanged(0);
        QVERIFY(!fixture.bankA().isEnabled() && !fixture.bankB().isEnabled());
        BVProgressDialog &dialog = thumbnailProgress(fixture);
        EVENTUALLY(dialog.isVisible());
        QCOMPARE(dialog.maximum(), 5);
        QSignalSpy canceled(&fixture.controller(), &UIController::downloadCanceled);
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QCOMPARE(canceled.size(), 1);
        QVERIFY(fixture.bankA().isEnabled() && fixture.bankB().isEnabled());
        QVERIFY(!dialog.isVisible());
        QCOMPARE(fixture.bankA().currentFolder, 0);
        QCOMPARE(fixture.bankB().currentFolder, 0);
        // The former rows stay: at this level new rows appear together with their pictures.
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
    }
};

QTEST_MAIN(tst_UIControllerSetup)
#include "tst_UIControllerSetup.moc"
