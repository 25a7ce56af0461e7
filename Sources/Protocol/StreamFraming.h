// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QList>

/// The framing of the notification stream: JSON documents, each followed by a NUL byte.
namespace StreamFraming {

/// Appends the received chunk to `buffer` and removes the complete documents from it.
///
/// If the chunk contains a NUL byte, buffer and chunk together are split at each NUL byte. Each
/// piece is parsed separately: empty pieces are skipped, and pieces that do not parse stay in
/// `buffer`, joined together. So an unfinished document waits there for its end. A frame that never
/// parses stays there as well, and everything that follows is joined to it: no document is read any
/// more.
///
/// `buffer` starts empty and never contains a NUL byte, so only the chunk is searched for one,
/// however long a frame is.
[[nodiscard]] QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &chunk);

} // namespace StreamFraming
