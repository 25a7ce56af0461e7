// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/MediaListWidget.h"

#include "Support/FailOnWarning.h"
#include "Support/RowDrag.h"
#include "Support/Wait.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::Literals::StringLiterals;

Q_DECLARE_METATYPE(QListView::ViewMode)

namespace {

/// Two lists side by side, set up as the banks set them up at the slots level.
class ListsFixture final : public QWidget
{
public:
    ListsFixture()
    {
        auto *layout = new QHBoxLayout(this);
        for (auto *list : {&a, &b}) {
            layout->addWidget(list);
            list->setDragEnabled(true);
            list->setDragDropOverwriteMode(true);
            list->setDragDropMode(QAbstractItemView::InternalMove);
            list->setDefaultDropAction(Qt::MoveAction);
            list->setSelectionMode(QAbstractItemView::ExtendedSelection);
            list->setResizeMode(QListView::Adjust);
            list->setSpacing(4);
            list->addItems({u"Back"_s, u"000: NO VISUAL"_s, u"001: Sunset"_s, u"002: EMPTY"_s,
                            u"017 Rain"_s, u"7: Snow"_s, u"<b>x</b>"_s});
            for (int row = 0; row < list->count(); ++row)
                list->item(row)->setSizeHint({153, 24});
        }
        resize(700, 500);
    }

    bool open()
    {
        show();
        return QTest::qWaitForWindowExposed(this, patience);
    }

    void setViewMode(QListView::ViewMode mode)
    {
        for (auto *list : {&a, &b}) {
            list->setViewMode(mode);
            list->setMovement(QListView::Static);
            list->setDragEnabled(true);
            list->viewport()->setAcceptDrops(true);
        }
    }

    MediaListWidget a{this};
    MediaListWidget b{this};
};

QStringList texts(const MediaListWidget &list)
{
    QStringList all;
    for (int row = 0; row < list.count(); ++row)
        all << list.item(row)->text();
    return all;
}

} // namespace

class TestMediaListWidget final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void initTestCase()
    {
        QVERIFY2(QGuiApplication::platformName() != "offscreen"_L1,
                 "the offscreen platform has no drag and drop: run with -platform minimal");
    }

    void dropReportsSlotNumbers_data()
    {
        QTest::addColumn<int>("dragged");
        QTest::addColumn<int>("target");
        QTest::addColumn<int>("fromIdx");
        QTest::addColumn<int>("toIdx");
        QTest::newRow("file to empty slot") << 2 << 3 << 1 << 2;
        QTest::newRow("upwards") << 4 << 2 << 17 << 1;
        QTest::newRow("empty slot to file") << 3 << 4 << 2 << 17;
        QTest::newRow("on itself") << 2 << 2 << 1 << 1;
        QTest::newRow("on Back") << 2 << 0 << 1 << 0;
        QTest::newRow("on NO VISUAL") << 2 << 1 << 1 << 0;
        QTest::newRow("Back itself") << 0 << 4 << 0 << 17;
        QTest::newRow("number of one digit and a colon is no number") << 2 << 5 << 1 << 0;
        QTest::newRow("no number at all") << 6 << 3 << 0 << 2;
    }

    void dropReportsSlotNumbers()
    {
        QFETCH(int, dragged);
        QFETCH(int, target);
        ListsFixture fixture;
        QVERIFY(fixture.open());
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        const auto before = texts(fixture.a);
        QVERIFY(dragRow(fixture.a, dragged, fixture.a, target));
        QCOMPARE(spy.size(), 1);
        QTEST(spy.first().at(0).toInt(), "fromIdx");
        QTEST(spy.first().at(1).toInt(), "toIdx");
        QCOMPARE(texts(fixture.a), before);
    }

    void dragNeverMovesARow_data()
    {
        QTest::addColumn<QListView::ViewMode>("mode");
        QTest::newRow("list view") << QListView::ListMode;
        QTest::newRow("icon view") << QListView::IconMode;
    }

    void dragNeverMovesARow()
    {
        QFETCH(QListView::ViewMode, mode);
        ListsFixture fixture;
        fixture.setViewMode(mode);
        QVERIFY(fixture.open());
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        const auto before = texts(fixture.a);
        const auto place = fixture.a.visualItemRect(fixture.a.item(2));
        QVERIFY(dragRow(fixture.a, 2, fixture.a, 4));
        QCOMPARE(spy.size(), 1);
        QCOMPARE(texts(fixture.a), before);
        QCOMPARE(fixture.a.visualItemRect(fixture.a.item(2)), place);
    }

    void dropOnAGapReportsNothing()
    {
        ListsFixture fixture;
        QVERIFY(fixture.open());
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        const auto upper = fixture.a.visualItemRect(fixture.a.item(4));
        const auto lower = fixture.a.visualItemRect(fixture.a.item(5));
        const QPoint gap(upper.center().x(), (upper.bottom() + lower.top()) / 2);
        QVERIFY(!fixture.a.itemAt(gap));
        QVERIFY(drag(fixture, middleOf(fixture.a, 2), fixture.a.viewport()->mapTo(&fixture, gap)));
        QCOMPARE(spy.size(), 0);
    }

    void twoSelectedRowsCannotBeDropped()
    {
        ListsFixture fixture;
        QVERIFY(fixture.open());
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        QTest::mouseClick(fixture.windowHandle(), Qt::LeftButton, {}, middleOf(fixture.a, 2));
        QTest::mouseClick(fixture.windowHandle(), Qt::LeftButton, Qt::ControlModifier,
                          middleOf(fixture.a, 4));
        QCOMPARE(fixture.a.selectedItems().size(), 2);
        QVERIFY(dragRow(fixture.a, 4, fixture.a, 3));
        QCOMPARE(fixture.a.selectedItems().size(), 2);
        QCOMPARE(spy.size(), 0);
    }

    void dragFromTheOtherListCannotBeDropped()
    {
        ListsFixture fixture;
        QVERIFY(fixture.open());
        QSignalSpy spyA(&fixture.a, &MediaListWidget::moveItem);
        QSignalSpy spyB(&fixture.b, &MediaListWidget::moveItem);
        const auto before = texts(fixture.b);
        QTest::mouseClick(fixture.windowHandle(), Qt::LeftButton, {}, middleOf(fixture.b, 2));
        QVERIFY(dragRow(fixture.a, 2, fixture.b, 4));
        QCOMPARE(spyA.size() + spyB.size(), 0);
        QCOMPARE(texts(fixture.a), before);
        QCOMPARE(texts(fixture.b), before);
    }

    void nothingCanBeDraggedWithDragSwitchedOff()
    {
        ListsFixture fixture;
        fixture.a.setDragEnabled(false);
        fixture.a.viewport()->setAcceptDrops(false);
        QVERIFY(fixture.open());
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        QVERIFY(!dragRow(fixture.a, 2, fixture.a, 4));
        QCOMPARE(spy.size(), 0);
    }

    void dragFromOutsideMayEnterButNotDrop()
    {
        ListsFixture fixture;
        QVERIFY(fixture.open());
        fixture.a.item(2)->setSelected(true);
        QSignalSpy spy(&fixture.a, &MediaListWidget::moveItem);
        QMimeData data;
        data.setText(u"003: from elsewhere"_s);
        auto *viewport = fixture.a.viewport();
        const auto pos = fixture.a.visualItemRect(fixture.a.item(4)).center();
        QDragEnterEvent enter(pos, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &enter);
        QVERIFY(enter.isAccepted());
        QDragMoveEvent move(pos, Qt::MoveAction, &data, Qt::LeftButton, {});
        move.accept(); // as Qt delivers it after an accepted enter event
        QApplication::sendEvent(viewport, &move);
        QVERIFY(!move.isAccepted());
        QDropEvent drop(pos, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &drop);
        QVERIFY(!drop.isAccepted());
        QCOMPARE(spy.size(), 0);
    }
};

QTEST_MAIN(TestMediaListWidget)
#include "tst_MediaListWidget.moc"
