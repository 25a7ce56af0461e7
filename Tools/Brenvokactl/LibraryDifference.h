// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Visual.h"

#include <QList>
#include <QString>

#include <optional>

struct Server;

/// A slot whose content differs. A visual is empty if that library has none there.
struct VisualDifference
{
    int slot = 0;
    std::optional<Visual> first;
    std::optional<Visual> second;
};

/// A folder that the window marks as different. Without differing names and visuals the two have
/// their visuals in another stored order, or several in one slot.
struct FolderDifference
{
    int slot = 0;
    std::optional<QString> firstName; ///< empty if that library lacks the folder
    std::optional<QString> secondName;
    QList<VisualDifference> visuals; ///< ascending, slot 0 included
};

struct LibraryDifference
{
    QList<FolderDifference> folders; ///< ascending
    int slotCount = 0;               ///< of the differing slots 1 to 255

    [[nodiscard]] bool isEqual() const { return folders.isEmpty(); }

    /// Both servers must have an id. Folders 0 to 255 are compared.
    [[nodiscard]] static LibraryDifference between(const Server &first, const Server &second);
};
