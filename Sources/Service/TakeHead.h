// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

/// Takes the entry at the head off a queue, in one pass by value: every later entry is compared
/// with the one that stands at index 0 by then, those that differ move down, and one entry is
/// erased behind the last that moved.
///
/// Without duplicates the queue loses its head and keeps its order. With duplicates it does not
/// behave like a plain pop: A, A, B becomes B, B. Nothing happens to an empty queue.
template <typename Entry>
void takeHead(QList<Entry> &queue)
{
    if (queue.isEmpty())
        return;
    qsizetype end = 0;
    for (qsizetype later = 1; later < queue.size(); ++later) {
        if (!(queue.at(later) == queue.at(0))) {
            queue[end] = queue.at(later);
            ++end;
        }
    }
    queue.removeAt(end);
}
