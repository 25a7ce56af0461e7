// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"
#include "Support/WireServer.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabWidget>

using namespace Qt::Literals::StringLiterals;

/// What a bank offers and reports, and when its buttons are enabled.
class tst_BVServerBank final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void geometryFollowsTheForm()
    {
        BVServerBank bank;
        QCOMPARE(bank.size(), QSize(548, 747));
        QCOMPARE(bank.sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(bank.sizePolicy().horizontalStretch(), 1);
        QCOMPARE(bank.layout()->contentsMargins().left(), 3);

        const auto &combo = childOf<QComboBox>(bank, "serverComboBox");
        QCOMPARE(combo.minimumSize(), QSize(350, 25));
        QCOMPARE(combo.maximumSize(), QSize(350, 25));
        QCOMPARE(childOf<QLabel>(bank, "serverStatusLabel").minimumSize(), QSize(100, 30));

        const auto &tabs = childOf<QTabWidget>(bank, "serverTabWidget");
        QCOMPARE(tabs.count(), 1);
        QCOMPARE(tabs.tabText(0), u"Medias"_s);

        const MediaListWidget &list = listOf(bank);
        bank.setDragDropEnabled(true);
        QCOMPARE(list.dragDropMode(), QAbstractItemView::InternalMove);
        QCOMPARE(list.defaultDropAction(), Qt::MoveAction);
        QVERIFY(list.dragDropOverwriteMode());
        QCOMPARE(list.selectionMode(), QAbstractItemView::ExtendedSelection);
        QCOMPARE(list.resizeMode(), QListView::Adjust);
        QCOMPARE(list.movement(), QListView::Static);
        QCOMPARE(list.spacing(), 4);
        QCOMPARE(list.iconSize(), QSize(64, 48));

        for (const char *name : {"removeButton", "addButton"}) {
            const auto &button = childOf<QPushButton>(bank, name);
            QCOMPARE(button.minimumSize(), QSize(35, 35));
            QCOMPARE(button.maximumSize(), QSize(35, 35));
            QVERIFY(button.isFlat());
            QVERIFY(!button.icon().isNull());
        }
    }

    void staysDisabledWithoutController()
    {
        const BVServerBank bank;
        QCOMPARE(bank.currentFolder, -1);
        QVERIFY(bank.sameMarks.all());
        QVERIFY(bank.currentServer().uuid.isNull());
        QCOMPARE(childOf<QLabel>(bank, "serverStatusLabel").text(), u"Disconnected"_s);
    }

    void mirrorsTheBottomRowOfDeckB()
    {
        const WindowFixture fixture;
        const auto order = [](const BVServerBank &bank) {
            const auto &row = childOf<QHBoxLayout>(bank, "bottomLayout");
            QStringList names;
            for (int i = 0; i < row.count(); ++i)
                names.append(row.itemAt(i)->layout() ? row.itemAt(i)->layout()->objectName()
                                                     : u"-"_s);
            return names;
        };
        QCOMPARE(order(fixture.bankA()),
                 (QStringList{u"buttonLayout"_s, u"-"_s, u"cpugpuLayout"_s}));
        QCOMPARE(order(fixture.bankB()),
                 (QStringList{u"cpugpuLayout"_s, u"-"_s, u"buttonLayout"_s}));
    }

    void controlsDescribeThemselves()
    {
        const WindowFixture fixture;
        for (const char *name :
             {"serverComboBox", "mediaListWidget", "removeButton", "addButton"}) {
            const auto &ofA = childOf<QWidget>(fixture.bankA(), name);
            const auto &ofB = childOf<QWidget>(fixture.bankB(), name);
            QVERIFY2(ofA.accessibleName().contains(u"bank A"), name);
            QVERIFY2(ofB.accessibleName().contains(u"bank B"), name);
            QVERIFY2(ofA.toolTip().contains(u"bank A"), name);
            QVERIFY2(ofB.toolTip().contains(u"bank B"), name);
        }
    }

    void emptyServerListDisablesThePanel()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        QVERIFY(bank.isEnabled());
        QVERIFY(!bank.currentServerUuid().isNull());

        bank.setServers({});
        QVERIFY(!bank.isEnabled());
        QVERIFY(!childOf<QPushButton>(bank, "removeButton").isEnabledTo(&bank));
        QVERIFY(!childOf<QPushButton>(bank, "addButton").isEnabledTo(&bank));
        QCOMPARE(childOf<QComboBox>(bank, "serverComboBox").count(), 0);
        QVERIFY(bank.currentServerUuid().isNull());
    }

    void settingServersNeverReportsASelection()
    {
        WindowFixture fixture;
        const Server first = sampleServer(u"Stage left"_s, loopback(2));
        const Server second = sampleServer(u"<b>%1</b>"_s, loopback(3));
        fixture.connectServer(first);
        fixture.connectServer(second);
        BVServerBank &bank = fixture.bankA();
        const QSignalSpy selections(&bank, &BVServerBank::serverSelectionChanged);

        bank.setServers({second.uuid, first.uuid});
        auto &combo = childOf<QComboBox>(bank, "serverComboBox");
        QCOMPARE(combo.count(), 2);
        QCOMPARE(combo.itemText(0), second.name);
        QCOMPARE(combo.itemText(1), first.name);
        QCOMPARE(combo.itemData(0).toUuid(), second.uuid);
        QCOMPARE(combo.currentIndex(), -1);
        bank.setServers({});
        bank.setServers({first.uuid});
        QCOMPARE(combo.currentIndex(), -1);
        QVERIFY(bank.isEnabled());
        QCOMPARE(selections.count(), 0);
    }

    void settingServersSetsAllMarks()
    {
        const WindowFixture fixture;
        fixture.bankA().sameMarks.reset();
        fixture.bankA().setServers({});
        QVERIFY(fixture.bankA().sameMarks.all());
    }

    void selectServerReportsNothing()
    {
        WindowFixture fixture;
        const Server first = sampleServer(u"Stage left"_s, loopback(4));
        const Server second = sampleServer(u"Stage right"_s, loopback(5));
        fixture.connectServer(first);
        fixture.connectServer(second);
        BVServerBank &bank = fixture.bankA();
        bank.setServers({first.uuid, second.uuid});
        const QSignalSpy selections(&bank, &BVServerBank::serverSelectionChanged);

        bank.selectServer(second.uuid);
        QCOMPARE(bank.currentServerUuid(), second.uuid);
        QCOMPARE(bank.currentServer().name, second.name);
        bank.selectServer(QUuid::createUuid());
        QCOMPARE(bank.currentServerUuid(), second.uuid);
        QCOMPARE(selections.count(), 0);
    }

    void choosingAServerIsReportedAndLogged()
    {
        // Open requests: both servers accept the stream's connection and send nothing.
        const WireServer firstPeer(loopback(6));
        const WireServer secondPeer(loopback(7));
        WindowFixture fixture;
        const Server first = sampleServer(u"Stage left"_s, loopback(6));
        const Server second = sampleServer(u"Stage right"_s, loopback(7));
        fixture.connectServer(first);
        fixture.connectServer(second);
        QVERIFY(fixture.show());
        LogCapture log;

        for (BVServerBank *bank : {&fixture.bankA(), &fixture.bankB()}) {
            bank->setServers({first.uuid, second.uuid});
            bank->selectServer(first.uuid);
            const QSignalSpy selections(bank, &BVServerBank::serverSelectionChanged);
            auto &combo = childOf<QComboBox>(*bank, "serverComboBox");
            combo.setFocus();
            QTest::keyClick(&combo, Qt::Key_Down);
            QCOMPARE(selections.count(), 1);
            QCOMPARE(selections.first().first().toUuid(), second.uuid);
        }
        const QString line = u"%1[1]: "_s + second.uuid.toString();
        const QString text = u"info: Server selection changed in bank "_s;
        QCOMPARE(log.entries().filter(text),
                 (QStringList{text + line.arg("A to"_L1), text + line.arg("B to"_L1)}));
        QVERIFY(log.lines()
                    .filter(u"Server selection changed"_s)
                    .first()
                    .startsWith(u"[BVServerBank:"));
    }

    void connectionStatus()
    {
        BVServerBank bank;
        const auto &status = childOf<QLabel>(bank, "serverStatusLabel");
        const auto &cpu = childOf<QLabel>(bank, "cpuValueLabel");
        const auto &gpu = childOf<QLabel>(bank, "gpuValueLabel");
        QCOMPARE(status.styleSheet(), u"color : rgb(205, 40, 40);"_s);

        bank.setConnectionStatus(true, 59.944F, 120);
        QCOMPARE(status.text(), u"Connected"_s);
        QCOMPARE(status.styleSheet(), u"color :rgb(40, 200, 40);"_s);
        QCOMPARE(cpu.text(), u"59.94"_s);
        QCOMPARE(gpu.text(), u"120.00"_s);

        // No rate loses a digit in its narrow label.
        for (const float rate : {9.99F, 60.F, 144.F}) {
            bank.setConnectionStatus(true, rate, rate);
            QVERIFY(gpu.fontMetrics().horizontalAdvance(gpu.text()) <= gpu.width());
            QVERIFY(cpu.fontMetrics().horizontalAdvance(cpu.text()) <= cpu.width());
        }

        bank.setConnectionStatus(false, 0, 0);
        QCOMPARE(status.text(), u"Disconnected"_s);
        QCOMPARE(status.styleSheet(), u"color : rgb(205, 40, 40);"_s);
        QCOMPARE(cpu.text(), u"0.00"_s);
        QCOMPARE(gpu.text(), u"0.00"_s);
    }

    void uploadButtonFollowsTheSelection_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("Back") << QList<int>{0} << false;
        QTest::newRow("no visual") << QList<int>{1} << false;
        QTest::newRow("first slot, empty") << QList<int>{2} << true;
        QTest::newRow("a file") << QList<int>{4} << true;
        QTest::newRow("last slot") << QList<int>{256} << true;
        QTest::newRow("two rows") << QList<int>{4, 6} << false;
        QTest::newRow("a file and Back") << QList<int>{4, 0} << false;
        QTest::newRow("chosen and given up") << QList<int>{4, 4} << false;
    }
    void uploadButtonFollowsTheSelection()
    {
        QFETCH(const QList<int>, rows);
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        for (const int row : rows)
            clickRow(fixture.bankA(), row, Qt::ControlModifier);
        QTEST(childOf<QPushButton>(fixture.bankA(), "addButton").isEnabled(), "enabled");
        QVERIFY(childOf<QPushButton>(fixture.bankA(), "removeButton").isEnabled());
    }

    void uploadButtonStaysDisabledAtTheFoldersLevel()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        clickRow(fixture.bankA(), 3);
        QCOMPARE(fixture.bankA().selectedRows(), QList<int>{3});
        QVERIFY(!childOf<QPushButton>(fixture.bankA(), "addButton").isEnabled());
    }

    void removeButtonNeedsAServerOnly()
    {
        OneServerFixture fixture;
        const auto &button = childOf<QPushButton>(fixture.bankA(), "removeButton");
        QCOMPARE(fixture.bankA().selectedRowCount(), 0);
        QVERIFY(button.isEnabled());
        fixture.controller().folderChanged(3);
        QVERIFY(button.isEnabled());
    }

    void uploadButtonIsEnabledAfterAChangeOfContent()
    {
        WindowFixture fixture;
        const Server server = sampleServer(u"Stage left"_s, loopback(11));
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        clickRow(fixture.bankA(), 0);
        const auto &button = childOf<QPushButton>(fixture.bankA(), "addButton");
        QVERIFY(!button.isEnabled());

        // Until the thumbnails arrive, the rows and their selection stay.
        QPixmapCache::remove("thumbnail+"_L1 + hashOf(3));
        const WireServer peer(loopback(11));
        fixture.bankA().serverContentChanged(server.uuid);
        QCOMPARE(fixture.bankA().selectedRows(), QList<int>{0});
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(button.isEnabledTo(&fixture.bankA()));
    }

    void uploadWithTwoRowsSelectedIsLoggedOnly()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        fixture.bankA().serverContentChanged(fixture.server.uuid);
        fixture.bankA().selectRows({4, 6});
        const QSignalSpy uploads(&fixture.bankA(), &BVServerBank::uploadFile);
        LogCapture log;

        auto &button = childOf<QPushButton>(fixture.bankA(), "addButton");
        QVERIFY(button.isEnabled());
        QTest::mouseClick(&button, Qt::LeftButton);
        QCOMPARE(log.entries(),
                 QStringList{u"error: Logic error - upload enabled but selection is wrong"_s});
        QCOMPARE(uploads.count(), 0);
    }

    void uploadButtonAsksForTheSelectedSlot()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(13));
        server.folders.removeAt(1); // moves folder 3 to position 2
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(3);
        QObject receiver;
        QList<QVariant> seen;
        disconnect(&fixture.bankA(), &BVServerBank::uploadFile, &fixture.controller(), nullptr);
        connect(&fixture.bankA(), &BVServerBank::uploadFile, &receiver,
                [&](const QUuid &uuid, int folderIndex, int visualIndex) {
                    seen = {uuid, folderIndex, visualIndex};
                });
        clickRow(fixture.bankA(), 10);
        QTest::mouseClick(&childOf<QPushButton>(fixture.bankA(), "addButton"), Qt::LeftButton);
        QCOMPARE(seen, (QList<QVariant>{server.uuid, 2, 9}));
    }
};

QTEST_MAIN(tst_BVServerBank)
#include "tst_BVServerBank.moc"
