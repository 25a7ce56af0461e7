// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/StreamFraming.h"

#include <utility>

namespace {

/// Whether the piece is finished: it is empty or is a document.
bool readPiece(const QByteArray &piece, QList<QJsonDocument> &documents)
{
    if (piece.isEmpty())
        return true;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(piece, &error);
    if (error.error != QJsonParseError::NoError)
        return false;
    documents.append(document);
    return true;
}

} // namespace

namespace StreamFraming {

QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &chunk)
{
    QList<QJsonDocument> documents;
    qsizetype end = chunk.indexOf('\0');
    if (end < 0) {
        buffer.append(chunk);
        return documents;
    }
    buffer.append(chunk.constData(), end);
    if (readPiece(buffer, documents))
        buffer.clear();
    while (end < chunk.size()) {
        const qsizetype begin = end + 1;
        const qsizetype next = chunk.indexOf('\0', begin);
        end = next < 0 ? chunk.size() : next;
        const QByteArray piece = QByteArray::fromRawData(chunk.constData() + begin, end - begin);
        if (!readPiece(piece, documents))
            buffer.append(piece);
    }
    return documents;
}

} // namespace StreamFraming
