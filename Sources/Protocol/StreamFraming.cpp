// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/StreamFraming.h"

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

std::optional<StreamFraming::Message> readMessage(const QByteArray &piece)
{
    if (const auto progress = TransferProgress::fromUsualText(piece))
        return progress;
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(piece, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

} // namespace

namespace StreamFraming {

std::optional<Message> takeMessage(QByteArray &buffer, Chunk &chunk)
{
    const auto isLastPiece = [&chunk] { return chunk.position > chunk.bytes.size(); };
    if (chunk.position == 0) {
        buffer.append(takePiece(chunk));
        if (isLastPiece())
            return std::nullopt;
        if (auto message = readMessage(buffer)) {
            buffer.clear();
            return message;
        }
    }
    while (!isLastPiece()) {
        const QByteArray piece = takePiece(chunk);
        if (auto message = readMessage(piece))
            return message;
        buffer.append(piece);
    }
    return std::nullopt;
}

} // namespace StreamFraming
