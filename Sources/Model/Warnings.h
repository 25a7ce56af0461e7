// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// The bits of ApplicationModel::warningLevel. A set bit means that the warning is shown. They are
/// in the settings file. The other bits have no meaning and keep their value.
namespace Warnings {

/// Removals, and synchronisations that remove or overwrite.
inline constexpr quint32 destructive = 1;
inline constexpr quint32 move = 2;
inline constexpr quint32 upload = 4; ///< into a slot that is not empty
inline constexpr quint32 largeSync = 8;
inline constexpr quint32 all = 0xFFFFFFFF;

} // namespace Warnings
