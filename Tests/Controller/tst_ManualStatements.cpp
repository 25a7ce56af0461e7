// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "OperationFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <QDir>
#include <QFile>
#include <QLabel>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto libraryPath = "/brenvoka/library.json";

using Refs = QList<VisualRef>;

QList<MediaFolder> intro(const QList<Visual> &files)
{
    return {folder(0, u"Intro"_s, files)};
}

QString status(const BVServerBank &bank)
{
    return childOf<QLabel>(bank, "serverStatusLabel").text();
}

/// The threads that Qt has started for requests. The system cuts their name to 15 characters.
qsizetype networkThreads()
{
    qsizetype count = 0;
    const QStringList ids = QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &id : ids) {
        QFile name(u"/proc/self/task/%1/comm"_s.arg(id));
        count += name.open(QIODevice::ReadOnly) && name.readAll().startsWith("QNetworkAccessM");
    }
    return count;
}

/// Two servers. Those of `failing` have a visual in folder 0, whose thumbnail cannot be loaded.
class FailingThumbnailFixture final : public OperationFixture
{
public:
    [[nodiscard]] bool openFolder(const QList<ScriptedServer *> &failing)
    {
        QPixmapCache::clear();
        for (ScriptedServer *const server : failing)
            server->wire.answer("/brenvoka/thumbnails/0/1.png", {}, {}, "404 Not Found");
        const auto library = [&failing](ScriptedServer &server) {
            return failing.contains(&server) ? intro({visual(1, u"Sunset"_s, hashOf(77))})
                                             : intro({});
        };
        if (!show() || !connectServer(one, u"One"_s, library(one)) ||
            !connectServer(two, u"Two"_s, library(two)))
            return false;
        doubleClickRow(bankA(), 0);
        return waitFor([&] {
            return log.texts().filter(u"Error while getting thumbnail"_s).size() == failing.size();
        });
    }

    LogCapture log;
};

} // namespace

/// What the manual says about the window and no other test checks.
class tst_ManualStatements : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void laterFailedDownloadKeepsTheOldLibrary()
    {
        LogCapture log;
        OperationFixture fixture;
        fixture.model.warningLevel = 0;
        const QList<MediaFolder> full = intro({cachedVisual(1, u"Sunset"_s, 1)});
        QVERIFY(fixture.connectServer(fixture.one, u"One"_s, full));
        QVERIFY(fixture.connectServer(fixture.two, u"Two"_s, intro({})));
        fixture.two.wire.answer(libraryPath, {}, {}, "500 Oops");
        fixture.two.sendLibraryChanged();
        EVENTUALLY_COMPARE(log.texts().filter(u"Failed to download server info"_s).size(), 1);

        fixture.two.setLibrary(full);
        fixture.two.sendLibraryChanged();
        // The reports show that the message before them was read.
        fixture.two.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":25})"));
        EVENTUALLY_COMPARE(status(fixture.bankB()), u"Connected"_s);
        QVERIFY(fixture.requestLibrary(fixture.one));
        QCOMPARE(fixture.two.libraryRequests(), 2);
        QVERIFY(fixture.isSyncWarningShown());

        // Planned from the old library: the server has this visual now.
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Sync), (Refs{{0, 1}}));
    }

    void removalWithoutItsWarningSilencesSmallSyncs()
    {
        OperationFixture fixture;
        QVERIFY(fixture.openInside(3, allWarnings));
        // The download after the removal shows that bank A lacks more visuals now.
        fixture.one.setLibrary({folder(0, u"Intro"_s), folder(1, u"Loops"_s),
                                folder(2, u"Stills"_s), folder(3, u"Stage"_s)});
        clickRow(fixture.bankA(), 4);
        ModalDriver modals;
        modals.press(u"Yes, don't ask again"_s);
        OperationFixture::clickRemove(fixture.bankA());
        EVENTUALLY_COMPARE(listOf(fixture.bankA()).item(6)->text(), u"005: EMPTY"_s);

        clickRow(fixture.bankA(), 6);
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Remove), (Refs{{3, 5}}));
        QCOMPARE(modals.seen().size(), 1);
    }

    void syncThatOnlyRenamesAsksNothing()
    {
        OperationFixture fixture;
        fixture.model.warningLevel = allWarnings;
        QVERIFY(fixture.connectServer(fixture.one, u"One"_s, intro({})));
        QVERIFY(fixture.connectServer(fixture.two, u"Two"_s, {folder(0, u"Outro"_s)}));
        const ModalDriver modals;
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.commands(ScriptedServer::Rename).size(), 1);
        QVERIFY(modals.seen().isEmpty());
    }

    void backInBankBEnablesBankA()
    {
        FailingThumbnailFixture fixture;
        QVERIFY(fixture.openFolder({&fixture.one}));
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(fixture.bankB().isEnabled());
        QVERIFY(fixture.isTransferEnabled());
        doubleClickRow(fixture.bankB(), 0);
        QVERIFY(fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
    }

    void bothBanksStayDisabledAndTheArrowsDoNot()
    {
        FailingThumbnailFixture fixture;
        QVERIFY(fixture.openFolder({&fixture.one, &fixture.two}));
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(!fixture.bankB().isEnabled());
        QVERIFY(fixture.isTransferEnabled());
    }

    void serverOfBankAIsNotOfferedInBankB()
    {
        FailingThumbnailFixture fixture;
        QVERIFY(fixture.openFolder({&fixture.one}));
        QCOMPARE(fixture.offered(fixture.bankB()), QStringList{u"Two"_s});
        QVERIFY(!fixture.bankA().isEnabled());
    }

    void backInBankAEnablesBankB()
    {
        FailingThumbnailFixture fixture;
        QVERIFY(fixture.openFolder({&fixture.two}));
        QVERIFY(!fixture.bankB().isEnabled());
        doubleClickRow(fixture.bankA(), 0);
        QVERIFY(fixture.bankB().isEnabled());
    }

    void serverOfBankBChosenInBankAEnablesBankB()
    {
        FailingThumbnailFixture fixture;
        QVERIFY(fixture.openFolder({&fixture.two}));
        QVERIFY(!fixture.bankB().isEnabled());
        fixture.choose(fixture.bankA(), u"Two"_s);
        QVERIFY(fixture.bankB().isEnabled());
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QCOMPARE(fixture.offered(fixture.bankB()), QStringList{u"One"_s});
    }

    void statusStaysUntilTheNewServerReports()
    {
        ScriptedServer three(loopback(3));
        OperationFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(fixture.connectServer(three, u"Three"_s, OperationFixture::library()));
        QCOMPARE(status(fixture.bankB()), u"Disconnected"_s);
        fixture.two.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":25,"TFPS":50})"));
        EVENTUALLY_COMPARE(status(fixture.bankB()), u"Connected"_s);

        fixture.choose(fixture.bankB(), u"Three"_s);
        QCOMPARE(status(fixture.bankB()), u"Connected"_s);
        QCOMPARE(childOf<QLabel>(fixture.bankB(), "cpuValueLabel").text(), u"25.00"_s);
        three.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":30,"TFPS":60})"));
        EVENTUALLY_COMPARE(childOf<QLabel>(fixture.bankB(), "cpuValueLabel").text(), u"30.00"_s);
        QCOMPARE(childOf<QLabel>(fixture.bankB(), "gpuValueLabel").text(), u"60.00"_s);
    }

    void secondPressSendsOnlyWhatStillDiffers()
    {
        const Visual sunset = cachedVisual(1, u"Sunset"_s, 1);
        const Visual harbour = cachedVisual(2, u"Harbour"_s, 2);
        OperationFixture fixture;
        fixture.model.warningLevel = 0;
        QVERIFY(fixture.connectServer(fixture.one, u"One"_s, intro({sunset, harbour})));
        QVERIFY(fixture.connectServer(fixture.two, u"Two"_s, intro({})));
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Sync).size(), 2);
        for (const VisualRef &visual : Refs{{0, 1}, {0, 2}})
            fixture.two.sendStarted(visual);
        fixture.two.setLibrary(intro({sunset}));
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
        fixture.two.sendEnded({0, 2}, Brenvoka::SyncFailed, u"no space left"_s);
        EVENTUALLY_COMPARE(modals.seen().size(), 1);
        EVENTUALLY_COMPARE(fixture.bankB().currentServer().folders.first().files.size(), 1);

        fixture.two.wire.forgetRequests();
        fixture.clickLeftToRight();
        EVENTUALLY_COMPARE(fixture.two.visuals(ScriptedServer::Sync), (Refs{{0, 2}}));
    }

    void redHeaderStaysAfterARenameUntilTheFolderIsOpenedAgain()
    {
        OperationFixture fixture;
        QVERIFY(fixture.open(0, intro({})));
        fixture.two.setLibrary({folder(0, u"Outro"_s)});
        QVERIFY(fixture.requestLibrary(fixture.two));
        EVENTUALLY_COMPARE(listOf(fixture.bankB()).item(0)->text(), u"Outro"_s);
        doubleClickRow(fixture.bankA(), 0);
        const QString red = u"Library > <b><font color=#FF0000>Intro</font></b>"_s;
        QLabel &header = childOf<QLabel>(fixture.bankB(), "mediaListFolder");
        QVERIFY(header.text().contains(u"#FF0000"_s));

        fixture.two.setLibrary(intro({}));
        QVERIFY(fixture.requestLibrary(fixture.two));
        EVENTUALLY_COMPARE(header.text(), red);
        doubleClickRow(fixture.bankA(), 0);
        doubleClickRow(fixture.bankA(), 0);
        QCOMPARE(header.text(), u"Library > Intro"_s);
    }

    void signBetweenTheBanksComparesTheHashOfTheLibraries()
    {
        OperationFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(!fixture.isSyncWarningShown());
        Server two = fixture.bankB().currentServer();
        two.hash += u'0';
        fixture.model.upsertServer(two);
        QVERIFY(fixture.requestLibrary(fixture.one));
        EVENTUALLY(fixture.isSyncWarningShown());
        QVERIFY(fixture.bankA().sameMarks.all());
    }

    void eachServerHasANetworkThread()
    {
        OperationFixture fixture;
        QVERIFY(fixture.connectServer(fixture.one, u"One"_s, OperationFixture::library()));
        const qsizetype before = networkThreads();
        QVERIFY(before > 0);
        QVERIFY(fixture.connectServer(fixture.two, u"Two"_s, OperationFixture::library()));
        QCOMPARE(networkThreads(), before + 1);
    }
};

QTEST_MAIN(tst_ManualStatements)
#include "tst_ManualStatements.moc"
