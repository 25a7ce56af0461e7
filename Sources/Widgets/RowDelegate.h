// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStyledItemDelegate>

/// Draws rows of one line each, with texts of up to `longestShownText`. A text is elided where it
/// does not fit, and then a tool tip shows more of it. No more letters are laid out than the row
/// has pixels: all rows of a folder may be visible, with long names.
///
/// A row looks the same while its view is disabled. A bank is, from the opening of a folder until
/// its thumbnails are there, mostly for some milliseconds, and all its pictures would flicker.
class RowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

public slots:
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
