// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Model/VisualRef.h"

#include <vector>

/// Finds the folders and visuals of a library in constant time, the first of several with the same
/// slot. Numbers outside a library are allowed: nothing is found there. Uses plain tables: hashing
/// 65,280 visuals would take longer than planning their synchronisation.
class LibraryIndex final
{
public:
    /// Keeps the folders as they are now; the list is shared, not copied.
    explicit LibraryIndex(const QList<MediaFolder> &folders);

    /// Whether the folders are still those of this index. May be false for equal folders.
    [[nodiscard]] bool isOf(const QList<MediaFolder> &folders) const;

    /// Null if there is none. Valid as long as this index.
    [[nodiscard]] const MediaFolder *folder(int slot) const;
    [[nodiscard]] const Visual *visual(const VisualRef &ref) const;

private:
    void add(const MediaFolder &folder);

    QList<MediaFolder> library;
    std::vector<const MediaFolder *> folders;
    std::vector<const Visual *> visuals;
};
