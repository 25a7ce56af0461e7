// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Pixels.h"
#include "Support/Wait.h"

#include <QTimer>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int emptySlots = 255;

qsizetype emptyRows(const BVServerBank &bank)
{
    return listOf(bank).findItems(u": EMPTY"_s, Qt::MatchEndsWith).size();
}

/// Bank A shows server One and is loading its folder 3: One sends the thumbnails only when the test
/// answers. Bank B shows Two, whose folder 3 is empty and opens at once.
class SlowFixture final : public WindowFixture
{
public:
    SlowFixture()
    {
        two.folders[3].files.clear();
        connectServer(one);
        connectServer(two);
    }
    [[nodiscard]] bool open()
    {
        QPixmapCache::clear();
        if (!show())
            return false;
        doubleClickRow(bankB(), 3);
        return peerOne.waitForRequests(2) && !bankA().isEnabled() && bankB().isEnabled();
    }
    /// Answers every thumbnail request of folder 3 and waits until all are handled.
    [[nodiscard]] bool finishLoad(const QColor &color = Qt::red)
    {
        answer(png(color));
        return waitFor([&] { return handledThumbnails() >= 2; });
    }
    void answer(const QByteArray &picture) const
    {
        for (const WireRequest &request : peerOne.requests("/brenvoka/thumbnails/3/"))
            request.answer(picture);
    }
    [[nodiscard]] qsizetype handledThumbnails()
    {
        return log.texts().filter(u"Downloaded was a success"_s).size();
    }

    WireServer peerOne{loopback(1)};
    WireServer peerTwo{loopback(2)};
    WireServer peerThree{loopback(3)};
    LogCapture log;
    Server one = sampleServer(u"One"_s, loopback(1));
    Server two = sampleServer(u"Two"_s, loopback(2));
};

using Event = std::function<void(SlowFixture &)>;

} // namespace

/// Thumbnails that arrive after their bank has started to show something else.
class tst_UIControllerLateThumbnails : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void backEnablesTheBankAtOnce()
    {
        SlowFixture fixture;
        QVERIFY(fixture.open());
        doubleClickRow(fixture.bankB(), 0);
        QVERIFY(fixture.bankA().isEnabled());
        QVERIFY(listOf(fixture.bankB()).hasFocus());
    }

    void lateThumbnailsDoNotChangeTheRows_data()
    {
        QTest::addColumn<Event>("event");
        QTest::newRow("back") << Event([](auto &fixture) { doubleClickRow(fixture.bankB(), 0); });
        QTest::newRow("back, and into a folder that bank A lacks") << Event([](auto &fixture) {
            doubleClickRow(fixture.bankB(), 0);
            doubleClickRow(fixture.bankB(), 77);
        });
        QTest::newRow("a library without the folder") << Event([](auto &fixture) {
            fixture.one.folders[3] = folder(4, u"Four"_s, {cachedVisual(9, u"Nine"_s, 9)});
            fixture.connectServer(fixture.one);
        });
        QTest::newRow("no server chosen after a rename") << Event([](auto &fixture) {
            fixture.controller().serverNameChanged(fixture.one.uuid, u"Uno"_s);
        });
        QTest::newRow("server lost")
            << Event([](auto &fixture) { fixture.controller().removeServer(fixture.one.uuid); });
    }
    void lateThumbnailsDoNotChangeTheRows()
    {
        QFETCH(const Event, event);
        SlowFixture fixture;
        QVERIFY(fixture.open());
        event(fixture);
        const QStringList before = textsOf(listOf(fixture.bankA()));
        const bool wasEnabled = fixture.bankA().isEnabled();
        QVERIFY(fixture.finishLoad());
        QCOMPARE(textsOf(listOf(fixture.bankA())), before);
        QCOMPARE(fixture.bankA().isEnabled(), wasEnabled);
    }

    /// The same after the first of two pictures has been decoded, while the other one waits for its
    /// turn.
    void waitingThumbnailsDoNotChangeTheRows_data() { lateThumbnailsDoNotChangeTheRows_data(); }
    void waitingThumbnailsDoNotChangeTheRows()
    {
        QFETCH(const Event, event);
        SlowFixture fixture;
        QVERIFY(fixture.open());
        QStringList before;
        bool wasEnabled = true;
        QTimer timer; // once in each turn of the event loop
        connect(&timer, &QTimer::timeout, this, [&] {
            if (fixture.handledThumbnails() == 0)
                return;
            timer.stop();
            event(fixture);
            before = textsOf(listOf(fixture.bankA()));
            wasEnabled = fixture.bankA().isEnabled();
        });
        timer.start(0);
        fixture.answer(png(Qt::red, {3000, 3000})); // longer to decode than a turn may last
        EVENTUALLY_COMPARE(fixture.handledThumbnails(), 2);
        QVERIFY(!timer.isActive());
        QCOMPARE(textsOf(listOf(fixture.bankA())), before);
        QCOMPARE(fixture.bankA().isEnabled(), wasEnabled);
    }

    void anotherServersVisualsGetNoPicture()
    {
        SlowFixture fixture;
        Server three = sampleServer(u"Three"_s, loopback(3));
        three.folders[3] = folder(4, u"Four"_s, {cachedVisual(9, u"Nine"_s, 9)});
        fixture.connectServer(three);
        QVERIFY(fixture.open());
        ControllerFixture::choose(fixture.bankA(), u"Three"_s);
        QCOMPARE(emptyRows(fixture.bankA()), emptySlots);

        QVERIFY(fixture.finishLoad());
        QCOMPARE(emptyRows(fixture.bankA()), emptySlots);
        for (const QLatin1Char mark : {'+'_L1, '-'_L1})
            QVERIFY(!QPixmapCache::find(mark + u"BVServerBank+"_s + hashOf(9), nullptr));
    }

    void aBankWithoutServersStaysDisabled()
    {
        SlowFixture fixture;
        QVERIFY(fixture.open());
        fixture.controller().removeServer(fixture.one.uuid);
        fixture.controller().removeServer(fixture.two.uuid);
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(fixture.finishLoad());
        QVERIFY(!fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).count(), 0);
    }

    void aFolderEnteredAgainShowsTheSecondLoad()
    {
        SlowFixture fixture;
        QVERIFY(fixture.open());
        doubleClickRow(fixture.bankB(), 0);
        doubleClickRow(fixture.bankB(), 3);
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(fixture.peerOne.waitForRequests(4, "/brenvoka/thumbnails/3/"));
        QVERIFY(fixture.finishLoad());
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
        QCOMPARE(listOf(fixture.bankA()).item(4)->icon().pixmap(128, 96).toImage().pixelColor(2, 2),
                 QColor(Qt::red));
    }

    void aNewLibraryDuringALoadShowsItsOwnVisuals()
    {
        SlowFixture fixture;
        QVERIFY(fixture.open());
        fixture.one.folders.removeFirst(); // moves folder 3 to another position
        fixture.one.folders[2].files[0].name = u"003: Sunrise"_s;
        fixture.connectServer(fixture.one);
        QVERIFY(!fixture.bankA().isEnabled());
        QVERIFY(fixture.peerOne.waitForRequests(4, "/brenvoka/thumbnails/3/"));
        QVERIFY(fixture.finishLoad());
        EVENTUALLY(fixture.bankA().isEnabled());
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunrise"_s);
        QCOMPARE(emptyRows(fixture.bankA()), emptySlots - 2);
    }
};

QTEST_MAIN(tst_UIControllerLateThumbnails)
#include "tst_UIControllerLateThumbnails.moc"
