// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <string>

/// What a command or an upload came to. The numbers are those of the wire.
enum class ResultCode {
    Done = 0,
    VisualInUse = 1,
    UnknownFailure = 2,
    OtherFailure = 3, ///< told by a text of the server's own
    FolderInUse = 4,
    Reserved = 5,
};

struct CommandResult
{
    ResultCode code = ResultCode::Done;
    /// Only for `OtherFailure`.
    QString error;

    [[nodiscard]] static CommandResult failure(const QString &error)
    {
        return {ResultCode::OtherFailure, error};
    }

    /// The result document.
    [[nodiscard]] std::string toJson() const;
};
