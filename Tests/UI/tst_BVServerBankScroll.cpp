// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QScrollBar>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The number of rows at each paint event of a list.
class PaintLog final : public QObject
{
public:
    explicit PaintLog(const MediaListWidget &watched)
        : list(watched)
    {
        list.viewport()->installEventFilter(this);
    }

    QList<int> rows;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            rows.append(list.count());
        return false;
    }

private:
    const MediaListWidget &list;
};

/// Two servers with full folders in a window, in list view or in icon view.
class ScrollFixture final : public WindowFixture
{
public:
    explicit ScrollFixture(bool listView)
    {
        model.selectedViewMode = listView;
        connectServer(one);
        connectServer(two);
        one.connected = two.connected = true;
        listView ? controller().setListMode() : controller().setGridMode();
    }

    [[nodiscard]] bool open() { return show() && scrollTo(100); }
    [[nodiscard]] bool scrollTo(int row)
    {
        bankA().scrollToTop(row);
        return barA.value() > 0 && inStep();
    }
    [[nodiscard]] bool inStep() const { return barA.value() == barB.value(); }
    /// Changes the record of the first server, as a new download of its library does.
    void changeLibrary(const QString &name)
    {
        one.folders[0].name = name;
        model.upsertServer(one);
    }

    Server one = sampleServer(u"One"_s, loopback(1));
    Server two = sampleServer(u"Two"_s, loopback(2));
    QScrollBar &barA = *listOf(bankA()).verticalScrollBar();
    QScrollBar &barB = *listOf(bankB()).verticalScrollBar();
};

} // namespace

/// The rows of a bank keep their position, and are never painted during a rebuild.
class tst_BVServerBankScroll final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void newContentKeepsThePosition_data() { addViews(); }
    void newContentKeepsThePosition()
    {
        QFETCH(const bool, listView);
        ScrollFixture fixture(listView);
        QVERIFY(fixture.open());
        for (const int folder : {-1, 3, 77}) {
            if (folder != -1)
                fixture.controller().folderChanged(folder);
            QVERIFY(fixture.scrollTo(60));
            const int position = fixture.barA.value();
            for (const QUuid &server : {fixture.one.uuid, fixture.two.uuid}) {
                fixture.changeLibrary(server.toString());
                emit fixture.controller().serverContentChanged(server);
                QCoreApplication::processEvents(); // the rows are laid out
                QCOMPARE(fixture.barA.value(), position);
                QCOMPARE(fixture.barB.value(), position);
            }
            fixture.controller().serverConnected(fixture.one.uuid, QHostAddress(loopback(1)));
            QCoreApplication::processEvents();
            QCOMPARE(fixture.barA.value(), position);
            QCOMPARE(fixture.barB.value(), position);
        }
    }

    void enteringAFolderShowsItsTop_data() { addViews(); }
    void enteringAFolderShowsItsTop()
    {
        QFETCH(const bool, listView);
        ScrollFixture fixture(listView);
        QVERIFY(fixture.open());
        const int position = fixture.barA.value();
        for (const int folder : {3, 77}) {
            fixture.controller().folderChanged(folder);
            QCoreApplication::processEvents();
            QCOMPARE(fixture.barA.value(), 0);
            QCOMPARE(fixture.barB.value(), 0);
            QVERIFY(fixture.scrollTo(60));
            fixture.controller().backToFolders();
            QCoreApplication::processEvents();
            QCOMPARE(fixture.barA.value(), position);
            QCOMPARE(fixture.barB.value(), position);
        }
    }

    void sizeAndViewKeepTheFirstRow_data() { addViews(); }
    void sizeAndViewKeepTheFirstRow()
    {
        QFETCH(const bool, listView);
        ScrollFixture fixture(listView);
        UIController &controller = fixture.controller();
        QVERIFY(fixture.open());
        const QList<void (UIController::*)()> changes{
            &UIController::setSmallSize,  &UIController::setLargeSize, &UIController::setGridMode,
            &UIController::setMediumSize, &UIController::setListMode,  &UIController::setLargeSize};
        for (const auto change : changes) {
            const int row = fixture.bankA().firstVisibleRow();
            QVERIFY2(row > 75 && row <= 100, qPrintable(QString::number(row)));
            (controller.*change)();
            QCoreApplication::processEvents();
            const MediaListWidget &list = listOf(fixture.bankA());
            const QRect place = list.visualItemRect(list.item(row));
            QVERIFY2(place.top() >= 0 && place.top() < 10,
                     qPrintable(QString::number(place.top())));
            QVERIFY(fixture.inStep());
        }
        fixture.barA.setValue(0);
        for (const auto change : changes) {
            (controller.*change)();
            QCoreApplication::processEvents();
            QCOMPARE(fixture.barA.value(), 0);
        }
    }

    void aSingleBankKeepsItsPosition_data() { addViews(); }
    /// Either bank can be the only one with rows.
    void aSingleBankKeepsItsPosition()
    {
        QFETCH(const bool, listView);
        for (const bool isBankA : {true, false}) {
            ScrollFixture fixture(listView);
            UIController &controller = fixture.controller();
            QVERIFY(fixture.open());
            controller.removeServer(isBankA ? fixture.two.uuid : fixture.one.uuid);
            const BVServerBank &bank = isBankA ? fixture.bankA() : fixture.bankB();
            for (const auto change : {&UIController::setSmallSize, &UIController::setLargeSize}) {
                const int row = bank.firstVisibleRow();
                QVERIFY2(row > 75 && row <= 100, qPrintable(QString::number(row)));
                (controller.*change)();
                QCoreApplication::processEvents();
                const QRect place = listOf(bank).visualItemRect(listOf(bank).item(row));
                QVERIFY2(place.top() >= 0 && place.top() < 10,
                         qPrintable(QString::number(place.top())));
            }
        }
    }

    void aLostServerKeepsTheOtherBanksPosition_data() { addViews(); }
    void aLostServerKeepsTheOtherBanksPosition()
    {
        QFETCH(const bool, listView);
        ScrollFixture fixture(listView);
        QVERIFY(fixture.open());
        const int position = fixture.barA.value();
        fixture.controller().removeServer(fixture.two.uuid);
        EVENTUALLY_COMPARE(fixture.barB.maximum(), 0);
        QCOMPARE(listOf(fixture.bankB()).count(), 0);
        QCOMPARE(fixture.barA.value(), position);
        EVENTUALLY(!fixture.barB.isVisible());
    }

    void noPaintingShowsAPartialRebuild_data() { addViews(); }
    void noPaintingShowsAPartialRebuild()
    {
        QFETCH(const bool, listView);
        ScrollFixture fixture(listView);
        QVERIFY(fixture.open());
        const PaintLog log(listOf(fixture.bankA()));
        fixture.controller().folderChanged(3);
        fixture.controller().backToFolders();
        emit fixture.controller().serverContentChanged(fixture.one.uuid);
        QVERIFY(log.rows.isEmpty()); // a rebuild does not paint
        EVENTUALLY(!log.rows.isEmpty());
        QCOMPARE(QSet<int>(log.rows.begin(), log.rows.end()), QSet<int>{256});
    }

    void iconsFlowAgainWhenTheWindowGrows()
    {
        ScrollFixture fixture(false);
        QVERIFY(fixture.open());
        const MediaListWidget &list = listOf(fixture.bankA());
        fixture.barA.setValue(0);
        int columns = 0;
        for (const QSize size : {QSize(1163, 670), QSize(1920, 1040), QSize(3840, 2100)}) {
            fixture.window->resize(size);
            EVENTUALLY(list.visualItemRect(list.item(columns)).top() < 10);
            while (columns < 255 && list.visualItemRect(list.item(columns)).top() < 10)
                ++columns;
            QCOMPARE(list.count(), 256);
            QVERIFY(columns * 80 <= list.viewport()->width());
            QCOMPARE(list.horizontalScrollBar()->maximum(), 0);
            const QRect last = list.visualItemRect(list.item(255));
            QVERIFY(last.bottom() - fixture.barA.maximum() <= list.viewport()->height());
        }
    }

private:
    static void addViews()
    {
        QTest::addColumn<bool>("listView");
        QTest::newRow("list") << true;
        QTest::newRow("icons") << false;
    }
};

QTEST_MAIN(tst_BVServerBankScroll)
#include "tst_BVServerBankScroll.moc"
