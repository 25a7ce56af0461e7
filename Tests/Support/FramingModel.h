// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayList>
#include <QJsonDocument>
#include <QJsonParseError>

/// The framing of the notification stream, step by step and without regard to cost: at each chunk
/// the whole buffer is split again.
namespace FramingModel {

inline QByteArrayList compact(const QList<QJsonDocument> &documents)
{
    QByteArrayList texts;
    for (const QJsonDocument &document : documents)
        texts.append(document.toJson(QJsonDocument::Compact));
    return texts;
}

inline QList<QJsonDocument> takeDocuments(QByteArray &buffer, const QByteArray &chunk)
{
    buffer.append(chunk);
    const QByteArrayList pieces = buffer.split('\0');
    if (pieces.size() == 1 && pieces.constFirst().size() == buffer.size())
        return {};
    buffer.clear();
    QList<QJsonDocument> documents;
    for (const QByteArray &piece : pieces) {
        if (piece.isEmpty())
            continue;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(piece, &error);
        if (error.error == QJsonParseError::NoError)
            documents.append(document);
        else if (!piece.endsWith('\0'))
            buffer.append(piece);
    }
    return documents;
}

} // namespace FramingModel
