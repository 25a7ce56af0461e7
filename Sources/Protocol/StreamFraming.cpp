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

std::optional<QJsonDocument> parse(const QByteArray &piece)
{
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(piece, &error);
    return error.error == QJsonParseError::NoError ? std::optional(std::move(document))
                                                   : std::nullopt;
}

} // namespace

namespace StreamFraming {

std::optional<QJsonDocument> takeDocument(QByteArray &buffer, Chunk &chunk)
{
    const auto isLastPiece = [&chunk] { return chunk.position > chunk.bytes.size(); };
    if (chunk.position == 0) {
        buffer.append(takePiece(chunk));
        if (isLastPiece())
            return std::nullopt;
        if (auto document = parse(buffer)) {
            buffer.clear();
            return document;
        }
    }
    while (!isLastPiece()) {
        const QByteArray piece = takePiece(chunk);
        if (auto document = parse(piece))
            return document;
        buffer.append(piece);
    }
    return std::nullopt;
}

QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &bytes)
{
    QList<QJsonDocument> documents;
    Chunk chunk{bytes};
    while (auto document = takeDocument(buffer, chunk))
        documents.append(std::move(*document));
    return documents;
}

} // namespace StreamFraming
