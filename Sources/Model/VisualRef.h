// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QPair>
#include <QString>

/// Names a slot on a server: folder number, then slot number.
using VisualRef = QPair<int, int>;

/// The new name of a folder.
struct FolderRename
{
    int folderSlot = -1;
    QString name;

    friend bool operator==(const FolderRename &, const FolderRename &) = default;
};
