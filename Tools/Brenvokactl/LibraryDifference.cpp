// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryDifference.h"

#include "Model/LibraryComparison.h"
#include "Model/LibraryIndex.h"
#include "Model/Server.h"

namespace {

std::optional<QString> nameOf(const MediaFolder *folder)
{
    return folder ? std::optional(folder->name) : std::nullopt;
}

std::optional<Visual> copyOf(const Visual *visual)
{
    return visual ? std::optional(*visual) : std::nullopt;
}

FolderDifference folderDifference(int slot, const LibraryIndex &first, const LibraryIndex &second)
{
    FolderDifference result{slot, nameOf(first.folder(slot)), nameOf(second.folder(slot)), {}};
    for (int file = 0; file < Slots::count; ++file) {
        const std::optional<Visual> one = copyOf(first.visual({slot, file}));
        const std::optional<Visual> other = copyOf(second.visual({slot, file}));
        if (one != other)
            result.visuals.append({file, one, other});
    }
    return result;
}

} // namespace

LibraryDifference LibraryDifference::between(const Server &first, const Server &second)
{
    LibraryDifference result;
    const Marks same = LibraryComparison::folderSameMarks(first, second);
    const LibraryIndex firstIndex(first.folders);
    const LibraryIndex secondIndex(second.folders);
    for (std::size_t slot = 0; slot < same.size(); ++slot) {
        if (same.test(slot))
            continue;
        result.folders.append(folderDifference(static_cast<int>(slot), firstIndex, secondIndex));
        for (const VisualDifference &visual : result.folders.constLast().visuals)
            result.slotCount += visual.slot > 0 ? 1 : 0;
    }
    return result;
}
