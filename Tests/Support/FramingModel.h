// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Protocol/StreamFraming.h"

#include <QByteArrayList>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <algorithm>

/// The framing of the notification stream, step by step and without regard to cost: at each chunk
/// the whole buffer is split again.
namespace FramingModel {

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

/// Whether the program reads the documents as these messages.
inline bool areSame(const QList<StreamFraming::Message> &messages,
                    const QList<QJsonDocument> &documents)
{
    const auto isSame = [](const StreamFraming::Message &message, const QJsonDocument &document) {
        const auto *const progress = std::get_if<TransferProgress>(&message);
        if (!progress)
            return std::get<QJsonDocument>(message) == document;
        return document[u"msg_type"].toInt() == 2 &&
               TransferProgress::fromJson(document[u"sync"].toObject()) == *progress;
    };
    return std::ranges::equal(messages, documents, isSame);
}

inline QList<StreamFraming::Message> takeMessages(QByteArray &buffer, const QByteArray &bytes)
{
    QList<StreamFraming::Message> messages;
    StreamFraming::Chunk chunk{bytes};
    while (const auto message = StreamFraming::takeMessage(buffer, chunk))
        messages.append(*message);
    return messages;
}

} // namespace FramingModel
