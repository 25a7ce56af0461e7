// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QLabel>
#include <QListWidget>
#include <QSignalSpy>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

/// The two levels of a bank: rows, header and sizes.
class tst_BVServerBankRows final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QPixmapCache::clear();
    }

    void foldersLevelHasARowForEachFolder()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(1));
        server.folders.append(folder(255, u"Last"_s));
        server.folders.append(folder(256, u"One too many"_s));
        fixture.connectServer(server);

        const QStringList rows = textsOf(listOf(fixture.bankA()));
        QCOMPARE(rows.size(), 256);
        QCOMPARE(rows.first(), u"Intro"_s);
        QCOMPARE(rows.at(3), u"Stage"_s);
        QCOMPARE(rows.at(4), u"004_Folder"_s);
        QCOMPARE(rows.at(254), u"254_Folder"_s);
        QCOMPARE(rows.last(), u"Last"_s);
        QCOMPARE(headerOf(fixture.bankA()), u"Library"_s);
        for (int row = 0; row < 256; ++row)
            QCOMPARE(listOf(fixture.bankA()).item(row)->type(), row + 1);
    }

    void slotsLevelHasARowForEachSlot()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);

        const QStringList rows = textsOf(listOf(fixture.bankA()));
        QCOMPARE(rows.size(), 257);
        QCOMPARE(rows.at(0), u"Back"_s);
        QCOMPARE(rows.at(1), u"000: NO VISUAL"_s);
        QCOMPARE(rows.at(2), u"001: EMPTY"_s);
        QCOMPARE(rows.at(4), u"003: Sunset"_s);
        QCOMPARE(rows.at(5), u"004: EMPTY"_s);
        QCOMPARE(rows.at(6), u"005: Harbour"_s);
        QCOMPARE(rows.at(256), u"255: EMPTY"_s);
        QCOMPARE(headerOf(fixture.bankA()), u"Library > Stage"_s);

        const QListWidget &list = listOf(fixture.bankA());
        QCOMPARE(list.item(0)->type(), 0);
        QCOMPARE(list.item(1)->type(), 0);
        QCOMPARE(list.item(2)->type(), 1); // the slot of an empty slot, the row of a file
        QCOMPARE(list.item(4)->type(), 4);
        QVERIFY(fixture.bankA().isEnabled());
    }

    void folderThatOnlyTheOtherServerHas()
    {
        WindowFixture fixture;
        Server other = sampleServer(u"Stage right"_s, loopback(4));
        other.folders.append(folder(7, u"Only here"_s));
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(3)));
        fixture.connectServer(other);
        const QSignalSpy requests(&fixture.bankA(), &BVServerBank::changeFolder);

        fixture.controller().folderChanged(7);
        QCOMPARE(headerOf(fixture.bankA()),
                 u"Library > <b><font color=#FF0000>007_Folder</font></b>"_s);
        QCOMPARE(headerOf(fixture.bankB()),
                 u"Library > <b><font color=#FF0000>Only here</font></b>"_s);
        const QStringList rows = textsOf(listOf(fixture.bankA()));
        QCOMPARE(rows.size(), 257);
        QCOMPARE(rows.first(), u"Back"_s);
        QCOMPARE(rows.filter(u": EMPTY"_s).size(), 255);
        QCOMPARE(requests.count(), 0);
        QVERIFY(fixture.bankA().isEnabled());
    }

    void rowsCarryNoData()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        for (int row = 0; row < 257; ++row)
            QVERIFY(!listOf(fixture.bankA()).item(row)->data(Qt::UserRole).isValid());
    }

    void withoutServerTheListStays()
    {
        OneServerFixture fixture;
        fixture.bankA().setServers({fixture.server.uuid});
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        const QListWidgetItem *const row = listOf(fixture.bankA()).item(255);
        QVERIFY(row);
        fixture.bankA().showFolder(3, true);
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QCOMPARE(headerOf(fixture.bankA()), u"Library"_s);
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        QCOMPARE(listOf(fixture.bankA()).item(255), row);
        fixture.bankA().showFolders();
        QCOMPARE(fixture.bankA().currentFolder, -1);
        QCOMPARE(listOf(fixture.bankA()).count(), 0);
    }

    void staysDisabledUntilTheThumbnailsAreThere()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(4));
        server.addConnection(QHostAddress(loopback(6)), 8);
        fixture.model.upsertServer(server);
        fixture.controller().serverConnected(server.uuid, QHostAddress(loopback(6)));
        BVServerBank &bank = fixture.bankA();
        disconnect(&bank, &BVServerBank::changeFolder, nullptr, nullptr);
        const QSignalSpy requests(&bank, &BVServerBank::changeFolder);
        bool enabledDuringRequest = true;
        connect(&bank, &BVServerBank::changeFolder, this,
                [&] { enabledDuringRequest = bank.isEnabled(); });

        bank.showFolder(3, false);
        QVERIFY(!enabledDuringRequest);
        QVERIFY(!bank.isEnabled());
        QCOMPARE(listOf(bank).count(), 256); // untouched
        QCOMPARE(requests.count(), 1);
        QCOMPARE(requests.first().at(0).value<MediaFolder>().name, u"Stage"_s);
        QCOMPARE(requests.first().at(1).toInt(), 3);
        QCOMPARE(requests.first().at(2).value<QHostAddress>(), QHostAddress(loopback(6)));

        bank.folderChanged(3, QList<QPixmap>(256, thumbnailOf(1)));
        QVERIFY(bank.isEnabled());
        QCOMPARE(listOf(bank).count(), 257);
    }

    void indexOutOfRangeGivesAnEmptyFolder()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        for (const int index : {-1, 4, 100000}) {
            fixture.bankA().folderChanged(index, {});
            QCOMPARE(textsOf(listOf(fixture.bankA())).filter(u": EMPTY"_s).size(), 255);
        }
    }

    void headerShowsTheNameAsPlainText_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("plain") << u"Opening night"_s;
        QTest::newRow("image") << uR"(<img src="/dev/zero">)"_s;
        QTest::newRow("place marker") << u"%1 %2 %L1"_s;
        QTest::newRow("closing tag") << u"</font></b>off"_s;
        QTest::newRow("entity") << u"A &amp; B & C"_s;
        QTest::newRow("empty") << u""_s;
    }
    void headerShowsTheNameAsPlainText()
    {
        QFETCH(const QString, name);
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(12));
        server.folders[1].name = name;
        fixture.connectServer(server);
        const auto &label = childOf<QLabel>(fixture.bankA(), "mediaListFolder");

        fixture.bankA().showFolder(1, false);
        QCOMPARE(label.textFormat(), Qt::PlainText);
        QCOMPARE(label.text(), u"Library > "_s + name);

        fixture.bankA().showFolder(1, true);
        QCOMPARE(label.textFormat(), Qt::RichText);
        QCOMPARE(label.text(),
                 u"Library > <b><font color=#FF0000>"_s + name.toHtmlEscaped() + u"</font></b>"_s);
        QTextDocument document;
        document.setHtml(label.text());
        QCOMPARE(document.toPlainText(), u"Library > "_s + name);

        fixture.bankA().showFolders();
        QCOMPARE(label.textFormat(), Qt::PlainText);
        QCOMPARE(label.text(), u"Library"_s);
    }

    void headerStaysRedUntilTheFolderIsLeft()
    {
        OneServerFixture fixture;
        fixture.bankA().showFolder(3, true);
        fixture.bankA().serverContentChanged(fixture.server.uuid);
        QVERIFY(headerOf(fixture.bankA()).contains(u"color=#FF0000"));
        fixture.bankA().showFolders();
        fixture.bankA().showFolder(3, false);
        QCOMPARE(headerOf(fixture.bankA()), u"Library > Stage"_s);
    }

    void longNamesDoNotChangeTheLayout()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"S"_s.repeated(5000), loopback(14));
        server.folders[1].name = u"wide "_s.repeated(2000);
        server.folders[2].name = u"tall\n"_s.repeated(2000);
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        const QSize size = fixture.window->size();
        const QRect place = listOf(fixture.bankA()).geometry();
        for (const int slot : {1, 2}) {
            for (const bool red : {false, true}) {
                fixture.bankA().showFolder(slot, red);
                QCoreApplication::processEvents(); // the layouts follow the label
                QCOMPARE(fixture.window->size(), size);
                QCOMPARE(listOf(fixture.bankA()).geometry(), place);
            }
        }
    }

    void contentOfAnotherServerChangesNothing()
    {
        OneServerFixture fixture;
        fixture.bankA().showFolder(3, false);
        const QListWidgetItem *row = listOf(fixture.bankA()).item(0);
        fixture.bankA().serverContentChanged(QUuid::createUuid());
        fixture.bankA().serverContentChanged({});
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QCOMPARE(listOf(fixture.bankA()).item(0), row);
    }

    void contentOfTheSelectedServerRedrawsItsLevel()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(16));
        fixture.connectServer(server);
        BVServerBank &bank = fixture.bankA();
        server.connected = true;

        server.folders[0].name = u"Renamed"_s;
        fixture.model.upsertServer(server);
        bank.serverContentChanged(server.uuid);
        QCOMPARE(bank.currentFolder, -1);
        QCOMPARE(textsOf(listOf(bank)).first(), u"Renamed"_s);

        bank.showFolder(3, false);
        server.folders[3].files.clear();
        fixture.model.upsertServer(server);
        bank.serverContentChanged(server.uuid);
        QCOMPARE(bank.currentFolder, 3);
        QCOMPARE(textsOf(listOf(bank)).at(4), u"003: EMPTY"_s);
    }

    void bankWithoutServerReturnsToTheFolders()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        QCOMPARE(fixture.bankB().currentFolder, 3);
        fixture.bankB().serverContentChanged({});
        QCOMPARE(fixture.bankB().currentFolder, -1);
        QCOMPARE(fixture.bankA().currentFolder, 3);
    }

    void rowSizesFollowViewAndIconSize_data()
    {
        QTest::addColumn<bool>("listView");
        QTest::addColumn<int>("index");
        QTest::addColumn<QSize>("icon");
        QTest::addColumn<QSize>("hint");
        QTest::addColumn<int>("points");
        QTest::newRow("list, small") << true << 0 << QSize(32, 24) << QSize(38, 24) << 8;
        QTest::newRow("list, medium") << true << 1 << QSize(64, 48) << QSize(76, 48) << 8;
        QTest::newRow("list, large") << true << 2 << QSize(128, 96) << QSize(153, 96) << 8;
        QTest::newRow("icons, small") << false << 0 << QSize(32, 24) << QSize(38, 38) << 5;
        QTest::newRow("icons, medium") << false << 1 << QSize(64, 48) << QSize(76, 62) << 7;
        QTest::newRow("icons, large") << false << 2 << QSize(128, 96) << QSize(153, 115) << 8;
        QTest::newRow("icons, unknown") << false << 7 << QSize(128, 96) << QSize(153, 115) << 8;
        QTest::newRow("list, negative") << true << -1 << QSize(128, 96) << QSize(153, 96) << 8;
    }
    void rowSizesFollowViewAndIconSize()
    {
        QFETCH(const bool, listView);
        QFETCH(const int, index);
        OneServerFixture fixture;
        fixture.bankA().setIconSizeIndex(index);
        fixture.bankA().setListMode(listView);
        const QListWidgetItem *row = listOf(fixture.bankA()).item(0);
        QTEST(listOf(fixture.bankA()).iconSize(), "icon");
        QTEST(row->sizeHint(), "hint");
        QTEST(row->font().pointSize(), "points");
        QCOMPARE(listOf(fixture.bankA()).viewMode(),
                 listView ? QListView::ListMode : QListView::IconMode);
        QCOMPARE(listOf(fixture.bankA()).spacing(), 4);
        QCOMPARE(listOf(fixture.bankA()).resizeMode(), QListView::Adjust);
        QCOMPARE(listOf(fixture.bankA()).movement(), QListView::Static);
    }

    void everyRowHasTheSameLook()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        bank.setListMode(false);
        const auto check = [&](int count) {
            QCOMPARE(listOf(bank).count(), count);
            for (int row = 0; row < count; ++row) {
                QCOMPARE(listOf(bank).item(row)->sizeHint(), QSize(153, 115));
                QCOMPARE(listOf(bank).item(row)->font().pointSize(), 8);
            }
        };
        bank.setIconSizeIndex(2); // existing rows
        check(256);
        fixture.controller().folderChanged(3); // new rows
        check(257);
        fixture.controller().folderChanged(77);
        check(257);
    }

    void onlySlotsCanBeDraggedAndDropped()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        QVERIFY(!listOf(bank).dragEnabled());
        QVERIFY(!listOf(bank).viewport()->acceptDrops());
        for (const bool listView : {true, false, true}) {
            bank.showFolders();
            bank.setListMode(listView);
            QVERIFY(!dragsAndDrops(bank));
            bank.showFolder(3, false);
            QVERIFY(dragsAndDrops(bank));
            bank.setListMode(listView);
            QVERIFY(dragsAndDrops(bank));
            bank.showFolders();
            QVERIFY(!listOf(bank).dragEnabled());
            QVERIFY(!listOf(bank).viewport()->acceptDrops());
            bank.showFolder(77, false); // absent
            QVERIFY(dragsAndDrops(bank));
        }
        bank.setDragDropEnabled(false);
        QVERIFY(!listOf(bank).dragEnabled());
        QVERIFY(!listOf(bank).viewport()->acceptDrops());
        bank.setListMode(false); // applies the rule again
        QVERIFY(dragsAndDrops(bank));
    }

private:
    static bool dragsAndDrops(const BVServerBank &bank)
    {
        return listOf(bank).dragEnabled() && listOf(bank).viewport()->acceptDrops();
    }
};

QTEST_MAIN(tst_BVServerBankRows)
#include "tst_BVServerBankRows.moc"
