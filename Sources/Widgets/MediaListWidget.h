// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QListWidget>

/// The list of a bank. A drag inside it never moves a row: it only reports which slot should go
/// where, since the move happens on the server and the rows follow when the library comes back.
///
/// Only a single dragged row can be dropped, and only on the list that it was dragged from.
class MediaListWidget final : public QListWidget
{
    Q_OBJECT

public:
    explicit MediaListWidget(QWidget *parent);

signals:
    /// A row was dropped on a row, possibly on itself. Both are slot numbers, as the first three
    /// characters of the rows' texts give them; 0 for a text that doesn't begin with a number.
    void moveItem(int fromIdx, int toIdx);

protected:
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
};
