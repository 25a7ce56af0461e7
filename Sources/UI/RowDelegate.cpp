// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/RowDelegate.h"

#include "UI/SingleLine.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>

QString RowDelegate::displayText(const QVariant &value, const QLocale &) const
{
    return singleLine(value.toString());
}

void RowDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->state |= QStyle::State_Enabled;
}

bool RowDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                            const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const int room = view->style()->subElementRect(QStyle::SE_ItemViewItemText, &row, view).width();
    if (row.fontMetrics.horizontalAdvance(row.text) <= room)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), toolTipOf(row.text), view->viewport(), option.rect);
    return true;
}
