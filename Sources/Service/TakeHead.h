// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

#include <optional>

/// Takes the entry at the head off a queue, in one pass by value: every later entry is compared
/// with the one that stands at index 0 by then, those that differ move down, and one entry is
/// erased behind the last that moved. An empty queue gives nothing, and its memory back.
///
/// Without duplicates the queue loses its head and keeps its order. With duplicates it does not
/// behave like a plain pop, as required: A, A, B becomes B, B.
template <typename Entry>
std::optional<Entry> takeHead(QList<Entry> &queue)
{
    if (queue.isEmpty()) {
        queue = {};
        return std::nullopt;
    }
    const Entry head = queue.constFirst();
    qsizetype end = 0;
    for (qsizetype later = 1; later < queue.size(); ++later) {
        if (!(queue.at(later) == queue.at(0))) {
            queue[end] = queue.at(later);
            ++end;
        }
    }
    queue.removeAt(end);
    return head;
}
