// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QStyledItemDelegate>

/// Draws rows whose texts come from the network: whatever is in a name, it stays within its row and
/// is elided where it does not fit, and then a tool tip tells all of it.
///
/// A row looks the same while its view is disabled. A bank is, from the opening of a folder until
/// its thumbnails are there, mostly for some milliseconds, and all its pictures would flicker.
class RowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QString displayText(const QVariant &value, const QLocale &locale) const override;

public slots:
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
