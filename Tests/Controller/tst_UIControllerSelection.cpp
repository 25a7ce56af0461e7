// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "SyncClickFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/Wait.h"

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int foldersLevel = -1;
using Rows = QList<int>;

/// Servers One and Two in the banks, and Three in neither. Their libraries are in the model; the
/// servers at their addresses never answer.
class SelectionFixture final : public WindowFixture
{
public:
    SelectionFixture()
    {
        two.folders[3] = folder(3, u"Stage"_s, {cachedVisual(3, u"Bridge"_s, 7)});
        for (const Server *const server : {&one, &two, &three})
            connectServer(*server);
    }

    /// Opens that level and selects these rows in bank A by clicks.
    [[nodiscard]] bool select(int level, const Rows &rows)
    {
        if (!show())
            return false;
        if (level != foldersLevel)
            controller().folderChanged(level);
        for (const int row : rows)
            clickRow(bankA(), row, row == rows.first() ? Qt::NoModifier : Qt::ControlModifier);
        return selectedRowsOf(bankA()) == rows && selectedRowsOf(bankB()) == rows;
    }
    /// Lets bank B load folder 3 slowly: its only thumbnail is requested and not answered.
    [[nodiscard]] bool redrawSlowly()
    {
        QPixmapCache::remove(u"thumbnail+"_s + hashOf(7));
        connectServer(two);
        return peerTwo.waitForRequests(1) && !bankB().isEnabled();
    }
    /// Ends the slow load.
    [[nodiscard]] bool finishRedraw()
    {
        peerTwo.requests().last().answer("no picture");
        return waitFor([&] { return bankB().isEnabled(); });
    }

    WireServer peerOne{loopback(1)};
    WireServer peerTwo{loopback(2)};
    WireServer peerThree{loopback(3)};
    Server one = sampleServer(u"One"_s, loopback(1));
    Server two = sampleServer(u"Two"_s, loopback(2));
    Server three = sampleServer(u"Three"_s, loopback(3));
};

using Event = std::function<void(SelectionFixture &)>;

} // namespace

/// Which redraws keep the selection. Without a selection a transfer button transfers everything, so
/// only the operator may clear a selection.
class tst_UIControllerSelection : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aRedrawKeepsTheSelection_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<Event>("event");
        const QList<std::pair<const char *, Event>> events{
            {"library of bank A's server",
             [](auto &fixture) { fixture.connectServer(fixture.one); }},
            {"library of bank B's server",
             [](auto &fixture) { fixture.connectServer(fixture.two); }},
            {"library of a third server",
             [](auto &fixture) { fixture.connectServer(fixture.three); }},
            {"library without the folder",
             [](auto &fixture) {
                 fixture.two.folders.removeLast();
                 fixture.connectServer(fixture.two);
             }},
            {"a new server",
             [](auto &fixture) { fixture.connectServer(sampleServer(u"Four"_s, loopback(4))); }},
            {"a third server lost",
             [](auto &fixture) { fixture.controller().removeServer(fixture.three.uuid); }},
            {"a cancelled download", [](auto &fixture) { fixture.controller().downloadCancel(); }}};
        for (const auto &[name, event] : events) {
            QTest::addRow("folders, %s", name) << foldersLevel << event;
            QTest::addRow("slots, %s", name) << 3 << event;
            QTest::addRow("slots of an absent folder, %s", name) << 77 << event;
        }
    }
    void aRedrawKeepsTheSelection()
    {
        QFETCH(const int, level);
        QFETCH(const Event, event);
        SelectionFixture fixture;
        QVERIFY(fixture.select(level, {4, 6, 200}));
        const QSignalSpy changesA(&listOf(fixture.bankA()), &QListWidget::itemSelectionChanged);
        const QSignalSpy changesB(&listOf(fixture.bankB()), &QListWidget::itemSelectionChanged);
        event(fixture);
        for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
            QCOMPARE(selectedRowsOf(*bank), (Rows{4, 6, 200}));
            QVERIFY(childOf<QPushButton>(*bank, "addButton").isEnabled());
        }
        QCOMPARE(changesA.count() + changesB.count(), 0);
    }

    void aThirdServersLibraryKeepsTheFolderToTransfer()
    {
        const QList<MediaFolder> empty{folder(0, u"a"_s), folder(1, u"b"_s), folder(2, u"c"_s),
                                       folder(3, u"d"_s)};
        QList<MediaFolder> full = empty;
        full[1] = folder(1, u"b"_s, {cachedVisual(1, u"x"_s, 1)});
        full[3] = folder(3, u"d"_s, {cachedVisual(3, u"y"_s, 2)});
        ScriptedServer third(loopback(103));
        SyncClickFixture fixture;
        QVERIFY(fixture.open(full, empty));
        QVERIFY(fixture.connectServer(third, u"Three"_s, empty));
        QVERIFY(fixture.show());
        clickRow(fixture.bankA(), 3);
        third.setLibrary(full);
        third.sendLibraryChanged();
        EVENTUALLY(!fixture.controller().connectedServer(third.uuid).folderAt(3).files.isEmpty());

        QVERIFY(fixture.start());
        fixture.two.sendStarted({3, 3});
        fixture.two.sendEnded({3, 3}, Brenvoka::SyncFinished);
        EVENTUALLY(!fixture.transferDialog()); // nothing else was requested
        QCOMPARE(fixture.two.visuals(ScriptedServer::Sync), (QList<VisualRef>{{3, 3}}));
    }

    void aSelectionMadeDuringASlowRedrawStays_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<Qt::KeyboardModifier>("modifier");
        QTest::addColumn<Rows>("rows");
        QTest::newRow("none made") << -1 << Qt::NoModifier << Rows{4};
        QTest::newRow("another row") << 8 << Qt::NoModifier << Rows{8};
        QTest::newRow("one more row") << 256 << Qt::ControlModifier << Rows{4, 256};
        QTest::newRow("nothing") << 4 << Qt::ControlModifier << Rows{};
    }
    void aSelectionMadeDuringASlowRedrawStays()
    {
        QFETCH(const int, row);
        QFETCH(const Qt::KeyboardModifier, modifier);
        QFETCH(const Rows, rows);
        SelectionFixture fixture;
        QVERIFY(fixture.select(3, {4}));
        QVERIFY(fixture.redrawSlowly());
        if (row != -1)
            clickRow(fixture.bankA(), row, modifier);
        QVERIFY(fixture.finishRedraw());
        QCOMPARE(selectedRowsOf(fixture.bankA()), rows);
        QCOMPARE(selectedRowsOf(fixture.bankB()), rows);
    }

    void aLoadingBankTransfersTheOtherBanksSelection()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open(
            {folder(0, u"a"_s)},
            {folder(0, u"a"_s, {cachedVisual(3, u"x"_s, 3), cachedVisual(255, u"y"_s, 255)})}));
        QVERIFY(fixture.show());
        QPixmapCache::remove(u"thumbnail+"_s + hashOf(3));
        fixture.controller().folderChanged(0);
        QVERIFY(!fixture.bankB().isEnabled());
        QCOMPARE(listOf(fixture.bankB()).count(), 256); // the folders, without a row for slot 255
        clickRow(fixture.bankA(), 256);
        fixture.two.wire.answer("/brenvoka/thumbnails/", "no picture"); // from the next redraw on

        fixture.clickRightToLeft();
        EVENTUALLY(!fixture.one.commands(ScriptedServer::Sync).isEmpty());
        fixture.one.sendStarted({0, 255});
        fixture.one.sendEnded({0, 255}, Brenvoka::SyncFinished);
        EVENTUALLY(!fixture.transferDialog());
        QCOMPARE(fixture.one.visuals(ScriptedServer::Sync), (QList<VisualRef>{{0, 255}}));

        EVENTUALLY_COMPARE(selectedRowsOf(fixture.bankB()), Rows{256});
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{256});
    }

    void aLostServerKeepsTheOtherBanksSelection_data()
    {
        QTest::addColumn<bool>("isBankA");
        QTest::addColumn<int>("level");
        QTest::addColumn<bool>("isSame"); // whether the lost server is chosen again, or a third one
        for (const bool isSame : {true, false}) {
            const char *const next = isSame ? "the same again" : "another";
            QTest::addRow("bank A, folders, %s", next) << true << foldersLevel << isSame;
            QTest::addRow("bank B, folders, %s", next) << false << foldersLevel << isSame;
            QTest::addRow("bank A, slots, %s", next) << true << 3 << isSame;
            QTest::addRow("bank B, slots, %s", next) << false << 3 << isSame;
        }
    }
    void aLostServerKeepsTheOtherBanksSelection()
    {
        QFETCH(const bool, isBankA);
        QFETCH(const int, level);
        QFETCH(const bool, isSame);
        SelectionFixture fixture;
        QVERIFY(fixture.select(level, {4, 6}));
        const Server lost = isBankA ? fixture.one : fixture.two;
        const BVServerBank &loser = isBankA ? fixture.bankA() : fixture.bankB();
        const BVServerBank &other = isBankA ? fixture.bankB() : fixture.bankA();
        fixture.controller().removeServer(lost.uuid);
        QCOMPARE(listOf(loser).count(), 0);
        QCOMPARE(selectedRowsOf(other), (Rows{4, 6}));

        fixture.connectServer(lost);
        const Rows rows = isSame ? Rows{4, 6} : Rows{};
        ControllerFixture::choose(loser, isSame ? lost.name : u"Three"_s);
        QCOMPARE(selectedRowsOf(loser), rows);
        QCOMPARE(selectedRowsOf(other), rows);
    }

    void aServerBackAtAnotherLevelGetsTheSelection()
    {
        SelectionFixture fixture;
        QVERIFY(fixture.select(3, {4}));
        fixture.controller().removeServer(fixture.two.uuid);
        fixture.controller().backToFolders();
        clickRow(fixture.bankA(), 5);
        fixture.connectServer(fixture.two);
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{5});
        QCOMPARE(selectedRowsOf(fixture.bankB()), Rows{5});
    }

    void aFirstServerGetsTheSelection()
    {
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"One"_s, loopback(1)));
        QVERIFY(fixture.show());
        clickRow(fixture.bankA(), 3);
        fixture.connectServer(sampleServer(u"Two"_s, loopback(2)));
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{3});
        QCOMPARE(selectedRowsOf(fixture.bankB()), Rows{3});
    }

    void serversChosenAgainAfterARenameKeepTheSelection()
    {
        SelectionFixture fixture;
        QVERIFY(fixture.select(3, {4}));
        fixture.controller().serverNameChanged(fixture.two.uuid, u"Due"_s);
        ControllerFixture::choose(fixture.bankA(), u"One"_s);
        ControllerFixture::choose(fixture.bankB(), u"Due"_s);
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{4});
        QCOMPARE(selectedRowsOf(fixture.bankB()), Rows{4});
    }

    void anotherServerClearsBothSelections_data()
    {
        QTest::addColumn<bool>("isBankA");
        QTest::addColumn<int>("level");
        QTest::newRow("bank A, folders") << true << foldersLevel;
        QTest::newRow("bank B, folders") << false << foldersLevel;
        QTest::newRow("bank A, slots") << true << 3;
        QTest::newRow("bank B, slots") << false << 3;
    }
    void anotherServerClearsBothSelections()
    {
        QFETCH(const bool, isBankA);
        QFETCH(const int, level);
        SelectionFixture fixture;
        QVERIFY(fixture.select(level, {4}));
        ControllerFixture::choose(isBankA ? fixture.bankA() : fixture.bankB(), u"Three"_s);
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{});
        QCOMPARE(selectedRowsOf(fixture.bankB()), Rows{});
    }

    void anotherLevelClearsBothSelections_data()
    {
        QTest::addColumn<int>("former");
        QTest::addColumn<int>("next");
        QTest::newRow("into a folder") << foldersLevel << 3;
        QTest::newRow("into an absent folder") << foldersLevel << 77;
        QTest::newRow("back") << 3 << foldersLevel;
        QTest::newRow("into another folder") << 3 << 2;
    }
    void anotherLevelClearsBothSelections()
    {
        QFETCH(const int, former);
        QFETCH(const int, next);
        SelectionFixture fixture;
        QVERIFY(fixture.select(former, {4}));
        if (next == foldersLevel)
            fixture.controller().backToFolders();
        else
            fixture.controller().folderChanged(next);
        QCOMPARE(selectedRowsOf(fixture.bankA()), Rows{});
        QCOMPARE(selectedRowsOf(fixture.bankB()), Rows{});
    }
};

QTEST_MAIN(tst_UIControllerSelection)
#include "tst_UIControllerSelection.moc"
