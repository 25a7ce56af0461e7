// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "BrowsingStage.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int foldersLevel = -1;
constexpr int folderRows = 256;
constexpr int slotRows = 257;

/// Libraries that differ at both levels: in folder 3, and there in its name and in slot 5. The
/// servers are there, but never answer.
class LevelStage final
{
public:
    LevelStage()
        : stage(library(u"Stage"_s, {visual(3, u"Sunset"_s, 3), visual(5, u"Harbour"_s, 5)}),
                library(u"Other"_s, {visual(3, u"Sunset"_s, 3)}))
    {
    }

    static QList<MediaFolder> library(const QString &name, const QList<Visual> &visuals)
    {
        return {folder(0, u"Intro"_s), folder(1, u"Loops"_s), folder(2, u"Stills"_s),
                folder(3, name, visuals)};
    }

    void lose(const Server &server) const { rig.controller().removeServer(server.uuid); }
    void enter(int folder) const { rig.controller().folderChanged(folder); }
    [[nodiscard]] int level() const { return rig.model.selectedFolder; }

    WireServer silentOne{loopback(51)};
    WireServer silentTwo{loopback(52)};
    BrowsingStage stage;
    WindowRig &rig = stage.rig;
    BVServerBank &bankA = rig.bankA();
    BVServerBank &bankB = rig.bankB();
    const Server &one = stage.one;
    const Server &two = stage.two;
};

/// The rows with the mark "different", as they are drawn.
QList<int> differentRows(const BVServerBank &bank)
{
    QList<int> rows;
    for (int row = 0; row < listOf(bank).count(); ++row) {
        if (bank.rowMark(row) == false)
            rows.append(row);
    }
    return rows;
}

void holdInFolder(const BVServerBank &bank)
{
    QCOMPARE(bank.currentFolder, 3);
    QCOMPARE(listOf(bank).count(), slotRows);
    QVERIFY(bank.isEnabled());
    QCOMPARE(differences(bank.sameMarks), QList<int>{5});
    QCOMPARE(differentRows(bank), QList<int>{6});
    QVERIFY(headerOf(bank).contains(u"#FF0000"_s));
}

void holdAtFolders(const BVServerBank &bank)
{
    QCOMPARE(bank.currentFolder, foldersLevel);
    QCOMPARE(listOf(bank).count(), folderRows);
    QVERIFY(bank.isEnabled());
    QCOMPARE(differences(bank.sameMarks), QList<int>{3});
    QCOMPARE(differentRows(bank), QList<int>{3});
    QCOMPARE(headerOf(bank), u"Library"_s);
}

} // namespace

/// Both banks stand at one level: a bank that lost its server falls back to the folders alone, and
/// goes where the other stands once it has one again.
class tst_UIControllerLevels : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void bankBJoinsTheFolder();
    void bankAJoinsTheFolder();
    void aFirstServerJoinsTheFolder();
    void aSelectionMeansTheSameOnceABankHasJoined();
    void aBankThatGaveItsServerAwayJoinsTheFolder();
    void aBankThatTakesTheLastServerOutOfTheFolderStaysAtTheFolders();
    void aBankJoinsTheFolderAfterARename();
    void aBankAtTheFoldersIsJoinedThere();
    void banksThatBothLostTheirServersMeetAtTheFolders();
    void banksThatBothLostTheirServersToARenameMeetAtTheFolders();
    void aFirstServerStaysOutOfAFolderThatNobodyIsIn();
    void aNewLibraryKeepsTheFolderOfTheBankThatIsLeft();
    void theHeaderKeepsItsColourWhileBothStay();
    void joiningAsksForEachThumbnailOnce();
};

void tst_UIControllerLevels::bankBJoinsTheFolder()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.two);
    QCOMPARE(stage.bankA.currentFolder, 3);
    QCOMPARE(stage.bankB.currentFolder, foldersLevel);
    QVERIFY(headerOf(stage.bankA).contains(u"#FF0000"_s));
    stage.rig.connectServer(stage.two);
    QCOMPARE(stage.bankA.currentFolder, 3);
    QCOMPARE(stage.bankB.currentFolder, foldersLevel);
    ControllerRig::choose(stage.bankB, u"Two"_s);
    holdInFolder(stage.bankA);
    holdInFolder(stage.bankB);
}

void tst_UIControllerLevels::bankAJoinsTheFolder()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.one);
    QCOMPARE(stage.bankA.currentFolder, foldersLevel);
    QCOMPARE(stage.bankB.currentFolder, 3);
    stage.rig.connectServer(stage.one);
    ControllerRig::choose(stage.bankA, u"One"_s);
    holdInFolder(stage.bankA);
    holdInFolder(stage.bankB);
}

void tst_UIControllerLevels::aFirstServerJoinsTheFolder()
{
    WindowRig rig;
    const Server one = sampleServer(u"One"_s, loopback(51));
    rig.connectServer(one);
    rig.controller().folderChanged(3);
    rig.connectServer(one); // any refresh of the lists
    QCOMPARE(rig.bankB().currentFolder, foldersLevel);
    Server two = sampleServer(u"Two"_s, loopback(52));
    two.folders = LevelStage::library(u"Other"_s, {visual(3, u"Sunset"_s, 3)});
    rig.connectServer(two);
    holdInFolder(rig.bankA());
    holdInFolder(rig.bankB());
}

void tst_UIControllerLevels::aSelectionMeansTheSameOnceABankHasJoined()
{
    LevelStage stage;
    QVERIFY(stage.rig.show());
    stage.enter(3);
    stage.lose(stage.two);
    stage.rig.connectServer(stage.two);
    ControllerRig::choose(stage.bankB, u"Two"_s);
    clickRow(stage.bankA, 4);
    const QList<VisualRef> visuals{{3, 3}};
    QCOMPARE(stage.bankA.selectedVisuals(false), visuals);
    QCOMPARE(stage.bankB.selectedVisuals(false), visuals);
}

void tst_UIControllerLevels::aBankThatGaveItsServerAwayJoinsTheFolder()
{
    LevelStage stage;
    stage.enter(3);
    ControllerRig::choose(stage.bankA, u"Two"_s);
    QCOMPARE(stage.bankB.currentFolder, foldersLevel);
    QVERIFY(stage.bankA.sameMarks.all());
    ControllerRig::choose(stage.bankB, u"One"_s);
    holdInFolder(stage.bankA);
    holdInFolder(stage.bankB);
}

void tst_UIControllerLevels::aBankThatTakesTheLastServerOutOfTheFolderStaysAtTheFolders()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.one);
    ControllerRig::choose(stage.bankA, u"Two"_s);
    QCOMPARE(stage.level(), foldersLevel);
    QCOMPARE(listOf(stage.bankA).count(), folderRows);
    stage.rig.connectServer(stage.one);
    ControllerRig::choose(stage.bankB, u"One"_s);
    holdAtFolders(stage.bankA);
    holdAtFolders(stage.bankB);
}

void tst_UIControllerLevels::aBankJoinsTheFolderAfterARename()
{
    LevelStage stage;
    stage.enter(3);
    stage.rig.controller().serverNameChanged(stage.two.uuid, u"Due"_s);
    QVERIFY(stage.bankA.currentServerUuid().isNull() && stage.bankB.currentServerUuid().isNull());
    ControllerRig::choose(stage.bankA, u"One"_s);
    QCOMPARE(stage.level(), 3);
    QCOMPARE(listOf(stage.bankA).count(), slotRows);
    QCOMPARE(stage.bankB.currentFolder, foldersLevel);
    ControllerRig::choose(stage.bankB, u"Due"_s);
    holdInFolder(stage.bankA);
    holdInFolder(stage.bankB);
}

void tst_UIControllerLevels::aBankAtTheFoldersIsJoinedThere()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.two);
    stage.rig.controller().backToFolders();
    stage.rig.connectServer(stage.two);
    ControllerRig::choose(stage.bankB, u"Two"_s);
    holdAtFolders(stage.bankA);
    holdAtFolders(stage.bankB);
}

void tst_UIControllerLevels::banksThatBothLostTheirServersMeetAtTheFolders()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.two);
    QCOMPARE(stage.level(), 3);
    stage.lose(stage.one);
    QCOMPARE(stage.level(), foldersLevel);
    stage.rig.connectServer(stage.one);
    stage.rig.connectServer(stage.two);
    ControllerRig::choose(stage.bankB, u"Two"_s);
    QCOMPARE(listOf(stage.bankB).count(), folderRows);
    ControllerRig::choose(stage.bankA, u"One"_s);
    holdAtFolders(stage.bankA);
    holdAtFolders(stage.bankB);
}

void tst_UIControllerLevels::banksThatBothLostTheirServersToARenameMeetAtTheFolders()
{
    LevelStage stage;
    stage.enter(3);
    stage.rig.controller().serverNameChanged(stage.two.uuid, u"Due"_s);
    stage.rig.connectServer(stage.one); // any refresh of the lists
    QCOMPARE(stage.level(), foldersLevel);
    ControllerRig::choose(stage.bankA, u"One"_s);
    ControllerRig::choose(stage.bankB, u"Due"_s);
    holdAtFolders(stage.bankA);
    holdAtFolders(stage.bankB);
}

void tst_UIControllerLevels::aFirstServerStaysOutOfAFolderThatNobodyIsIn()
{
    WindowRig rig;
    const Server one = sampleServer(u"One"_s, loopback(51));
    const Server two = sampleServer(u"Two"_s, loopback(52));
    rig.connectServer(one);
    rig.controller().folderChanged(3);
    rig.controller().removeServer(one.uuid);
    rig.connectServer(two);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    QCOMPARE(rig.bankB().currentFolder, foldersLevel);
    QCOMPARE(rig.model.selectedFolder, foldersLevel);
    QCOMPARE(listOf(rig.bankB()).count(), folderRows);
}

void tst_UIControllerLevels::aNewLibraryKeepsTheFolderOfTheBankThatIsLeft()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.two);
    Server changed = stage.one;
    changed.folders = LevelStage::library(u"Stage"_s, {visual(9, u"New"_s, 9)});
    stage.rig.connectServer(changed);
    QCOMPARE(stage.level(), 3);
    QCOMPARE(listOf(stage.bankA).item(10)->text(), u"009: New"_s);
    QVERIFY(stage.bankA.sameMarks.all());
    QCOMPARE(stage.bankB.currentFolder, foldersLevel);
}

void tst_UIControllerLevels::theHeaderKeepsItsColourWhileBothStay()
{
    LevelStage stage;
    stage.enter(2);
    Server renamed = stage.two;
    renamed.folders[2].name = u"Pictures"_s;
    stage.rig.connectServer(renamed);
    QCOMPARE(headerOf(stage.bankA), u"Library > Stills"_s);
    QCOMPARE(headerOf(stage.bankB), u"Library > Pictures"_s);
}

void tst_UIControllerLevels::joiningAsksForEachThumbnailOnce()
{
    LevelStage stage;
    stage.enter(3);
    stage.lose(stage.two);
    stage.rig.connectServer(stage.two);
    QPixmapCache::clear();
    LogCapture log;
    ControllerRig::choose(stage.bankB, u"Two"_s);
    const QStringList asked = log.texts().filter(u"Downloading thumbnail from: "_s);
    QCOMPARE(asked.filter(u"//" LOOPBACK(51) ":"_s).size(), 2);
    QCOMPARE(asked.filter(u"//" LOOPBACK(52) ":"_s).size(), 1);
    QCOMPARE(asked.size(), 3);
}

QTEST_MAIN(tst_UIControllerLevels)
#include "tst_UIControllerLevels.moc"
