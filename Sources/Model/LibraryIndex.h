// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Model/Slots.h"
#include "Model/VisualRef.h"

#include <array>
#include <vector>

/// Finds the visuals of a folder in constant time, the first of several with the same slot. Numbers
/// outside a library are allowed: nothing is found there. Uses a plain table: hashing 65,280
/// visuals would take longer than planning their synchronisation.
class FolderIndex final
{
public:
    /// Null means a missing folder. The folder must live as long as the index.
    explicit FolderIndex(const MediaFolder *mediaFolder = nullptr);

    /// Null if there is none.
    [[nodiscard]] const MediaFolder *folder() const { return indexed; }
    [[nodiscard]] const Visual *visual(int slot) const;

private:
    const MediaFolder *indexed;
    std::array<const Visual *, Slots::count> visuals{};
};

/// Finds the folders of a library in the same way.
class FolderTable final
{
public:
    /// The list must live unchanged as long as the table.
    explicit FolderTable(const QList<MediaFolder> &library);

    /// Null if there is none.
    [[nodiscard]] const MediaFolder *folder(int slot) const;

private:
    std::array<const MediaFolder *, Slots::lastFolder + 1> folders{};
};

/// The same for the folders and visuals of a library.
class LibraryIndex final
{
public:
    /// Keeps the folders as they are now; the list is shared, not copied.
    explicit LibraryIndex(const QList<MediaFolder> &list);

    /// Whether the folders are still those of this index. May be false for equal folders.
    [[nodiscard]] bool isOf(const QList<MediaFolder> &list) const;

    /// Null if there is none. Valid as long as this index.
    [[nodiscard]] const MediaFolder *folder(int slot) const;
    [[nodiscard]] const Visual *visual(const VisualRef &ref) const;

private:
    QList<MediaFolder> library;
    std::vector<FolderIndex> folders;
};
