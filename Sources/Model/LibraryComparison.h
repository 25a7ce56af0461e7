// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Marks.h"
#include "Model/VisualRef.h"

#include <QList>

struct Server;

/// Compares two libraries, and plans what makes one equal to the other.
///
/// All functions are pure. A server with a null uuid means a bank without a server: compared with
/// it, everything is the same, so an empty bank never shows a difference. Folders and visuals are
/// found by their `slot`; the first of several with the same number counts. Numbers outside a
/// library are allowed everywhere: nothing is found there.
namespace LibraryComparison {

/// The steps of a synchronisation, each list in the order of its execution.
struct SyncPlan
{
    /// Folders that get the source's name, ascending.
    QList<FolderRename> renames;
    /// Slots that have a visual only on the destination.
    QList<VisualRef> removals;
    /// Slots whose visual is copied from the source.
    QList<VisualRef> transfers;
    /// Whether a transfer overwrites a visual.
    bool replaces = false;

    /// Whether the destination loses a visual.
    [[nodiscard]] bool isDestructive() const { return replaces || !removals.isEmpty(); }
    /// The number of visuals to remove or copy. Renames do not count.
    [[nodiscard]] qsizetype visualCount() const { return removals.size() + transfers.size(); }
};

/// Whether the slot is empty; true for a server with a null uuid.
[[nodiscard]] bool slotEmpty(const Server &server, int folderSlot, int fileSlot);

/// Whether both slots are empty or have equal visuals (hash, name and slot). A missing folder
/// counts as an empty one.
[[nodiscard]] bool slotsEqual(const Server &first, const Server &second, int folderSlot,
                              int fileSlot);

/// Whether the folder exists on both servers under the same name.
[[nodiscard]] bool folderNamesEqual(const Server &first, const Server &second, int folderSlot);

/// One bit for each folder slot: set if neither server has the folder, or both have it with the
/// same name and equal visuals in the same stored order.
[[nodiscard]] Marks folderSameMarks(const Server &first, const Server &second);

/// One bit for each slot of one folder: `slotsEqual`.
[[nodiscard]] Marks visualSameMarks(const Server &first, const Server &second, int folderSlot);

/// Plans what makes the candidate slots on `destination` equal to those on `source`, and renames
/// their folders to the source's names. A folder that the source lacks keeps its name. A slot that
/// is given twice is planned twice.
///
/// Takes linear time in the libraries and the candidates, of which there may be 65,280, if those of
/// a folder follow each other. Otherwise each change of the folder costs a search of both folders.
[[nodiscard]] SyncPlan planSync(const Server &source, const Server &destination,
                                const QList<VisualRef> &candidates);

} // namespace LibraryComparison
