// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/MediaListAccessible.h"

#include "UI/MediaListWidget.h"
#include "UI/MediaRowAccessible.h"

namespace {

bool select(const QListWidget &list, int row, bool selected)
{
    QListWidgetItem *const item = list.item(row);
    if (item)
        item->setSelected(selected);
    return item;
}

} // namespace

QAccessibleInterface *MediaListAccessible::make(const QString &, QObject *object)
{
    auto *const list = qobject_cast<MediaListWidget *>(object);
    return list ? new MediaListAccessible(list) : nullptr;
}

MediaListAccessible::MediaListAccessible(MediaListWidget *list)
    : QAccessibleWidget(list, QAccessible::List)
{
}

MediaListAccessible::~MediaListAccessible()
{
    forgetRows(0);
}

MediaListWidget *MediaListAccessible::list() const
{
    return static_cast<MediaListWidget *>(object());
}

QAccessibleInterface *MediaListAccessible::child(int row) const
{
    if (row < 0 || row >= rowCount())
        return nullptr;
    // Qt tells of a change of rows only while somebody listens.
    if (const auto held = rows.find(row); held != rows.end()) {
        auto *const interface = QAccessible::accessibleInterface(held->second);
        if (interface && indexOfChild(interface) == row)
            return interface;
        forgetRows(row);
    }
    auto *const made = new MediaRowAccessible(list(), list()->model()->index(row, 0));
    rows.emplace(row, QAccessible::registerAccessibleInterface(made));
    return made;
}

void MediaListAccessible::forgetRows(int first) const
{
    for (auto row = rows.lower_bound(first); row != rows.end(); row = rows.erase(row))
        QAccessible::deleteAccessibleInterface(row->second);
}

QAccessibleInterface *MediaListAccessible::childAt(int x, int y) const
{
    return child(list()->indexAt(list()->viewport()->mapFromGlobal(QPoint(x, y))).row());
}

int MediaListAccessible::childCount() const
{
    return rowCount();
}

int MediaListAccessible::indexOfChild(const QAccessibleInterface *child) const
{
    const auto *const row = dynamic_cast<const MediaRowAccessible *>(child);
    return row && row->parent() == this ? row->rowIndex() : -1;
}

QAccessibleInterface *MediaListAccessible::focusChild() const
{
    return child(list()->currentRow());
}

void *MediaListAccessible::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TableInterface)
        return static_cast<QAccessibleTableInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessibleInterface *MediaListAccessible::caption() const
{
    return nullptr;
}

QAccessibleInterface *MediaListAccessible::summary() const
{
    return nullptr;
}

QAccessibleInterface *MediaListAccessible::cellAt(int row, int column) const
{
    return column == 0 ? child(row) : nullptr;
}

int MediaListAccessible::selectedCellCount() const
{
    return selectedRowCount();
}

QList<QAccessibleInterface *> MediaListAccessible::selectedCells() const
{
    QList<QAccessibleInterface *> cells;
    for (const int row : selectedRows())
        cells.append(child(row));
    return cells;
}

QString MediaListAccessible::columnDescription(int column) const
{
    return list()->model()->headerData(column, Qt::Horizontal).toString();
}

QString MediaListAccessible::rowDescription(int row) const
{
    return list()->model()->headerData(row, Qt::Vertical).toString();
}

int MediaListAccessible::selectedColumnCount() const
{
    return int(selectedColumns().size());
}

int MediaListAccessible::selectedRowCount() const
{
    return int(selectedRows().size());
}

int MediaListAccessible::columnCount() const
{
    return 1;
}

int MediaListAccessible::rowCount() const
{
    return list()->count();
}

QList<int> MediaListAccessible::selectedColumns() const
{
    return isColumnSelected(0) ? QList<int>{0} : QList<int>();
}

QList<int> MediaListAccessible::selectedRows() const
{
    QList<int> selected;
    const QModelIndexList indexes = list()->selectionModel()->selectedRows();
    for (const QModelIndex &index : indexes)
        selected.append(index.row());
    return selected;
}

bool MediaListAccessible::isColumnSelected(int column) const
{
    return list()->selectionModel()->isColumnSelected(column);
}

bool MediaListAccessible::isRowSelected(int row) const
{
    return list()->selectionModel()->isRowSelected(row);
}

bool MediaListAccessible::selectRow(int row)
{
    return select(*list(), row, true);
}

bool MediaListAccessible::selectColumn(int column)
{
    if (column != 0)
        return false;
    list()->selectAll();
    return true;
}

bool MediaListAccessible::unselectRow(int row)
{
    return select(*list(), row, false);
}

bool MediaListAccessible::unselectColumn(int column)
{
    if (column != 0)
        return false;
    list()->clearSelection();
    return true;
}

void MediaListAccessible::modelChange(QAccessibleTableModelChangeEvent *event)
{
    switch (event->modelChangeType()) {
    case QAccessibleTableModelChangeEvent::ModelReset:
        forgetRows(0);
        break;
    case QAccessibleTableModelChangeEvent::RowsInserted:
    case QAccessibleTableModelChangeEvent::RowsRemoved:
        forgetRows(event->firstRow());
        break;
    default:
        break;
    }
}
