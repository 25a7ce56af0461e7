// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Log/ZorLog.h"

#include <spdlog/logger.h>

#include <QStringList>
#include <QTemporaryDir>

/// Runs the process-wide log for as long as it lives, and keeps what enters it: the number of the
/// level, a blank, and the text without its source. No line reaches the file.
///
/// A level decides nothing and shows in no line, so it can only be seen where a line enters the
/// logger: this header takes the place of the library's own function. To be included in one source
/// of a program, which is linked with spdlog::spdlog and runs no LogCapture.
class EnteredLog final
{
public:
    EnteredLog()
    {
        Zor::Log::init(directory.filePath(QStringLiteral("test.log")).toStdString());
        lines.clear();
    }
    ~EnteredLog() { Zor::Log::release(); }
    Q_DISABLE_COPY_MOVE(EnteredLog)

    static inline QStringList lines;

private:
    QTemporaryDir directory;
};

void spdlog::logger::log_it_(const details::log_msg &message, bool, bool)
{
    const auto line = QString::fromUtf8(message.payload.data(), qsizetype(message.payload.size()));
    EnteredLog::lines << QString::number(message.level) +
                             line.sliced(line.indexOf(QLatin1String("] ")) + 1);
}
