// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QByteArray>

/// The form bodies of the five commands, type "application/x-www-form-urlencoded".
///
/// A folder's name is encoded by QUrlQuery. Blank, "&" and "#" become "%20", "%26" and "%23", but
/// "+" and "%20" are sent unchanged.
namespace CommandBodies {

/// Type 1: fetch the visual in this slot from the server with this `Protocol::serverUrl`.
[[nodiscard]] QByteArray sync(const QString &sourceUrl, const VisualRef &visual);
/// Type 2: remove the visual in this slot.
[[nodiscard]] QByteArray remove(const VisualRef &visual);
/// Type 3: move a visual to another slot of its folder.
[[nodiscard]] QByteArray move(int folderSlot, int fromSlot, int toSlot);
/// Type 4: cancel all transfers.
[[nodiscard]] QByteArray cancelSyncs();
/// Type 5: rename a folder.
[[nodiscard]] QByteArray rename(const FolderRename &rename);

} // namespace CommandBodies
