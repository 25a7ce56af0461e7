// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <compare>

/// A folder of the library and a slot in that folder.
struct SlotId
{
    int folder = -1;
    int visual = -1;

    auto operator<=>(const SlotId &) const = default;
};

/// Folders are numbered 0 to 255, and so are the slots of a folder. Slot 0 of each folder means
/// "no visual" and is always empty.
inline constexpr int folderLimit = 256;
inline constexpr int slotLimit = 256;

[[nodiscard]] constexpr bool isFolder(int folder)
{
    return folder >= 0 && folder < folderLimit;
}

[[nodiscard]] constexpr bool isUsable(SlotId slot)
{
    return isFolder(slot.folder) && slot.visual > 0 && slot.visual < slotLimit;
}

/// "017": the number of a folder or slot as it is written in names and texts.
[[nodiscard]] inline QString threeDigits(int number)
{
    return QString::number(number).rightJustified(3, QLatin1Char('0'));
}
