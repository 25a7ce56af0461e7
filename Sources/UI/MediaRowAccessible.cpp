// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/MediaRowAccessible.h"

#include "UI/BVServerBank.h"
#include "UI/MediaListWidget.h"

namespace {

const BVServerBank *bankAround(const QWidget *widget)
{
    while (widget && !qobject_cast<const BVServerBank *>(widget))
        widget = widget->parentWidget();
    return static_cast<const BVServerBank *>(widget);
}

} // namespace

MediaRowAccessible::MediaRowAccessible(MediaListWidget *owner, const QModelIndex &rowOfOwner)
    : list(owner)
    , index(rowOfOwner)
{
}

bool MediaRowAccessible::isValid() const
{
    return list && index.isValid();
}

QObject *MediaRowAccessible::object() const
{
    return nullptr;
}

QWindow *MediaRowAccessible::window() const
{
    const QAccessibleInterface *const around = parent();
    return around ? around->window() : nullptr;
}

QAccessibleInterface *MediaRowAccessible::parent() const
{
    return QAccessible::queryAccessibleInterface(list);
}

QAccessibleInterface *MediaRowAccessible::child(int) const
{
    return nullptr;
}

QAccessibleInterface *MediaRowAccessible::childAt(int, int) const
{
    return nullptr;
}

int MediaRowAccessible::childCount() const
{
    return 0;
}

int MediaRowAccessible::indexOfChild(const QAccessibleInterface *) const
{
    return -1;
}

QString MediaRowAccessible::text(QAccessible::Text kind) const
{
    switch (kind) {
    case QAccessible::Name:
        return index.data().toString();
    case QAccessible::Description:
        return markText();
    default:
        return {};
    }
}

void MediaRowAccessible::setText(QAccessible::Text, const QString &)
{
}

QString MediaRowAccessible::markText() const
{
    const BVServerBank *const bank = bankAround(list);
    const std::optional<bool> same = bank ? bank->rowMark(rowIndex()) : std::nullopt;
    if (!same)
        return {};
    return *same ? MediaListWidget::tr("same on both servers") : MediaListWidget::tr("differs");
}

QRect MediaRowAccessible::rect() const
{
    if (!isValid())
        return {};
    const QRect place = list->visualRect(index);
    return place.isNull() ? place
                          : QRect(list->viewport()->mapToGlobal(place.topLeft()), place.size());
}

QAccessible::Role MediaRowAccessible::role() const
{
    return QAccessible::ListItem;
}

QAccessible::State MediaRowAccessible::state() const
{
    QAccessible::State state;
    if (!isValid()) {
        state.invalid = true;
        return state;
    }
    const QRect around(list->mapToGlobal(QPoint(0, 0)), list->size());
    state.invisible = !around.intersects(rect());
    state.selected = isSelected();
    state.focused = list->currentIndex() == index;
    if (index.flags() & Qt::ItemIsSelectable) {
        state.selectable = true;
        state.focusable = true;
        state.multiSelectable = list->selectionMode() == QAbstractItemView::MultiSelection;
        state.extSelectable = list->selectionMode() == QAbstractItemView::ExtendedSelection;
    }
    return state;
}

void *MediaRowAccessible::interface_cast(QAccessible::InterfaceType type)
{
    switch (type) {
    case QAccessible::TableCellInterface:
        return static_cast<QAccessibleTableCellInterface *>(this);
    case QAccessible::ActionInterface:
        return static_cast<QAccessibleActionInterface *>(this);
    default:
        return nullptr;
    }
}

bool MediaRowAccessible::isSelected() const
{
    return isValid() && list->selectionModel()->isSelected(index);
}

QList<QAccessibleInterface *> MediaRowAccessible::columnHeaderCells() const
{
    return {};
}

QList<QAccessibleInterface *> MediaRowAccessible::rowHeaderCells() const
{
    return {};
}

int MediaRowAccessible::columnIndex() const
{
    return index.column();
}

int MediaRowAccessible::rowIndex() const
{
    return index.row();
}

int MediaRowAccessible::columnExtent() const
{
    return 1;
}

int MediaRowAccessible::rowExtent() const
{
    return 1;
}

QAccessibleInterface *MediaRowAccessible::table() const
{
    return parent();
}

QStringList MediaRowAccessible::actionNames() const
{
    return {toggleAction()};
}

void MediaRowAccessible::doAction(const QString &actionName)
{
    if (isValid() && actionName == toggleAction())
        list->selectionModel()->select(index, QItemSelectionModel::Toggle);
}

QStringList MediaRowAccessible::keyBindingsForAction(const QString &) const
{
    return {};
}
