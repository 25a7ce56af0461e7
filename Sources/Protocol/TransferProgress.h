// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArrayView>
#include <QUuid>

#include <optional>

class QJsonObject;

/// What a message of the notification stream with "msg_type" 2 reports about a running transfer.
struct TransferProgress
{
    QUuid id;                ///< "ID", null if it is missing or invalid
    int state = 0;           ///< "STATUS", a Brenvoka::SyncStates value, unchanged
    int progressPercent = 0; ///< "CPERCENT"
    int speedBps = 0;        ///< "SPEEDBPS"

    /// Reads the object "sync" of the message. A missing or wrong value is 0.
    [[nodiscard]] static TransferProgress fromJson(const QJsonObject &sync);

    /// Reads a whole message in its usual form, several times as fast as QJsonDocument: a server
    /// sends many of them for each transfer. The usual form has printable ASCII without escapes,
    /// whole numbers of up to nine digits, and nothing else than "msg_type" and "sync". Returns
    /// nothing for any other text, which may be a valid message all the same.
    [[nodiscard]] static std::optional<TransferProgress> fromUsualText(QByteArrayView text);

    friend bool operator==(const TransferProgress &, const TransferProgress &) = default;
};
