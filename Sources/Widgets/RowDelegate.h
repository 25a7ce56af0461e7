// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStyledItemDelegate>

/// Draws rows of one line with texts of up to `longestShownText`. A text that does not fit is
/// elided, and a tool tip shows more of it. Only as many letters are laid out as the row has
/// pixels, because all rows of a folder may be visible with long names.
///
/// A row looks the same while its view is disabled. A bank is disabled from the opening of a folder
/// until its thumbnails are loaded, mostly for some milliseconds; its pictures would flicker.
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
