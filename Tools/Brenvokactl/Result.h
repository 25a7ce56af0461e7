// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QStringList>

/// What a command found, in the forms of all three formats. The texts may be from a server: the
/// writer makes them harmless.
struct Result
{
    struct Column
    {
        QString name;
        int textWidth = 0; ///< text shows at most this many characters of a cell; 0 for all
    };

    int exitCode = 0;
    QStringList summary; ///< lines above the table, only in the text format
    QList<Column> columns;
    QList<QStringList> rows; ///< a cell for each column
    QStringList remarks;     ///< lines below the table, only in the text format
    QJsonObject json;
    QByteArray jsonText; ///< takes the place of `json`, if it is not empty
};

/// The exit codes of all commands. What 1 means depends on the command.
namespace ExitCode {
inline constexpr int good = 0;
inline constexpr int other = 1;
inline constexpr int error = 2;
} // namespace ExitCode
