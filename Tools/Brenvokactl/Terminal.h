// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The streams of the process.
namespace Terminal {

/// Whether standard output may have colors: it is a terminal, and NO_COLOR is not set.
[[nodiscard]] bool hasColors();

/// Makes a write to a pipe that its reader closed fail, instead of ending the program.
void ignoreClosedPipes();

/// Writes to standard output. Returns false if not everything could be written, unless the reader
/// closed the pipe.
[[nodiscard]] bool write(const QByteArray &bytes);

/// Writes one line with the name of the program to standard error. Control and direction characters
/// of the text become blanks.
void writeError(const QString &text);

/// Drops the warnings of Qt from now on: an error is one line of `writeError`.
void silenceQt();

/// A line on standard error about what is running, erased at the end. Shown only on a terminal.
class Progress final
{
public:
    explicit Progress(const QString &text);
    ~Progress();
    Q_DISABLE_COPY_MOVE(Progress)
};

} // namespace Terminal
