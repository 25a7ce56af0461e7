// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

#include "Support/FailOnWarning.h"
#include "Support/LeakAllowed.h"
#include "Support/Wait.h"

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int foldersLevel = -1;
using Rows = QList<int>;

Rows selected(const BVServerBank &bank)
{
    Rows rows = bank.selectedRows();
    std::ranges::sort(rows);
    return rows;
}

/// Servers One and Two in the banks, and Three in neither. Their libraries come from the model;
/// behind the addresses is a server that never answers.
class SelectionStage final
{
public:
    SelectionStage()
    {
        two.folders[3] = folder(3, u"Stage"_s, {visual(3, u"Bridge"_s, 7)});
        for (const Server *const server : {&one, &two, &three})
            rig.connectServer(*server);
    }

    /// Goes to that level and selects these rows in bank A, as the operator does.
    [[nodiscard]] bool select(int level, const Rows &rows)
    {
        if (!rig.show())
            return false;
        if (level != foldersLevel)
            rig.controller().folderChanged(level);
        for (const int row : rows)
            clickRow(bankA, row, row == rows.first() ? Qt::NoModifier : Qt::ControlModifier);
        return selected(bankA) == rows && selected(bankB) == rows;
    }
    /// Lets bank B load folder 3 slowly: its one thumbnail is asked for and not answered.
    [[nodiscard]] bool redrawSlowly()
    {
        QPixmapCache::remove(u"thumbnail+"_s + hashOf(7));
        rig.connectServer(two);
        return peerTwo.waitForRequests(1) && !bankB.isEnabled();
    }
    /// Ends the slow load.
    [[nodiscard]] bool finishRedraw()
    {
        peerTwo.requests().last().answer("no picture");
        return waitFor([&] { return bankB.isEnabled(); });
    }

    WireServer peerOne{loopback(1)};
    WireServer peerTwo{loopback(2)};
    WireServer peerThree{loopback(3)};
    WindowRig rig;
    Server one = sampleServer(u"One"_s, loopback(1));
    Server two = sampleServer(u"Two"_s, loopback(2));
    Server three = sampleServer(u"Three"_s, loopback(3));
    BVServerBank &bankA = rig.bankA();
    BVServerBank &bankB = rig.bankB();
};

using Event = std::function<void(SelectionStage &)>;

} // namespace

/// Which redraws keep the selection. With nothing selected an arrow means everything, so a
/// selection may only end by what the operator does.
class tst_UIControllerSelection : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aRedrawKeepsTheSelection_data();
    void aRedrawKeepsTheSelection();
    void theLibraryOfAThirdServerLeavesTheArrowItsFolder();
    void aSelectionMadeDuringASlowRedrawStays_data();
    void aSelectionMadeDuringASlowRedrawStays();
    void aBankThatStillLoadsSendsWhatTheOtherShowsSelected();
    void aLostServerLeavesTheOtherBankItsSelection_data();
    void aLostServerLeavesTheOtherBankItsSelection();
    void aServerBackAtAnotherLevelTakesTheSelectionOver();
    void aFirstServerTakesTheSelectionOver();
    void serversChosenAgainAfterARenameKeepTheSelection();
    void anotherServerClearsBothSelections_data();
    void anotherServerClearsBothSelections();
    void anotherLevelClearsBothSelections_data();
    void anotherLevelClearsBothSelections();
};

void tst_UIControllerSelection::aRedrawKeepsTheSelection_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<Event>("event");
    const QList<std::pair<const char *, Event>> events{
        {"library of bank A's server", [](auto &stage) { stage.rig.connectServer(stage.one); }},
        {"library of bank B's server", [](auto &stage) { stage.rig.connectServer(stage.two); }},
        {"library of a third server", [](auto &stage) { stage.rig.connectServer(stage.three); }},
        {"library without the folder",
         [](auto &stage) {
             stage.two.folders.removeLast();
             stage.rig.connectServer(stage.two);
         }},
        {"a new server",
         [](auto &stage) { stage.rig.connectServer(sampleServer(u"Four"_s, loopback(4))); }},
        {"a third server lost",
         [](auto &stage) { stage.rig.controller().removeServer(stage.three.uuid); }},
        {"a cancelled download", [](auto &stage) { stage.rig.controller().downloadCancel(); }}};
    for (const auto &[name, event] : events) {
        QTest::addRow("folders, %s", name) << foldersLevel << event;
        QTest::addRow("slots, %s", name) << 3 << event;
        QTest::addRow("slots of an absent folder, %s", name) << 77 << event;
    }
}

void tst_UIControllerSelection::aRedrawKeepsTheSelection()
{
    QFETCH(const int, level);
    QFETCH(const Event, event);
    SelectionStage stage;
    QVERIFY(stage.select(level, {4, 6, 200}));
    const QSignalSpy changesA(&listOf(stage.bankA), &QListWidget::itemSelectionChanged);
    const QSignalSpy changesB(&listOf(stage.bankB), &QListWidget::itemSelectionChanged);
    event(stage);
    for (const BVServerBank *const bank : {&stage.bankA, &stage.bankB}) {
        QCOMPARE(selected(*bank), (Rows{4, 6, 200}));
        QVERIFY(childOf<QPushButton>(*bank, "addButton").isEnabled());
    }
    QCOMPARE(changesA.count() + changesB.count(), 0);
}

void tst_UIControllerSelection::theLibraryOfAThirdServerLeavesTheArrowItsFolder()
{
    const QList<MediaFolder> empty{folder(0, u"a"_s), folder(1, u"b"_s), folder(2, u"c"_s),
                                   folder(3, u"d"_s)};
    QList<MediaFolder> full = empty;
    full[1] = folder(1, u"b"_s, {visual(1, u"x"_s, 1)});
    full[3] = folder(3, u"d"_s, {visual(3, u"y"_s, 2)});
    PlayedServer third(loopback(103));
    SyncStage stage;
    QVERIFY(stage.open(full, empty));
    QVERIFY(stage.rig.bringUp(third, u"Three"_s, empty));
    QVERIFY(stage.rig.rig.show());
    clickRow(stage.rig.bankA(), 3);
    third.setLibrary(full);
    third.sendLibraryChanged();
    EVENTUALLY(!stage.rig.controller().connectedServer(third.uuid).folderAt(3).files.isEmpty());

    QVERIFY(stage.start());
    stage.two.sendStarted({3, 3});
    stage.two.sendEnded({3, 3}, Brenvoka::SyncFinished);
    EVENTUALLY(!stage.transferDialog()); // nothing else was asked for
    QCOMPARE(stage.two.visuals(PlayedServer::Sync), (QList<VisualRef>{{3, 3}}));
}

void tst_UIControllerSelection::aSelectionMadeDuringASlowRedrawStays_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<Qt::KeyboardModifier>("modifier");
    QTest::addColumn<Rows>("rows");
    QTest::newRow("none made") << -1 << Qt::NoModifier << Rows{4};
    QTest::newRow("another row") << 8 << Qt::NoModifier << Rows{8};
    QTest::newRow("one more row") << 256 << Qt::ControlModifier << Rows{4, 256};
    QTest::newRow("nothing") << 4 << Qt::ControlModifier << Rows{};
}

void tst_UIControllerSelection::aSelectionMadeDuringASlowRedrawStays()
{
    QFETCH(const int, row);
    QFETCH(const Qt::KeyboardModifier, modifier);
    QFETCH(const Rows, rows);
    SelectionStage stage;
    QVERIFY(stage.select(3, {4}));
    QVERIFY(stage.redrawSlowly());
    if (row != -1)
        clickRow(stage.bankA, row, modifier);
    QVERIFY(stage.finishRedraw());
    QCOMPARE(selected(stage.bankA), rows);
    QCOMPARE(selected(stage.bankB), rows);
}

void tst_UIControllerSelection::aBankThatStillLoadsSendsWhatTheOtherShowsSelected()
{
    SyncStage stage;
    QVERIFY(stage.open({folder(0, u"a"_s)},
                       {folder(0, u"a"_s, {visual(3, u"x"_s, 3), visual(255, u"y"_s, 255)})}));
    QVERIFY(stage.rig.rig.show());
    QPixmapCache::remove(u"thumbnail+"_s + hashOf(3));
    stage.rig.controller().folderChanged(0);
    QVERIFY(!stage.rig.bankB().isEnabled());
    QCOMPARE(listOf(stage.rig.bankB()).count(), 256); // the folders, without a row for slot 255
    clickRow(stage.rig.bankA(), 256);
    stage.two.wire.answer("/brenvoka/thumbnails/", "no picture"); // from the next redraw on

    stage.rig.clickRightToLeft();
    EVENTUALLY(!stage.one.commands(PlayedServer::Sync).isEmpty());
    stage.one.sendStarted({0, 255});
    stage.one.sendEnded({0, 255}, Brenvoka::SyncFinished);
    EVENTUALLY(!stage.transferDialog());
    QCOMPARE(stage.one.visuals(PlayedServer::Sync), (QList<VisualRef>{{0, 255}}));

    EVENTUALLY_COMPARE(selected(stage.rig.bankB()), Rows{256});
    QCOMPARE(selected(stage.rig.bankA()), Rows{256});
}

void tst_UIControllerSelection::aLostServerLeavesTheOtherBankItsSelection_data()
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

void tst_UIControllerSelection::aLostServerLeavesTheOtherBankItsSelection()
{
    QFETCH(const bool, isBankA);
    QFETCH(const int, level);
    QFETCH(const bool, isSame);
    SelectionStage stage;
    QVERIFY(stage.select(level, {4, 6}));
    const Server lost = isBankA ? stage.one : stage.two;
    const BVServerBank &loser = isBankA ? stage.bankA : stage.bankB;
    const BVServerBank &other = isBankA ? stage.bankB : stage.bankA;
    stage.rig.controller().removeServer(lost.uuid);
    QCOMPARE(listOf(loser).count(), 0);
    QCOMPARE(selected(other), (Rows{4, 6}));

    stage.rig.connectServer(lost);
    const Rows rows = isSame ? Rows{4, 6} : Rows{};
    ControllerRig::choose(loser, isSame ? lost.name : u"Three"_s);
    QCOMPARE(selected(loser), rows);
    QCOMPARE(selected(other), rows);
}

void tst_UIControllerSelection::aServerBackAtAnotherLevelTakesTheSelectionOver()
{
    SelectionStage stage;
    QVERIFY(stage.select(3, {4}));
    stage.rig.controller().removeServer(stage.two.uuid);
    stage.rig.controller().backToFolders();
    clickRow(stage.bankA, 5);
    stage.rig.connectServer(stage.two);
    ControllerRig::choose(stage.bankB, u"Two"_s);
    QCOMPARE(selected(stage.bankA), Rows{5});
    QCOMPARE(selected(stage.bankB), Rows{5});
}

void tst_UIControllerSelection::aFirstServerTakesTheSelectionOver()
{
    WindowRig rig;
    rig.connectServer(sampleServer(u"One"_s, loopback(1)));
    QVERIFY(rig.show());
    clickRow(rig.bankA(), 3);
    rig.connectServer(sampleServer(u"Two"_s, loopback(2)));
    QCOMPARE(selected(rig.bankA()), Rows{3});
    QCOMPARE(selected(rig.bankB()), Rows{3});
}

void tst_UIControllerSelection::serversChosenAgainAfterARenameKeepTheSelection()
{
    SelectionStage stage;
    QVERIFY(stage.select(3, {4}));
    stage.rig.controller().serverNameChanged(stage.two.uuid, u"Due"_s);
    ControllerRig::choose(stage.bankA, u"One"_s);
    ControllerRig::choose(stage.bankB, u"Due"_s);
    QCOMPARE(selected(stage.bankA), Rows{4});
    QCOMPARE(selected(stage.bankB), Rows{4});
}

void tst_UIControllerSelection::anotherServerClearsBothSelections_data()
{
    QTest::addColumn<bool>("isBankA");
    QTest::addColumn<int>("level");
    QTest::newRow("bank A, folders") << true << foldersLevel;
    QTest::newRow("bank B, folders") << false << foldersLevel;
    QTest::newRow("bank A, slots") << true << 3;
    QTest::newRow("bank B, slots") << false << 3;
}

void tst_UIControllerSelection::anotherServerClearsBothSelections()
{
    QFETCH(const bool, isBankA);
    QFETCH(const int, level);
    SelectionStage stage;
    QVERIFY(stage.select(level, {4}));
    ControllerRig::choose(isBankA ? stage.bankA : stage.bankB, u"Three"_s);
    QCOMPARE(selected(stage.bankA), Rows{});
    QCOMPARE(selected(stage.bankB), Rows{});
}

void tst_UIControllerSelection::anotherLevelClearsBothSelections_data()
{
    QTest::addColumn<int>("former");
    QTest::addColumn<int>("next");
    QTest::newRow("into a folder") << foldersLevel << 3;
    QTest::newRow("into an absent folder") << foldersLevel << 77;
    QTest::newRow("back") << 3 << foldersLevel;
    QTest::newRow("into another folder") << 3 << 2;
}

void tst_UIControllerSelection::anotherLevelClearsBothSelections()
{
    QFETCH(const int, former);
    QFETCH(const int, next);
    SelectionStage stage;
    QVERIFY(stage.select(former, {4}));
    if (next == foldersLevel)
        stage.rig.controller().backToFolders();
    else
        stage.rig.controller().folderChanged(next);
    QCOMPARE(selected(stage.bankA), Rows{});
    QCOMPARE(selected(stage.bankB), Rows{});
}

QTEST_MAIN(tst_UIControllerSelection)
#include "tst_UIControllerSelection.moc"
