// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "BrowsingFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int foldersLevel = -1;
constexpr int folderRows = 256;
constexpr int slotRows = 257;

/// Servers that never answer. They listen before the window connects.
struct SilentServers
{
    WireServer silentOne{loopback(51)};
    WireServer silentTwo{loopback(52)};
};

/// Libraries that differ at both levels: folder 3 has another name, and its slot 5 is empty in B.
class LevelFixture final : SilentServers, public BrowsingFixture
{
public:
    LevelFixture()
        : BrowsingFixture(library(u"Stage"_s, {cachedVisual(3, u"Sunset"_s, 3),
                                               cachedVisual(5, u"Harbour"_s, 5)}),
                          library(u"Other"_s, {cachedVisual(3, u"Sunset"_s, 3)}))
    {
    }

    static QList<MediaFolder> library(const QString &name, const QList<Visual> &visuals)
    {
        return {folder(0, u"Intro"_s), folder(1, u"Loops"_s), folder(2, u"Stills"_s),
                folder(3, name, visuals)};
    }

    void lose(const Server &server) const { controller().removeServer(server.uuid); }
    void enter(int folder) const { controller().folderChanged(folder); }
    [[nodiscard]] int level() const { return model.selectedFolder; }
};

/// The rows that are drawn with the mark "different".
QList<int> differentRows(const BVServerBank &bank)
{
    QList<int> rows;
    for (int row = 0; row < listOf(bank).count(); ++row) {
        if (bank.rowMark(row) == false)
            rows.append(row);
    }
    return rows;
}

void checkInsideTheFolder(const WindowFixture &fixture)
{
    for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
        QCOMPARE(bank->currentFolder, 3);
        QCOMPARE(listOf(*bank).count(), slotRows);
        QVERIFY(bank->isEnabled());
        QCOMPARE(differences(bank->sameMarks), QList<int>{5});
        QCOMPARE(differentRows(*bank), QList<int>{6});
        QVERIFY(headerOf(*bank).contains(u"#FF0000"_s));
    }
}

void checkAtTheFolders(const WindowFixture &fixture)
{
    for (const BVServerBank *const bank : {&fixture.bankA(), &fixture.bankB()}) {
        QCOMPARE(bank->currentFolder, foldersLevel);
        QCOMPARE(listOf(*bank).count(), folderRows);
        QVERIFY(bank->isEnabled());
        QCOMPARE(differences(bank->sameMarks), QList<int>{3});
        QCOMPARE(differentRows(*bank), QList<int>{3});
        QCOMPARE(headerOf(*bank), u"Library"_s);
    }
}

} // namespace

/// Both banks show the same level. A bank that lost its server returns to the folders; when it has
/// a server again it joins the other bank, that is, opens the folder that the other bank shows.
class tst_UIControllerLevels : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void bankBJoinsTheFolder()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.two);
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        QVERIFY(headerOf(fixture.bankA()).contains(u"#FF0000"_s));
        fixture.connectServer(fixture.two);
        QCOMPARE(fixture.bankA().currentFolder, 3);
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        checkInsideTheFolder(fixture);
    }

    void bankAJoinsTheFolder()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.one);
        QCOMPARE(fixture.bankA().currentFolder, foldersLevel);
        QCOMPARE(fixture.bankB().currentFolder, 3);
        fixture.connectServer(fixture.one);
        ControllerFixture::choose(fixture.bankA(), u"One"_s);
        checkInsideTheFolder(fixture);
    }

    void aFirstServerJoinsTheFolder()
    {
        WindowFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(51));
        fixture.connectServer(one);
        fixture.controller().folderChanged(3);
        fixture.connectServer(one); // any refresh of the lists
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        Server two = sampleServer(u"Two"_s, loopback(52));
        two.folders = LevelFixture::library(u"Other"_s, {cachedVisual(3, u"Sunset"_s, 3)});
        fixture.connectServer(two);
        checkInsideTheFolder(fixture);
    }

    void bothBanksSelectTheSameVisualsAfterJoining()
    {
        LevelFixture fixture;
        QVERIFY(fixture.show());
        fixture.enter(3);
        fixture.lose(fixture.two);
        fixture.connectServer(fixture.two);
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        clickRow(fixture.bankA(), 4);
        const QList<VisualRef> visuals{{3, 3}};
        QCOMPARE(fixture.bankA().selectedVisuals(false), visuals);
        QCOMPARE(fixture.bankB().selectedVisuals(false), visuals);
    }

    void aBankWhoseServerMovedToTheOtherBankJoinsTheFolder()
    {
        LevelFixture fixture;
        fixture.enter(3);
        ControllerFixture::choose(fixture.bankA(), u"Two"_s);
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        QVERIFY(fixture.bankA().sameMarks.all());
        ControllerFixture::choose(fixture.bankB(), u"One"_s);
        checkInsideTheFolder(fixture);
    }

    void aBankThatTakesTheOnlyServerStaysAtTheFolders()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.one);
        ControllerFixture::choose(fixture.bankA(), u"Two"_s);
        QCOMPARE(fixture.level(), foldersLevel);
        QCOMPARE(listOf(fixture.bankA()).count(), folderRows);
        fixture.connectServer(fixture.one);
        ControllerFixture::choose(fixture.bankB(), u"One"_s);
        checkAtTheFolders(fixture);
    }

    void aBankJoinsTheFolderAfterARename()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.controller().serverNameChanged(fixture.two.uuid, u"Due"_s);
        QVERIFY(fixture.bankA().currentServerUuid().isNull() &&
                fixture.bankB().currentServerUuid().isNull());
        ControllerFixture::choose(fixture.bankA(), u"One"_s);
        QCOMPARE(fixture.level(), 3);
        QCOMPARE(listOf(fixture.bankA()).count(), slotRows);
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        ControllerFixture::choose(fixture.bankB(), u"Due"_s);
        checkInsideTheFolder(fixture);
    }

    void aBankAtTheFoldersIsJoinedThere()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.two);
        fixture.controller().backToFolders();
        fixture.connectServer(fixture.two);
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        checkAtTheFolders(fixture);
    }

    void bothBanksReturnToTheFoldersAfterBothLosses()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.two);
        QCOMPARE(fixture.level(), 3);
        fixture.lose(fixture.one);
        QCOMPARE(fixture.level(), foldersLevel);
        fixture.connectServer(fixture.one);
        fixture.connectServer(fixture.two);
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        QCOMPARE(listOf(fixture.bankB()).count(), folderRows);
        ControllerFixture::choose(fixture.bankA(), u"One"_s);
        checkAtTheFolders(fixture);
    }

    void bothBanksReturnToTheFoldersAfterARename()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.controller().serverNameChanged(fixture.two.uuid, u"Due"_s);
        fixture.connectServer(fixture.one); // any refresh of the lists
        QCOMPARE(fixture.level(), foldersLevel);
        ControllerFixture::choose(fixture.bankA(), u"One"_s);
        ControllerFixture::choose(fixture.bankB(), u"Due"_s);
        checkAtTheFolders(fixture);
    }

    void aFirstServerShowsTheFoldersWhenNoBankIsInAFolder()
    {
        WindowFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(51));
        const Server two = sampleServer(u"Two"_s, loopback(52));
        fixture.connectServer(one);
        fixture.controller().folderChanged(3);
        fixture.controller().removeServer(one.uuid);
        fixture.connectServer(two);
        QCOMPARE(fixture.bankB().currentServerUuid(), two.uuid);
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
        QCOMPARE(fixture.model.selectedFolder, foldersLevel);
        QCOMPARE(listOf(fixture.bankB()).count(), folderRows);
    }

    void aNewLibraryKeepsTheFolderOfTheRemainingBank()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.two);
        Server changed = fixture.one;
        changed.folders = LevelFixture::library(u"Stage"_s, {cachedVisual(9, u"New"_s, 9)});
        fixture.connectServer(changed);
        QCOMPARE(fixture.level(), 3);
        QCOMPARE(listOf(fixture.bankA()).item(10)->text(), u"009: New"_s);
        QVERIFY(fixture.bankA().sameMarks.all());
        QCOMPARE(fixture.bankB().currentFolder, foldersLevel);
    }

    void theHeaderKeepsItsColourWhileBothStay()
    {
        LevelFixture fixture;
        fixture.enter(2);
        Server renamed = fixture.two;
        renamed.folders[2].name = u"Pictures"_s;
        fixture.connectServer(renamed);
        QCOMPARE(headerOf(fixture.bankA()), u"Library > Stills"_s);
        QCOMPARE(headerOf(fixture.bankB()), u"Library > Pictures"_s);
    }

    void joiningRequestsEachThumbnailOnce()
    {
        LevelFixture fixture;
        fixture.enter(3);
        fixture.lose(fixture.two);
        fixture.connectServer(fixture.two);
        QPixmapCache::clear();
        LogCapture log;
        ControllerFixture::choose(fixture.bankB(), u"Two"_s);
        const QStringList asked = log.texts().filter(u"Downloading thumbnail from: "_s);
        QCOMPARE(asked.filter(u"//" LOOPBACK(51) ":"_s).size(), 2);
        QCOMPARE(asked.filter(u"//" LOOPBACK(52) ":"_s).size(), 1);
        QCOMPARE(asked.size(), 3);
    }
};

QTEST_MAIN(tst_UIControllerLevels)
#include "tst_UIControllerLevels.moc"
