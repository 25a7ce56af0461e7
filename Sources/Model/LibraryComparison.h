// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Marks.h"
#include "Model/VisualRef.h"

#include <QList>

struct Server;

/// What two servers have in common, and what would make one equal to the other.
///
/// All functions are pure. A server with a null uuid stands for a bank without a server; beside it
/// everything counts as the same, so that an empty bank never shows a difference. Folders and
/// visuals are found by their `slot`; of several with the same number the first one counts.
/// Numbers that no library can hold are allowed everywhere: nothing is found there.
namespace LibraryComparison {

/// What a synchronisation has to do, each list in the order in which it is to be done.
struct SyncPlan
{
    /// Folders that are to carry the source's name, ascending.
    QList<FolderRename> renames;
    /// Slots that hold a visual on the destination alone.
    QList<VisualRef> removals;
    /// Slots whose visual is to come from the source.
    QList<VisualRef> transfers;
    /// Whether a transfer goes into a slot that isn't empty.
    bool replaces = false;

    /// Whether something on the destination gets lost.
    [[nodiscard]] bool isDestructive() const { return replaces || !removals.isEmpty(); }
    /// The number of visuals to remove or to copy; renames don't count.
    [[nodiscard]] qsizetype visualCount() const { return removals.size() + transfers.size(); }
};

/// Whether the slot holds no visual; true for a server with a null uuid.
[[nodiscard]] bool slotEmpty(const Server &server, int folderSlot, int fileSlot);

/// Whether both slots are empty or hold equal visuals (hash, name and slot). A missing folder is as
/// good as an empty one.
[[nodiscard]] bool slotsEqual(const Server &first, const Server &second, int folderSlot,
                              int fileSlot);

/// Whether the folder exists on both servers under the same name.
[[nodiscard]] bool folderNamesEqual(const Server &first, const Server &second, int folderSlot);

/// One bit for each folder slot: set when both servers lack the folder, or have it with the same
/// name and equal visuals in the same stored order.
[[nodiscard]] Marks folderSameMarks(const Server &first, const Server &second);

/// One bit for each slot of one folder, by the rule of `slotsEqual`.
[[nodiscard]] Marks visualSameMarks(const Server &first, const Server &second, int folderSlot);

/// Reckons what makes the candidates' slots on `destination` equal to those on `source`, and gives
/// every folder among them the source's name. A folder that the source lacks keeps its name. A
/// slot that is given twice is planned twice.
///
/// Takes time in proportion to the libraries and the candidates, which may be 65,280.
[[nodiscard]] SyncPlan planSync(const Server &source, const Server &destination,
                                const QList<VisualRef> &candidates);

} // namespace LibraryComparison
