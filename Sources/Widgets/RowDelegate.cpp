// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/RowDelegate.h"

#include "Text/ShownText.h"
#include "Widgets/ToolTip.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QToolTip>

void RowDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->state |= QStyle::State_Enabled;
    if (option->rect.width() > 0)
        option->text = beginningOf(option->text, option->rect.width());
}

bool RowDelegate::helpEvent(QHelpEvent *event, QAbstractItemView *view,
                            const QStyleOptionViewItem &option, const QModelIndex &index)
{
    if (event->type() != QEvent::ToolTip || !index.isValid())
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const int room = view->style()->subElementRect(QStyle::SE_ItemViewItemText, &row, view).width();
    const QString text = displayText(index.data(), option.locale);
    if (row.fontMetrics.horizontalAdvance(text) <= room)
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), toolTipOf(text), view->viewport(), option.rect);
    return true;
}
