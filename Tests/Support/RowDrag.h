// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QApplication>
#include <QDrag>
#include <QListWidget>
#include <QTest>
#include <QTimer>
#include <QWindow>

#include <chrono>

/// Drags with the mouse from one point of a shown window to another. Returns whether a drag
/// started. If the drop opens a dialog, it returns after the answer.
///
/// Needs a platform with real drag and drop, such as `minimal`; the offscreen platform ends every
/// drag at once.
[[nodiscard]] inline bool drag(QWidget &widget, const QPoint &from, const QPoint &to)
{
    QWindow *window = widget.windowHandle();
    bool dragging = false;
    // The second move starts the drag's own event loop, in which the rest has to happen.
    QTimer rest;
    QObject::connect(&rest, &QTimer::timeout, window, [&] {
        if (dragging || !widget.findChild<QDrag *>())
            return;
        dragging = true;
        QTest::mouseMove(window, (from + to) / 2);
        QTest::mouseMove(window, to);
        QTest::mouseRelease(window, Qt::LeftButton, {}, to);
    });
    rest.start(std::chrono::milliseconds(1));
    QTest::mousePress(window, Qt::LeftButton, {}, from);
    const int distance = QApplication::startDragDistance();
    QTest::mouseMove(window, from + QPoint(distance + 1, 0));
    QTest::mouseMove(window, from + QPoint(distance + 2, 0));
    if (!dragging)
        QTest::mouseRelease(window, Qt::LeftButton, {}, to);
    return dragging;
}

/// The middle of a visible row, in the window's coordinates.
[[nodiscard]] inline QPoint middleOf(const QListWidget &list, int row)
{
    return list.viewport()->mapTo(list.window(), list.visualItemRect(list.item(row)).center());
}

/// The same between the middles of two visible rows.
[[nodiscard]] inline bool dragRow(const QListWidget &fromList, int fromRow,
                                  const QListWidget &toList, int toRow)
{
    return drag(*fromList.window(), middleOf(fromList, fromRow), middleOf(toList, toRow));
}
