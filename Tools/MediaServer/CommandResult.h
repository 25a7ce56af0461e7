// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <string>

/// The result of a command or an upload. The values are those of the protocol.
enum class ResultCode {
    Done = 0,
    VisualInUse = 1,
    UnknownFailure = 2,
    OtherFailure = 3, ///< described by a text
    FolderInUse = 4,
    Reserved = 5,
};

struct CommandResult
{
    ResultCode code = ResultCode::Done;
    /// The text of an `OtherFailure`.
    QString error;

    [[nodiscard]] static CommandResult failure(const QString &error)
    {
        return {ResultCode::OtherFailure, error};
    }
    /// A failure unless the error is empty.
    [[nodiscard]] static CommandResult outcome(const QString &error)
    {
        return error.isEmpty() ? CommandResult{} : failure(error);
    }

    /// The result document.
    [[nodiscard]] std::string toJson() const;
};
