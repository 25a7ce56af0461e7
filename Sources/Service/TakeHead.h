// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>

#include <optional>

/// Removes the head of a queue and returns it, in one pass by value: every later entry is compared
/// with the present one at index 0, those that differ move down, and one entry is erased after the
/// last one that moved. Returns nothing for an empty queue and frees its memory.
///
/// Without duplicates the queue loses its head and keeps its order. With duplicates it differs from
/// a plain pop, as required: A, A, B becomes B, B.
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
