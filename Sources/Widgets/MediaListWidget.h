// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QListWidget>

/// A list whose rows begin with slot numbers. A drag inside it does not move a row but only reports
/// the two slots: the server moves the visual, and the rows follow when its library is read again.
///
/// Only a single row can be dropped, and only on the list from which it was dragged.
class MediaListWidget final : public QListWidget
{
    Q_OBJECT

public:
    explicit MediaListWidget(QWidget *parent);

signals:
    /// A row was dropped on a row, possibly on itself. Both are slot numbers: the first three
    /// characters of the rows' texts, or 0 for a text that does not begin with a number.
    void moveItem(int fromIdx, int toIdx);

protected:
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
};
