// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QList>

struct Server;

/// Which slots of a library a selection means. The order is that of the given numbers.
///
/// All functions are pure. With `onlyExisting` only slots with a visual count.
namespace LibrarySelection {

/// Slots 1 to 255 of each of these folders, 0 to 256. The first number of a pair is the folder's
/// slot.
[[nodiscard]] QList<VisualRef> ofFolders(const Server &server, const QList<int> &folders,
                                         bool onlyExisting);

/// These slots of one folder, without slot 0. The first number of a pair is the folder's position
/// in the library, -1 for none.
[[nodiscard]] QList<VisualRef> ofSlots(const Server &server, int folder,
                                       const QList<int> &slotNumbers, bool onlyExisting);

/// What nothing selected at the folders level means: slots 1 to 255 of folders 0 to 255.
[[nodiscard]] QList<VisualRef> all();

/// What nothing selected in a folder means: its slots 1 to 254. The first number of a pair is that
/// of `ofSlots`.
[[nodiscard]] QList<VisualRef> allOfFolder(const Server &server, int folder);

} // namespace LibrarySelection
