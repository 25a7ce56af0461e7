// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QList>

/// The framing of the notification stream: JSON documents, each followed by a NUL byte.
namespace StreamFraming {

/// Adds what has just been received to `buffer` and takes out the documents that are complete.
///
/// Buffer and chunk together are split at each NUL byte, unless the chunk holds none. Each piece is
/// parsed for itself; an empty one is skipped and one that does not parse stays in `buffer`, joined
/// to others of its kind. So the unfinished tail waits there for its end. A frame that never parses
/// waits there as well, and what follows is joined to it: the stream is deaf from then on.
///
/// `buffer` starts empty and never holds a NUL byte, so that only the chunk has to be searched for
/// one, however long a frame is.
[[nodiscard]] QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &chunk);

} // namespace StreamFraming
