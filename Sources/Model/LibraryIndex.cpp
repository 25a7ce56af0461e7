// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibraryIndex.h"

namespace {

bool isFolder(int slot)
{
    return slot >= 0 && slot <= Slots::lastFolder;
}

bool isVisual(int slot)
{
    return slot >= 0 && slot <= Slots::last;
}

} // namespace

FolderIndex::FolderIndex(const MediaFolder *mediaFolder)
    : indexed(mediaFolder)
{
    if (!indexed)
        return;
    for (const Visual &visual : indexed->files) {
        if (isVisual(visual.slot) && !visuals[static_cast<std::size_t>(visual.slot)])
            visuals[static_cast<std::size_t>(visual.slot)] = &visual;
    }
}

const Visual *FolderIndex::visual(int slot) const
{
    return isVisual(slot) ? visuals[static_cast<std::size_t>(slot)] : nullptr;
}

FolderTable::FolderTable(const QList<MediaFolder> &library)
{
    for (const MediaFolder &folder : library) {
        if (isFolder(folder.slot) && !folders[static_cast<std::size_t>(folder.slot)])
            folders[static_cast<std::size_t>(folder.slot)] = &folder;
    }
}

const MediaFolder *FolderTable::folder(int slot) const
{
    return isFolder(slot) ? folders[static_cast<std::size_t>(slot)] : nullptr;
}

LibraryIndex::LibraryIndex(const QList<MediaFolder> &list)
    : library(list)
{
    const FolderTable table(library);
    for (int slot = 0; slot <= Slots::lastFolder; ++slot)
        folders.emplace_back(table.folder(slot));
}

bool LibraryIndex::isOf(const QList<MediaFolder> &list) const
{
    return library.isSharedWith(list);
}

const MediaFolder *LibraryIndex::folder(int slot) const
{
    return isFolder(slot) ? folders[static_cast<std::size_t>(slot)].folder() : nullptr;
}

const Visual *LibraryIndex::visual(const VisualRef &ref) const
{
    return isFolder(ref.first) ? folders[static_cast<std::size_t>(ref.first)].visual(ref.second)
                               : nullptr;
}
