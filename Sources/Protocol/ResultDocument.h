// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// How a request ended.
struct Outcome
{
    bool success = false;
    QString message; ///< for the operator; empty on success, and when no reason is known
};

/// The body of the reply to a removal, a move, a rename or an upload: a JSON object with
/// "msg_type" 7 and the outcome under "RESULT".
namespace ResultDocument {

/// A longer answer to a command or an upload, in bytes, is aborted. A usual one has less than 100.
inline constexpr qint64 maximumSize = 32 << 20;

/// Only "RESULT" 0 is a success. An unknown "RESULT" is a failure without a message; anything but
/// a result document is a failure with a message of its own.
[[nodiscard]] Outcome parse(const QByteArray &body);

} // namespace ResultDocument
