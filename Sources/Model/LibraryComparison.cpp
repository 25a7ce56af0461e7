// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibraryComparison.h"

#include "Model/LibraryIndex.h"
#include "Model/Server.h"

#include <algorithm>
#include <span>

namespace {

/// Whether one of the banks has no server.
bool isMissing(const Server &first, const Server &second)
{
    return first.uuid.isNull() || second.uuid.isNull();
}

template <typename Record>
const Record *findSlot(const QList<Record> &records, int slot)
{
    const auto found = std::ranges::find(records, slot, &Record::slot);
    return found == records.cend() ? nullptr : &*found;
}

const Visual *findVisual(const MediaFolder *folder, int slot)
{
    return folder ? findSlot(folder->files, slot) : nullptr;
}

template <typename Record>
bool sameRecord(const Record *first, const Record *second)
{
    return first && second ? *first == *second : first == second;
}

bool sameFolder(const MediaFolder *first, const MediaFolder *second)
{
    return first && second ? first->name == second->name && first->files == second->files
                           : first == second;
}

bool sameName(const MediaFolder *first, const MediaFolder *second)
{
    return first && second && first->name == second->name;
}

QList<int> touchedFolders(const QList<VisualRef> &candidates)
{
    QList<int> folders;
    for (const VisualRef &candidate : candidates) {
        if (folders.isEmpty() || folders.last() != candidate.first)
            folders.append(candidate.first);
    }
    std::ranges::sort(folders);
    folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
    return folders;
}

/// Plans candidates of one folder.
void planVisuals(LibraryComparison::SyncPlan &plan, const FolderIndex &source,
                 const FolderIndex &destination, std::span<const VisualRef> candidates)
{
    for (const VisualRef &candidate : candidates) {
        const Visual *const wanted = source.visual(candidate.second);
        const Visual *const present = destination.visual(candidate.second);
        if (sameRecord(wanted, present))
            continue;
        (wanted ? plan.transfers : plan.removals).append(candidate);
        plan.replaces = plan.replaces || (wanted && present);
    }
}

} // namespace

bool LibraryComparison::slotEmpty(const Server &server, int folderSlot, int fileSlot)
{
    return server.uuid.isNull() || !findVisual(findSlot(server.folders, folderSlot), fileSlot);
}

bool LibraryComparison::slotsEqual(const Server &first, const Server &second, int folderSlot,
                                   int fileSlot)
{
    return isMissing(first, second) ||
           sameRecord(findVisual(findSlot(first.folders, folderSlot), fileSlot),
                      findVisual(findSlot(second.folders, folderSlot), fileSlot));
}

bool LibraryComparison::folderNamesEqual(const Server &first, const Server &second, int folderSlot)
{
    return isMissing(first, second) ||
           sameName(findSlot(first.folders, folderSlot), findSlot(second.folders, folderSlot));
}

Marks LibraryComparison::folderSameMarks(const Server &first, const Server &second)
{
    Marks marks;
    marks.set();
    if (isMissing(first, second))
        return marks;
    const FolderTable firstFolders(first.folders);
    const FolderTable secondFolders(second.folders);
    for (int slot = 0; slot < Slots::folderCount; ++slot) {
        marks.set(static_cast<std::size_t>(slot),
                  sameFolder(firstFolders.folder(slot), secondFolders.folder(slot)));
    }
    return marks;
}

Marks LibraryComparison::visualSameMarks(const Server &first, const Server &second, int folderSlot)
{
    Marks marks;
    marks.set();
    if (isMissing(first, second))
        return marks;
    const MediaFolder *const firstFolder = findSlot(first.folders, folderSlot);
    const MediaFolder *const secondFolder = findSlot(second.folders, folderSlot);
    for (int slot = 0; slot < static_cast<int>(marks.size()); ++slot) {
        marks.set(static_cast<std::size_t>(slot),
                  sameRecord(findVisual(firstFolder, slot), findVisual(secondFolder, slot)));
    }
    return marks;
}

LibraryComparison::SyncPlan LibraryComparison::planSync(const Server &source,
                                                        const Server &destination,
                                                        const QList<VisualRef> &candidates)
{
    SyncPlan plan;
    if (isMissing(source, destination))
        return plan;
    const FolderTable sourceFolders(source.folders);
    const FolderTable destinationFolders(destination.folders);
    // One folder after the other, so that its visuals are still in the caches when they are
    // compared.
    for (auto begin = candidates.cbegin(); begin != candidates.cend();) {
        const int slot = begin->first;
        const auto end = std::find_if(begin, candidates.cend(), [slot](const VisualRef &candidate) {
            return candidate.first != slot;
        });
        planVisuals(plan, FolderIndex(sourceFolders.folder(slot)),
                    FolderIndex(destinationFolders.folder(slot)), {begin, end});
        begin = end;
    }
    for (const int slot : touchedFolders(candidates)) {
        const MediaFolder *const folder = sourceFolders.folder(slot);
        if (folder && !sameName(folder, destinationFolders.folder(slot)))
            plan.renames.append({slot, folder->name});
    }
    return plan;
}
