// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"
#include "Support/WireServer.h"

#include <QBuffer>
#include <QComboBox>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

#include <functional>

using namespace Qt::Literals::StringLiterals;

/// What a bank's controller does on a click, and how a folder opens.
class tst_ServerBankController final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QPixmapCache::clear();
    }

    void doubleClickOnAFolderRowOpensThatFolder_data()
    {
        QTest::addColumn<int>("row");
        QTest::newRow("first") << 0;
        QTest::newRow("with visuals") << 3;
        QTest::newRow("absent from the server") << 100;
        QTest::newRow("last, absent") << 255;
    }
    void doubleClickOnAFolderRowOpensThatFolder()
    {
        QFETCH(const int, row);
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(1)));
        QVERIFY(fixture.show());
        const QSignalSpy opened(&controllerOf(fixture.bankA()),
                                &ServerBankController::sendFolderChanged);
        const QSignalSpy back(&controllerOf(fixture.bankA()),
                              &ServerBankController::sendFolderBack);

        doubleClickRow(fixture.bankA(), row);
        QCOMPARE(opened.count(), 1);
        QCOMPARE(opened.first().first().toInt(), row);
        QCOMPARE(back.count(), 0);
        QCOMPARE(fixture.bankA().currentFolder, row);
        QCOMPARE(fixture.bankB().currentFolder, row);
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
    }

    void doubleClickOnBackOpensTheFolders()
    {
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(2)));
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        const QSignalSpy back(&controllerOf(fixture.bankA()),
                              &ServerBankController::sendFolderBack);
        doubleClickRow(fixture.bankA(), 0);
        QCOMPARE(back.count(), 1);
        QCOMPARE(fixture.bankA().currentFolder, -1);
        QCOMPARE(fixture.bankB().currentFolder, -1);
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
    }

    void doubleClickOnASlotDoesNothing_data()
    {
        QTest::addColumn<int>("row");
        QTest::newRow("no visual") << 1;
        QTest::newRow("empty slot") << 2;
        QTest::newRow("a file") << 4;
        QTest::newRow("last slot") << 256;
    }
    void doubleClickOnASlotDoesNothing()
    {
        QFETCH(const int, row);
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(3)));
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        const QSignalSpy opened(&controllerOf(fixture.bankA()),
                                &ServerBankController::sendFolderChanged);
        const QSignalSpy back(&controllerOf(fixture.bankA()),
                              &ServerBankController::sendFolderBack);
        const QSignalSpy clicks(&listOf(fixture.bankA()), &QListWidget::itemDoubleClicked);

        doubleClickRow(fixture.bankA(), row);
        QCOMPARE(clicks.count(), 1);
        QCOMPARE(opened.count(), 0);
        QCOMPARE(back.count(), 0);
        QCOMPARE(fixture.bankA().currentFolder, 3);
    }

    void selectionIsReportedBeforeTheUploadButtonIsSet()
    {
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(4)));
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        auto &button = childOf<QPushButton>(fixture.bankA(), "addButton");
        button.setEnabled(false);
        QList<bool> enabledWhenTold;
        connect(&controllerOf(fixture.bankA()),
                &ServerBankController::sendServerItemsSelectionChanged, this,
                [&] { enabledWhenTold.append(button.isEnabled()); });

        clickRow(fixture.bankA(), 4);
        QCOMPARE(enabledWhenTold, QList<bool>{false});
        QVERIFY(button.isEnabled());
    }

    void everySignalCarriesItsDeck_data()
    {
        QTest::addColumn<ServerDeck>("deck");
        QTest::newRow("A") << ServerDeckA;
        QTest::newRow("B") << ServerDeckB;
    }
    void everySignalCarriesItsDeck()
    {
        QFETCH(const ServerDeck, deck);
        // The servers accept the stream's connection and send nothing.
        const WireServer firstPeer(loopback(5));
        const WireServer secondPeer(loopback(6));
        WindowFixture fixture;
        const Server first = sampleServer(u"Stage left"_s, loopback(5));
        const Server second = sampleServer(u"Stage right"_s, loopback(6));
        fixture.connectServer(first);
        fixture.connectServer(second);
        QVERIFY(fixture.show());
        BVServerBank &bank = deck == ServerDeckA ? fixture.bankA() : fixture.bankB();
        ServerBankController &controller = controllerOf(bank);

        QSignalSpy selected(&controller, &ServerBankController::sendServerItemsSelectionChanged);
        QSignalSpy scrolled(&controller, &ServerBankController::scrollValueChanged);
        QSignalSpy removed(&controller, &ServerBankController::removeVisuals);
        QSignalSpy moved(&controller, &ServerBankController::moveVisual);
        QSignalSpy chosen(&controller, &ServerBankController::sendServerSelectionChanged);

        clickRow(bank, 1);
        listOf(bank).verticalScrollBar()->setValue(30);
        disconnect(&controller, &ServerBankController::removeVisuals, &fixture.controller(),
                   nullptr);
        QTest::mouseClick(&childOf<QPushButton>(bank, "removeButton"), Qt::LeftButton);
        disconnect(&controller, &ServerBankController::moveVisual, &fixture.controller(), nullptr);
        emit listOf(bank).moveItem(5, 9);

        QCOMPARE(selected, (QList<QVariantList>{{QVariant::fromValue(deck)}}));
        QCOMPARE(scrolled, (QList<QVariantList>{{QVariant::fromValue(deck), 30}}));
        QCOMPARE(removed, (QList<QVariantList>{{QVariant::fromValue(deck)}}));
        QCOMPARE(moved, (QList<QVariantList>{{5, 9, QVariant::fromValue(deck)}}));

        bank.setServers({first.uuid, second.uuid});
        childOf<QComboBox>(bank, "serverComboBox").setCurrentIndex(1);
        QCOMPARE(chosen, (QList<QVariantList>{{QVariant::fromValue(deck), second.uuid}}));
    }

    void folderFillsFromTheServer()
    {
        WireServer peer(loopback(7));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(7)));
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(peer.waitForRequests(2, "/brenvoka/thumbnails/3/"));
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256); // still the folders

        for (const WireRequest &request : peer.requests())
            request.answer(png(request.path().endsWith("/3.png") ? Qt::red : Qt::blue));
        EVENTUALLY_COMPARE(listOf(fixture.bankA()).count(), 257);
        QVERIFY(fixture.bankA().isEnabled());
        QCOMPARE(topLeft(fixture.bankA(), 4), QColor(Qt::red));
        QCOMPARE(topLeft(fixture.bankA(), 6), QColor(Qt::blue));
        const QIcon icon = listOf(fixture.bankA()).item(4)->icon();
        QCOMPARE(icon.availableSizes(), QList<QSize>{QSize(128, 96)});
        QCOMPARE(peer.requests().size(), 2);
    }

    void bothBanksLoadIndependently()
    {
        WireServer firstPeer(loopback(8));
        WireServer secondPeer(loopback(9));
        WindowFixture fixture;
        Server second = sampleServer(u"Stage right"_s, loopback(9));
        second.folders[3] = folder(3, u"Stage"_s, {cachedVisual(7, u"Bridge"_s, 7)});
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(8)));
        fixture.connectServer(second);
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(firstPeer.waitForRequests(2));
        QVERIFY(secondPeer.waitForRequests(1));

        // Bank B finishes first; bank A still waits.
        secondPeer.requests().first().answer(png(Qt::green));
        EVENTUALLY_COMPARE(listOf(fixture.bankB()).count(), 257);
        QVERIFY(fixture.bankB().isEnabled());
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        for (const WireRequest &request : firstPeer.requests())
            request.answer(png(Qt::red));
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(topLeft(fixture.bankA(), 4), QColor(Qt::red));
        QCOMPARE(topLeft(fixture.bankB(), 8), QColor(Qt::green));
    }

    void lateThumbnailsDoNotChangeTheFolders()
    {
        WireServer firstPeer(loopback(13));
        WindowFixture fixture;
        Server second = sampleServer(u"Stage right"_s, loopback(14));
        second.folders[3].files.clear();
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(13)));
        fixture.connectServer(second);
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(firstPeer.waitForRequests(2));

        // The operator goes back in bank B while bank A is still loading.
        doubleClickRow(fixture.bankB(), 0);
        QCOMPARE(fixture.bankA().currentFolder, -1);
        for (const WireRequest &request : firstPeer.requests())
            request.answer(png(Qt::red));
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(fixture.bankA().currentFolder, -1);
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        QCOMPARE(listOf(fixture.bankA()).item(3)->text(), u"Stage"_s);
    }

    void failedThumbnailIsNotReported()
    {
        WireServer peer(loopback(10));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(10)));
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(peer.waitForRequests(2));
        LogCapture log;

        peer.requests().at(0).answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(log.texts().filter(u"Error while getting thumbnail"_s).size(), 1);
        peer.requests().at(1).answer(png(Qt::red));
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
        QVERIFY(!QApplication::activeModalWidget());
    }

    void panelStaysDisabledWhenTheLastThumbnailFails_data()
    {
        QTest::addColumn<std::function<void(WindowFixture &)>>("remedy");
        using Remedy = std::function<void(WindowFixture &)>;
        QTest::newRow("a fresh list of servers") << Remedy([](WindowFixture &fixture) {
            fixture.bankA().setServers({fixture.model.servers[0]->uuid});
        });
        QTest::newRow("a folder that the server lacks")
            << Remedy([](WindowFixture &fixture) { fixture.controller().folderChanged(77); });
        QTest::newRow("the download was cancelled")
            << Remedy([](WindowFixture &fixture) { fixture.controller().downloadCancel(); });
        QTest::newRow("pictures after all") << Remedy(
            [](WindowFixture &fixture) { fixture.bankA().folderChanged(3, QList<QPixmap>(256)); });
    }
    void panelStaysDisabledWhenTheLastThumbnailFails()
    {
        QFETCH(const std::function<void(WindowFixture &)>, remedy);
        WireServer peer(loopback(12));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(12)));
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(peer.waitForRequests(2));
        LogCapture log;

        peer.requests().at(0).answer(png(Qt::red));
        EVENTUALLY_COMPARE(log.texts().filter(u"Downloaded was a success"_s).size(), 1);
        peer.requests().at(1).answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(log.texts().filter(u"Error while getting thumbnail"_s).size(), 1);
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        remedy(fixture);
        QVERIFY(fixture.bankA().isEnabled());
    }

    void windowClosedDuringADownload()
    {
        WireServer peer(loopback(11));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(11)));
        QPixmapCache::clear();
        QVERIFY(fixture.show());
        doubleClickRow(fixture.bankA(), 3);
        QVERIFY(peer.waitForRequests(2));
        fixture.window.reset();
        EVENTUALLY_COMPARE(peer.openConnections(), 0);
    }

private:
    static ServerBankController &controllerOf(const BVServerBank &bank)
    {
        return *bank.findChild<ServerBankController *>();
    }
    static QByteArray png(const QColor &color)
    {
        QImage image(16, 12, QImage::Format_RGB32);
        image.fill(color);
        QBuffer buffer;
        image.save(&buffer, "PNG");
        return buffer.data();
    }
    static QColor topLeft(const BVServerBank &bank, int row)
    {
        return listOf(bank).item(row)->icon().pixmap(128, 96).toImage().pixelColor(2, 2);
    }
};

QTEST_MAIN(tst_ServerBankController)
#include "tst_ServerBankController.moc"
