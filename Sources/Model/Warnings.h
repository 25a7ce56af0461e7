// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

/// The bits of ApplicationModel::warningLevel, each set while its warning is to be shown. They are
/// in the settings file. The other bits have no meaning and are kept as they are.
namespace Warnings {

inline constexpr quint32 destructive = 1; ///< removals, and synchronisations that lose something
inline constexpr quint32 move = 2;
inline constexpr quint32 upload = 4; ///< into a slot that is not empty
inline constexpr quint32 largeSync = 8;
inline constexpr quint32 all = 0xFFFFFFFF;

} // namespace Warnings
