// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCommandLineOption>
#include <QList>
#include <QString>

class QCommandLineParser;

/// What a command accepts, and its texts in the help.
struct Command
{
    struct Argument
    {
        QString name;
        QString purpose;
    };

    QString name;
    QString purpose;
    QString exitCodes;
    QList<Argument> arguments;
    QList<QCommandLineOption> options;
};

[[nodiscard]] const QList<Command> &commands();

/// Adds arguments, options and texts of the command.
void describe(const Command &command, QCommandLineParser &parser);

/// The help of the whole program.
[[nodiscard]] QString overview();
[[nodiscard]] QString versionLine();
