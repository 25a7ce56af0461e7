// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Protocol/TransferProgress.h"

#include <QByteArray>
#include <QJsonDocument>

#include <optional>
#include <variant>

/// The framing of the notification stream: JSON documents, each followed by a NUL byte.
namespace StreamFraming {

/// Bytes that arrived together, and how far they have been taken.
struct Chunk
{
    QByteArray bytes;
    qsizetype position = 0; ///< the begin of the next piece, above the size after the last one
};

/// A document, or what it reports if it is a progress message in its usual form.
using Message = std::variant<QJsonDocument, TransferProgress>;

/// Removes the next complete document from `buffer` and the received chunk. Call it until it
/// returns nothing: `buffer` then has what remains of the chunk.
///
/// If the chunk contains a NUL byte, buffer and chunk together are split at each NUL byte. Each
/// piece is parsed separately: empty pieces are skipped, and pieces that do not parse stay in
/// `buffer`, joined together. So an unfinished document waits there for its end. A frame that never
/// parses stays there as well, and everything that follows is joined to it: no document is read any
/// more.
///
/// `buffer` starts empty and never contains a NUL byte, so only the chunk is searched for one,
/// however long a frame is.
[[nodiscard]] std::optional<Message> takeMessage(QByteArray &buffer, Chunk &chunk);

} // namespace StreamFraming
