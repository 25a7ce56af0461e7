// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/StreamFraming.h"

#include <utility>

namespace {

/// The bytes up to the next NUL byte or the end of the chunk.
QByteArray takePiece(StreamFraming::Chunk &chunk)
{
    const qsizetype begin = chunk.position;
    const qsizetype nul = chunk.bytes.indexOf('\0', begin);
    const qsizetype end = nul < 0 ? chunk.bytes.size() : nul;
    chunk.position = end + 1;
    return QByteArray::fromRawData(chunk.bytes.constData() + begin, end - begin);
}

std::optional<QJsonDocument> readDocument(const QByteArray &piece)
{
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(piece, &error);
    return error.error == QJsonParseError::NoError ? std::optional(std::move(document))
                                                   : std::nullopt;
}

std::optional<StreamFraming::Message> readMessage(const QByteArray &piece)
{
    if (const auto progress = TransferProgress::fromUsualText(piece))
        return progress;
    return readDocument(piece);
}

/// What `read` returns for the next complete piece.
template <typename Read>
auto takeNext(QByteArray &buffer, StreamFraming::Chunk &chunk, Read read) -> decltype(read(buffer))
{
    const auto isLastPiece = [&chunk] { return chunk.position > chunk.bytes.size(); };
    if (chunk.position == 0) {
        buffer.append(takePiece(chunk));
        if (isLastPiece())
            return std::nullopt;
        if (auto message = read(buffer)) {
            buffer.clear();
            return message;
        }
    }
    while (!isLastPiece()) {
        const QByteArray piece = takePiece(chunk);
        if (auto message = read(piece))
            return message;
        buffer.append(piece);
    }
    return std::nullopt;
}

} // namespace

namespace StreamFraming {

std::optional<Message> takeMessage(QByteArray &buffer, Chunk &chunk)
{
    return takeNext(buffer, chunk, readMessage);
}

QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &bytes)
{
    QList<QJsonDocument> documents;
    Chunk chunk{bytes};
    while (auto document = takeNext(buffer, chunk, readDocument))
        documents.append(std::move(*document));
    return documents;
}

} // namespace StreamFraming
