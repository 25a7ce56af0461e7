// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <QSize>
#include <QUrl>

#include <stdexcept>

/// The source of a copy is not available, or its library document is invalid. Nothing was stored.
struct BadSource : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// The layout of another server's library: its folders, slots and names. The `fileName` of a visual
/// is safe, whatever its name is. The `hash` is the one that the server sent.
///
/// Throws BadSource if a folder or visual of the document could not be stored as it is listed.
[[nodiscard]] Folders readLayout(const QByteArray &document);

/// Fills an empty library with the layout of a server's library. The server is only asked for its
/// library document. In place of each visual there is a drawn picture that depends on the visual's
/// hash only, so visuals that are equal on two servers are equal in their copies as well.
///
/// Throws BadSource, and std::runtime_error when a file cannot be written.
void copyLayout(Library &library, const QUrl &source, QSize pictureSize);
