// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QList>
#include <QStringList>

#include <chrono>

enum class Format { Text, Csv, Json };

/// The arguments of one run, checked.
struct CommandLine
{
    QString command;          ///< "listen", "check", "compare", "plan", "save" or "report"
    QStringList arguments;    ///< as many as the command needs
    QList<int> folders;       ///< in the given order
    QList<VisualRef> visuals; ///< folder and slot, in the given order
    Format format = Format::Text;
    std::chrono::seconds timeout{10};
    std::chrono::seconds listenFor{5};
    bool share = false;
    bool stream = false;

    QString help;  ///< to be printed instead of running a command
    QString error; ///< why the arguments are refused, one line

    /// `words` begins with the name of the program.
    [[nodiscard]] static CommandLine parse(const QStringList &words);
};
