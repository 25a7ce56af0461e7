// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Wait.h"

#include <QBuffer>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int emptySlots = 255;

QByteArray png(const QColor &color)
{
    QImage image(16, 12, QImage::Format_RGB32);
    image.fill(color);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
}

qsizetype emptyRows(const BVServerBank &bank)
{
    return listOf(bank).findItems(u": EMPTY"_s, Qt::MatchEndsWith).size();
}

/// Bank A shows server One, which sends no thumbnail before the test wants it. Bank B shows Two,
/// whose folder 3 is empty and therefore opens at once. Bank A is loading One's folder 3.
class SlowStage final
{
public:
    SlowStage()
    {
        two.folders[3].files.clear();
        rig.connectServer(one);
        rig.connectServer(two);
    }
    [[nodiscard]] bool open()
    {
        QPixmapCache::clear();
        if (!rig.show())
            return false;
        doubleClickRow(bankB, 3);
        return peerOne.waitForRequests(2) && !bankA.isEnabled() && bankB.isEnabled();
    }
    /// Answers every thumbnail of folder 3 and waits until all have been read.
    [[nodiscard]] bool finishLoad(const QColor &color = Qt::red)
    {
        const QList<WireRequest> requests = peerOne.requests("/brenvoka/thumbnails/3/");
        for (const WireRequest &request : requests)
            request.answer(png(color));
        return waitFor(
            [&] { return log.texts().filter(u"Downloaded was a success"_s).size() >= 2; });
    }

    WireServer peerOne{loopback(1)};
    WireServer peerTwo{loopback(2)};
    WireServer peerThree{loopback(3)};
    LogCapture log;
    WindowRig rig;
    Server one = sampleServer(u"One"_s, loopback(1));
    Server two = sampleServer(u"Two"_s, loopback(2));
    BVServerBank &bankA = rig.bankA();
    BVServerBank &bankB = rig.bankB();
};

using Event = std::function<void(SlowStage &)>;

} // namespace

/// Thumbnails that arrive once their bank shows something else.
class tst_UIControllerLateThumbnails : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void backEnablesTheBankAtOnce();
    void rowsStayAsTheyAre_data();
    void rowsStayAsTheyAre();
    void anotherServersVisualsGetNoPicture();
    void aBankWithoutServersStaysDisabled();
    void aFolderEnteredAgainShowsTheSecondLoad();
    void aNewLibraryDuringALoadShowsItsOwnVisuals();
};

void tst_UIControllerLateThumbnails::backEnablesTheBankAtOnce()
{
    SlowStage stage;
    QVERIFY(stage.open());
    doubleClickRow(stage.bankB, 0);
    QVERIFY(stage.bankA.isEnabled());
    QVERIFY(listOf(stage.bankB).hasFocus());
}

void tst_UIControllerLateThumbnails::rowsStayAsTheyAre_data()
{
    QTest::addColumn<Event>("event");
    QTest::newRow("back") << Event([](auto &stage) { doubleClickRow(stage.bankB, 0); });
    QTest::newRow("back, and into a folder that bank A lacks") << Event([](auto &stage) {
        doubleClickRow(stage.bankB, 0);
        doubleClickRow(stage.bankB, 77);
    });
    QTest::newRow("a library without the folder") << Event([](auto &stage) {
        stage.one.folders[3] = folder(4, u"Four"_s, {visual(9, u"Nine"_s, 9)});
        stage.rig.connectServer(stage.one);
    });
    QTest::newRow("no server chosen after a rename") << Event(
        [](auto &stage) { stage.rig.controller().serverNameChanged(stage.one.uuid, u"Uno"_s); });
    QTest::newRow("server lost") << Event(
        [](auto &stage) { stage.rig.controller().removeServer(stage.one.uuid); });
}

void tst_UIControllerLateThumbnails::rowsStayAsTheyAre()
{
    QFETCH(const Event, event);
    SlowStage stage;
    QVERIFY(stage.open());
    event(stage);
    const auto rows = [&] {
        QStringList texts;
        for (int row = 0; row < listOf(stage.bankA).count(); ++row)
            texts.append(listOf(stage.bankA).item(row)->text());
        return texts;
    };
    const QStringList before = rows();
    const bool wasEnabled = stage.bankA.isEnabled();
    QVERIFY(stage.finishLoad());
    QCOMPARE(rows(), before);
    QCOMPARE(stage.bankA.isEnabled(), wasEnabled);
}

void tst_UIControllerLateThumbnails::anotherServersVisualsGetNoPicture()
{
    SlowStage stage;
    Server three = sampleServer(u"Three"_s, loopback(3));
    three.folders[3] = folder(4, u"Four"_s, {visual(9, u"Nine"_s, 9)});
    stage.rig.connectServer(three);
    QVERIFY(stage.open());
    ControllerRig::choose(stage.bankA, u"Three"_s);
    QCOMPARE(emptyRows(stage.bankA), emptySlots);

    QVERIFY(stage.finishLoad());
    QCOMPARE(emptyRows(stage.bankA), emptySlots);
    for (const QLatin1Char mark : {'+'_L1, '-'_L1})
        QVERIFY(!QPixmapCache::find(mark + u"BVServerBank+"_s + hashOf(9), nullptr));
}

void tst_UIControllerLateThumbnails::aBankWithoutServersStaysDisabled()
{
    SlowStage stage;
    QVERIFY(stage.open());
    stage.rig.controller().removeServer(stage.one.uuid);
    stage.rig.controller().removeServer(stage.two.uuid);
    QVERIFY(!stage.bankA.isEnabled());
    QVERIFY(stage.finishLoad());
    QVERIFY(!stage.bankA.isEnabled());
    QCOMPARE(listOf(stage.bankA).count(), 0);
}

void tst_UIControllerLateThumbnails::aFolderEnteredAgainShowsTheSecondLoad()
{
    SlowStage stage;
    QVERIFY(stage.open());
    doubleClickRow(stage.bankB, 0);
    doubleClickRow(stage.bankB, 3);
    QVERIFY(!stage.bankA.isEnabled());
    QVERIFY(stage.peerOne.waitForRequests(4, "/brenvoka/thumbnails/3/"));
    QVERIFY(stage.finishLoad());
    EVENTUALLY(stage.bankA.isEnabled());
    QCOMPARE(listOf(stage.bankA).item(4)->text(), u"003: Sunset"_s);
    QCOMPARE(listOf(stage.bankA).item(4)->icon().pixmap(128, 96).toImage().pixelColor(2, 2),
             QColor(Qt::red));
}

void tst_UIControllerLateThumbnails::aNewLibraryDuringALoadShowsItsOwnVisuals()
{
    SlowStage stage;
    QVERIFY(stage.open());
    stage.one.folders.removeFirst(); // folder 3 is at another position now
    stage.one.folders[2].files[0].name = u"003: Sunrise"_s;
    stage.rig.connectServer(stage.one);
    QVERIFY(!stage.bankA.isEnabled());
    QVERIFY(stage.peerOne.waitForRequests(4, "/brenvoka/thumbnails/3/"));
    QVERIFY(stage.finishLoad());
    EVENTUALLY(stage.bankA.isEnabled());
    QCOMPARE(listOf(stage.bankA).item(4)->text(), u"003: Sunrise"_s);
    QCOMPARE(emptyRows(stage.bankA), emptySlots - 2);
}

QTEST_MAIN(tst_UIControllerLateThumbnails)
#include "tst_UIControllerLateThumbnails.moc"
