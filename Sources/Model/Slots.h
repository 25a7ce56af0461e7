// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The numbers of folders and of their slots.
namespace Slots {

/// The banks show and compare folders 0 to 255, each with slots 0 to 255.
inline constexpr int folderCount = 256;
inline constexpr int count = 256;
inline constexpr int last = count - 1;

/// The last folder that a library document may have: one more than is shown, as required.
inline constexpr int lastFolder = folderCount;

/// A folder or slot number as operators see it: at least three digits.
[[nodiscard]] inline QString threeDigits(int number)
{
    return QStringLiteral("%1").arg(number, 3, 10, QLatin1Char('0'));
}

} // namespace Slots
