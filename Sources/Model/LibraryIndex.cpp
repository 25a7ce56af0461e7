// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibraryIndex.h"

#include "Model/Slots.h"

namespace {

constexpr std::size_t folderCount = Slots::lastFolder + 1;

bool isFolder(int slot)
{
    return slot >= 0 && slot <= Slots::lastFolder;
}

bool isVisual(const VisualRef &ref)
{
    return isFolder(ref.first) && ref.second >= 0 && ref.second <= Slots::last;
}

std::size_t position(const VisualRef &ref)
{
    return static_cast<std::size_t>(ref.first * Slots::count + ref.second);
}

} // namespace

LibraryIndex::LibraryIndex(const QList<MediaFolder> &list)
    : library(list)
    , folders(folderCount)
    , visuals(folderCount * Slots::count)
{
    for (const MediaFolder &folder : std::as_const(library)) {
        if (isFolder(folder.slot) && !folders[static_cast<std::size_t>(folder.slot)])
            add(folder);
    }
}

bool LibraryIndex::isOf(const QList<MediaFolder> &list) const
{
    return library.isSharedWith(list);
}

const MediaFolder *LibraryIndex::folder(int slot) const
{
    return isFolder(slot) ? folders[static_cast<std::size_t>(slot)] : nullptr;
}

const Visual *LibraryIndex::visual(const VisualRef &ref) const
{
    return isVisual(ref) ? visuals[position(ref)] : nullptr;
}

void LibraryIndex::add(const MediaFolder &folder)
{
    folders[static_cast<std::size_t>(folder.slot)] = &folder;
    for (const Visual &visual : folder.files) {
        const VisualRef ref(folder.slot, visual.slot);
        if (isVisual(ref) && !visuals[position(ref)])
            visuals[position(ref)] = &visual;
    }
}
