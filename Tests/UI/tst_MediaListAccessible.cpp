// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "UI/MediaListTesting.h"

namespace {

/// Where a row is within its list.
QRect place(QWidget &list, int row)
{
    return accessible(list).child(row)->rect().translated(-accessible(list).rect().topLeft());
}

} // namespace

/// What a screen reader is told of a bank's list and of its rows: what Qt tells of any list.
class tst_MediaListAccessible final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void listIsWhatQtMakesOfAList();
    void rowIsWhatQtMakesOfARow_data();
    void rowIsWhatQtMakesOfARow();
    void rowIsFoundByItsPlace();
    void currentRowIsTheFocusedOne();
    void rowsAreSelectedThroughTheTable();
    void actionTogglesTheSelection();
    void thereIsNoRowPastTheEnd();
    void rowsThatGoWhileHeldAreNoLongerValid();
    void rowsBeforeAChangeKeepTheirInterfaces();
    void everyRebuildBringsNewRows();
    void listThatGoesTakesItsRowsAlong();
};

void tst_MediaListAccessible::listIsWhatQtMakesOfAList()
{
    Twins twins;
    twins.show();
    QVERIFY(QTest::qWaitForWindowExposed(&twins, 30000));
    auto &ours = accessible(*twins.ours);
    auto &qts = accessible(*twins.qts);

    QCOMPARE(ours.role(), qts.role());
    QCOMPARE(name(ours), name(qts));
    QCOMPARE(ours.childCount(), qts.childCount());
    QCOMPARE(ours.rect().size(), qts.rect().size());
    QCOMPARE(ours.parent(), qts.parent());
    QVERIFY(ours.isValid());
    auto &table = *ours.tableInterface();
    QCOMPARE(table.rowCount(), qts.tableInterface()->rowCount());
    QCOMPARE(table.columnCount(), qts.tableInterface()->columnCount());
    QCOMPARE(table.columnDescription(0), qts.tableInterface()->columnDescription(0));
    QCOMPARE(table.rowDescription(7), qts.tableInterface()->rowDescription(7));
    QVERIFY(!table.caption() && !table.summary());

    for (const bool enabled : {false, true}) {
        twins.setEnabled(enabled);
        QCOMPARE(ours.state().disabled, qts.state().disabled);
        QCOMPARE(ours.state().disabled, !enabled);
        QCOMPARE(ours.state().focusable, qts.state().focusable);
        QCOMPARE(ours.state().invisible, qts.state().invisible);
    }
}

void tst_MediaListAccessible::rowIsWhatQtMakesOfARow_data()
{
    QTest::addColumn<int>("row");
    QTest::newRow("first") << 0;
    QTest::newRow("selected") << 2;
    QTest::newRow("current") << 3;
    QTest::newRow("out of sight") << 39;
}

void tst_MediaListAccessible::rowIsWhatQtMakesOfARow()
{
    QFETCH(const int, row);
    Twins twins;
    twins.show();
    QVERIFY(QTest::qWaitForWindowExposed(&twins, 30000));
    for (QListWidget *const list : {twins.ours, twins.qts}) {
        list->setCurrentRow(3);
        list->item(2)->setSelected(true);
    }
    auto &ours = *accessible(*twins.ours).child(row);
    auto &qts = *accessible(*twins.qts).child(row);

    QCOMPARE(name(ours), name(qts));
    QCOMPARE(ours.role(), qts.role());
    QCOMPARE(ours.childCount(), 0);
    QCOMPARE(place(*twins.ours, row), place(*twins.qts, row));
    QCOMPARE(accessible(*twins.ours).indexOfChild(&ours), row);
    QCOMPARE(ours.parent(), &accessible(*twins.ours));
    QVERIFY(ours.state() == qts.state());
    twins.setEnabled(false);
    QVERIFY(ours.state() == qts.state());

    auto &cell = *ours.tableCellInterface();
    QCOMPARE(cell.rowIndex(), row);
    QCOMPARE(cell.columnIndex(), 0);
    QCOMPARE(cell.rowExtent(), 1);
    QCOMPARE(cell.columnExtent(), 1);
    QCOMPARE(cell.isSelected(), qts.tableCellInterface()->isSelected());
    QCOMPARE(cell.table(), &accessible(*twins.ours));
    QCOMPARE(ours.actionInterface()->actionNames(), qts.actionInterface()->actionNames());
}

void tst_MediaListAccessible::rowIsFoundByItsPlace()
{
    Twins twins;
    twins.show();
    QVERIFY(QTest::qWaitForWindowExposed(&twins, 30000));
    auto &list = accessible(*twins.ours);
    auto *const row = list.child(3);
    const QPoint middle = row->rect().center();
    QCOMPARE(list.childAt(middle.x(), middle.y()), row);
    const QPoint outside = list.rect().topLeft() - QPoint(5, 5);
    QVERIFY(!list.childAt(outside.x(), outside.y()));
    QVERIFY(!row->childAt(middle.x(), middle.y()));
    const Twins others;
    for (QListWidget *const other : {twins.qts, others.ours})
        QCOMPARE(list.indexOfChild(accessible(*other).child(3)), -1);
}

void tst_MediaListAccessible::currentRowIsTheFocusedOne()
{
    Twins twins;
    auto &list = accessible(*twins.ours);
    QVERIFY(!list.focusChild() && !accessible(*twins.qts).focusChild());
    twins.show();
    QVERIFY(QTest::qWaitForWindowActive(&twins, 30000));
    twins.ours->setCurrentRow(4);
    QTest::keyClick(twins.ours, Qt::Key_Down);
    QCOMPARE(list.focusChild(), list.child(5));
    twins.qts->setCurrentRow(5);
    QVERIFY(accessible(*twins.qts).focusChild());
    QVERIFY(list.child(5)->state().focused);
    QVERIFY(!list.child(4)->state().focused);
    // What Qt reports of a list's key presses names the row by its number.
    QAccessibleEvent focus(twins.ours, QAccessible::Focus);
    focus.setChild(5);
    QCOMPARE(focus.accessibleInterface(), list.child(5));
}

void tst_MediaListAccessible::rowsAreSelectedThroughTheTable()
{
    Twins twins;
    auto &table = *accessible(*twins.ours).tableInterface();
    QVERIFY(table.selectRow(2));
    QVERIFY(table.selectRow(4));
    QVERIFY(!table.selectRow(40));
    QVERIFY(!table.unselectRow(-1));
    QCOMPARE(table.selectedRows(), (QList<int>{2, 4}));
    QCOMPARE(table.selectedRowCount(), 2);
    QCOMPARE(table.selectedCellCount(), 2);
    QCOMPARE(table.selectedCells(),
             (QList<QAccessibleInterface *>{table.cellAt(2, 0), table.cellAt(4, 0)}));
    QVERIFY(table.isRowSelected(4) && !table.isRowSelected(3) && !table.isColumnSelected(0));
    QVERIFY(table.unselectRow(4));
    QCOMPARE(table.selectedRows(), QList<int>{2});

    QVERIFY(table.selectColumn(0));
    QCOMPARE(table.selectedRowCount(), 40);
    QCOMPARE(table.selectedColumns(), QList<int>{0});
    QCOMPARE(table.selectedColumnCount(), 1);
    QVERIFY(table.unselectColumn(0));
    QCOMPARE(twins.ours->selectedItems().size(), 0);
    QVERIFY(!table.selectColumn(1) && !table.unselectColumn(1) && !table.isColumnSelected(1));
}

void tst_MediaListAccessible::actionTogglesTheSelection()
{
    Twins twins;
    twins.ours->item(6)->setSelected(true);
    auto &row = *accessible(*twins.ours).child(5);
    auto &action = *row.actionInterface();
    action.doAction(u"something else"_s);
    QVERIFY(!twins.ours->item(5)->isSelected());
    action.doAction(action.toggleAction());
    QVERIFY(twins.ours->item(5)->isSelected() && twins.ours->item(6)->isSelected());
    action.doAction(action.toggleAction());
    QVERIFY(!twins.ours->item(5)->isSelected() && twins.ours->item(6)->isSelected());
    QVERIFY(action.keyBindingsForAction(action.toggleAction()).isEmpty());
    row.setText(QAccessible::Name, u"renamed"_s);
    QCOMPARE(twins.ours->item(5)->text(), u"005: Visual"_s);
}

void tst_MediaListAccessible::thereIsNoRowPastTheEnd()
{
    const Comparison comparison;
    MediaListWidget &list = listOf(comparison.bankA());
    QCOMPARE(accessible(list).childCount(), 256);
    for (const int row : {-1, 256, 257, 100000})
        QVERIFY(!accessible(list).child(row));
    QVERIFY(!accessible(list).tableInterface()->cellAt(0, 1));
    comparison.rig.controller().folderChanged(3);
    QCOMPARE(accessible(list).childCount(), 257);
    QVERIFY(accessible(list).child(256));
}

void tst_MediaListAccessible::rowsThatGoWhileHeldAreNoLongerValid()
{
    const Comparison comparison;
    MediaListWidget &list = listOf(comparison.bankA());
    // Nobody listens to this program's changes: Qt does not announce them, and the row stays held.
    QVERIFY(!QAccessible::isActive());
    auto *const held = accessible(list).child(1);
    const QAccessible::Id id = QAccessible::uniqueId(held);
    comparison.bankA().showFolders();

    QVERIFY(!held->isValid());
    QVERIFY(held->state().invalid);
    QCOMPARE(name(*held), QString());
    QCOMPARE(description(*held), QString());
    QCOMPARE(held->rect(), QRect());
    QCOMPARE(held->tableCellInterface()->rowIndex(), -1);
    QVERIFY(!held->tableCellInterface()->isSelected());
    QCOMPARE(accessible(list).indexOfChild(held), -1);
    held->actionInterface()->doAction(held->actionInterface()->toggleAction());
    QCOMPARE(list.selectedItems().size(), 0);

    // Asking for the row that stands there now ends the old one.
    QCOMPARE(description(*accessible(list).child(1)), differs);
    QVERIFY(!QAccessible::accessibleInterface(id));
}

void tst_MediaListAccessible::rowsBeforeAChangeKeepTheirInterfaces()
{
    const Twins twins;
    auto &list = accessible(*twins.ours);
    const auto idOf = [&](int row) { return QAccessible::uniqueId(list.child(row)); };
    const QAccessible::Id before = idOf(3);
    const QAccessible::Id gone = idOf(4);
    const QAccessible::Id after = idOf(6);
    const auto announce = [&](auto change, int row) {
        QAccessibleTableModelChangeEvent event(twins.ours, change);
        event.setFirstRow(row);
        event.setLastRow(row);
        list.tableInterface()->modelChange(&event);
    };
    announce(QAccessibleTableModelChangeEvent::DataChanged, 0);
    QVERIFY(QAccessible::accessibleInterface(after));
    delete twins.ours->takeItem(4);
    announce(QAccessibleTableModelChangeEvent::RowsRemoved, 4);
    QVERIFY(QAccessible::accessibleInterface(before));
    QVERIFY(!QAccessible::accessibleInterface(gone));
    QVERIFY(!QAccessible::accessibleInterface(after));
    QCOMPARE(name(*list.child(5)), u"006: Visual"_s);
    twins.ours->insertItem(0, u"new"_s);
    announce(QAccessibleTableModelChangeEvent::RowsInserted, 0);
    QVERIFY(!QAccessible::accessibleInterface(before));
    QCOMPARE(name(*list.child(0)), u"new"_s);
    QCOMPARE(name(*list.child(4)), u"003: Visual"_s);
    const QAccessible::Id first = idOf(0);
    twins.ours->clear();
    announce(QAccessibleTableModelChangeEvent::ModelReset, 0);
    QVERIFY(!QAccessible::accessibleInterface(first));
    QCOMPARE(list.childCount(), 0);
}

void tst_MediaListAccessible::everyRebuildBringsNewRows()
{
    const Comparison comparison;
    auto &list = accessible(listOf(comparison.bankA()));
    for (int turn = 0; turn < 5; ++turn) {
        comparison.rig.controller().folderChanged(3);
        for (int row = 0; row < 257; ++row)
            QVERIFY(list.child(row)->isValid());
        QCOMPARE(name(*list.child(4)), u"003: Sunset"_s);
        comparison.rig.controller().backToFolders();
        for (int row = 0; row < 256; ++row)
            QCOMPARE(list.indexOfChild(list.child(row)), row);
        QCOMPARE(name(*list.child(3)), u"Stage"_s);
    }
}

void tst_MediaListAccessible::listThatGoesTakesItsRowsAlong()
{
    QAccessible::Id row = 0;
    QAccessible::Id list = 0;
    {
        const Twins twins;
        row = QAccessible::uniqueId(accessible(*twins.ours).child(3));
        list = QAccessible::uniqueId(&accessible(*twins.ours));
        QVERIFY(QAccessible::accessibleInterface(row));
    }
    QVERIFY(!QAccessible::accessibleInterface(list));
    QVERIFY(!QAccessible::accessibleInterface(row));
}

QTEST_MAIN(tst_MediaListAccessible)
#include "tst_MediaListAccessible.moc"
