// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Pixels.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"
#include "Support/WireServer.h"

#include <QComboBox>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

ServerBankController &controllerOf(const BVServerBank &bank)
{
    return *bank.findChild<ServerBankController *>();
}

QColor topLeft(const BVServerBank &bank, int row)
{
    return listOf(bank).item(row)->icon().pixmap(128, 96).toImage().pixelColor(2, 2);
}

/// Bank A shows a server, whose folder 3 has two visuals. It sends a thumbnail only when the test
/// answers the request.
class BankFixture final : public OneServerFixture
{
public:
    /// Opens folder 3 and waits for the requests of both thumbnails.
    [[nodiscard]] bool openFolder()
    {
        QPixmapCache::clear();
        if (!show())
            return false;
        doubleClickRow(bankA(), 3);
        return peer.waitForRequests(2, "/brenvoka/thumbnails/3/");
    }
    /// Answers both.
    void answer(const QColor &color) const
    {
        for (const WireRequest &request : peer.requests())
            request.answer(png(color));
    }

    WireServer peer{loopback(1)};
    QSignalSpy opened{&controllerOf(bankA()), &ServerBankController::sendFolderChanged};
    QSignalSpy back{&controllerOf(bankA()), &ServerBankController::sendFolderBack};
};

} // namespace

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
        BankFixture fixture;
        QVERIFY(fixture.show());

        doubleClickRow(fixture.bankA(), row);
        QCOMPARE(fixture.opened.count(), 1);
        QCOMPARE(fixture.opened.first().first().toInt(), row);
        QCOMPARE(fixture.back.count(), 0);
        QCOMPARE(fixture.bankA().currentFolder, row);
        QCOMPARE(fixture.bankB().currentFolder, row);
        QCOMPARE(listOf(fixture.bankA()).count(), 257);
    }

    void doubleClickOnBackOpensTheFolders()
    {
        BankFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        doubleClickRow(fixture.bankA(), 0);
        QCOMPARE(fixture.back.count(), 1);
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
        BankFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        const QSignalSpy clicks(&listOf(fixture.bankA()), &QListWidget::itemDoubleClicked);

        doubleClickRow(fixture.bankA(), row);
        QCOMPARE(clicks.count(), 1);
        QCOMPARE(fixture.opened.count(), 0);
        QCOMPARE(fixture.back.count(), 0);
        QCOMPARE(fixture.bankA().currentFolder, 3);
    }

    void selectionIsReportedBeforeTheUploadButtonIsSet()
    {
        BankFixture fixture;
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
        const WireServer secondPeer(loopback(2));
        BankFixture fixture;
        const Server second = sampleServer(u"Stage right"_s, loopback(2));
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

        bank.setServers({fixture.server.uuid, second.uuid});
        childOf<QComboBox>(bank, "serverComboBox").setCurrentIndex(1);
        QCOMPARE(chosen, (QList<QVariantList>{{QVariant::fromValue(deck), second.uuid}}));
    }

    void folderFillsFromTheServer()
    {
        BankFixture fixture;
        QVERIFY(fixture.openFolder());
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256); // still the folders

        for (const WireRequest &request : fixture.peer.requests())
            request.answer(png(request.path().endsWith("/3.png") ? Qt::red : Qt::blue));
        EVENTUALLY_COMPARE(listOf(fixture.bankA()).count(), 257);
        QVERIFY(fixture.bankA().isEnabled());
        QCOMPARE(topLeft(fixture.bankA(), 4), QColor(Qt::red));
        QCOMPARE(topLeft(fixture.bankA(), 6), QColor(Qt::blue));
        const QIcon icon = listOf(fixture.bankA()).item(4)->icon();
        QCOMPARE(icon.availableSizes(), QList<QSize>{QSize(128, 96)});
        QCOMPARE(fixture.peer.requests().size(), 2);
    }

    void bothBanksLoadIndependently()
    {
        WireServer secondPeer(loopback(2));
        BankFixture fixture;
        Server second = sampleServer(u"Stage right"_s, loopback(2));
        second.folders[3] = folder(3, u"Stage"_s, {cachedVisual(7, u"Bridge"_s, 7)});
        fixture.connectServer(second);
        QVERIFY(fixture.openFolder());
        QVERIFY(secondPeer.waitForRequests(1));

        // Bank B finishes first; bank A still waits.
        secondPeer.requests().first().answer(png(Qt::green));
        EVENTUALLY_COMPARE(listOf(fixture.bankB()).count(), 257);
        QVERIFY(fixture.bankB().isEnabled());
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        fixture.answer(Qt::red);
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(topLeft(fixture.bankA(), 4), QColor(Qt::red));
        QCOMPARE(topLeft(fixture.bankB(), 8), QColor(Qt::green));
    }

    void failedThumbnailIsNotReported()
    {
        BankFixture fixture;
        QVERIFY(fixture.openFolder());
        LogCapture log;

        fixture.peer.requests().at(0).answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(log.texts().filter(u"Error while getting thumbnail"_s).size(), 1);
        fixture.peer.requests().at(1).answer(png(Qt::red));
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
        BankFixture fixture;
        QVERIFY(fixture.openFolder());
        LogCapture log;

        fixture.peer.requests().at(0).answer(png(Qt::red));
        EVENTUALLY_COMPARE(log.texts().filter(u"Downloaded was a success"_s).size(), 1);
        fixture.peer.requests().at(1).answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(log.texts().filter(u"Error while getting thumbnail"_s).size(), 1);
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        remedy(fixture);
        QVERIFY(fixture.bankA().isEnabled());
    }

    void windowClosedDuringADownload()
    {
        BankFixture fixture;
        QVERIFY(fixture.openFolder());
        fixture.window.reset();
        EVENTUALLY_COMPARE(fixture.peer.openConnections(), 0);
    }
};

QTEST_MAIN(tst_ServerBankController)
#include "tst_ServerBankController.moc"
