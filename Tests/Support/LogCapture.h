// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Log/ZorLog.h"
#include "Support/LogProbe.h"
#include "Support/Wait.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

/// While it lives, the process-wide log is written to a private file.
class LogCapture final
{
public:
    LogCapture()
    {
        Zor::Log::init(path().toStdString());
        Zor::LogProbe::showLevels(*Zor::Log::instance());
    }
    ~LogCapture() { Zor::Log::release(); }
    Q_DISABLE_COPY_MOVE(LogCapture)

    /// Everything logged so far, a line each, in the form "[Source:LINE] text". The log's own first
    /// line is left out.
    [[nodiscard]] QStringList lines()
    {
        QStringList all = linesWithLevel();
        for (QString &line : all)
            line.remove(0, line.indexOf(QLatin1Char(']')) + 1);
        return all;
    }

    /// The same without the source: only the text.
    [[nodiscard]] QStringList texts()
    {
        QStringList all = lines();
        for (QString &line : all)
            line.remove(0, line.indexOf(QLatin1String("] ")) + 2);
        return all;
    }

    /// Level and text: "error: text". The levels are debug, info and error.
    [[nodiscard]] QStringList entries()
    {
        static const QRegularExpression form(QStringLiteral("^\\[(\\w+)\\]\\[[^]]*\\] "));
        return linesWithLevel().replaceInStrings(form, QStringLiteral("\\1: "));
    }

    [[nodiscard]] QString path() const { return directory.filePath(QStringLiteral("test.log")); }

private:
    /// In the form "[level][Source:LINE] text".
    [[nodiscard]] QStringList linesWithLevel()
    {
        const QByteArray mark = "mark " + QByteArray::number(++marks);
        Zor::Log::instance()->debug("LogCapture", 0, mark.constData());
        const QString last = QStringLiteral("[debug][LogCapture:0] ") + QString::fromUtf8(mark);
        QStringList all;
        if (!waitFor([&] { return (all = readLines()).contains(last); }))
            QTest::qFail("The log did not reach its file", __FILE__, __LINE__);
        all.removeIf([](const QString &line) {
            return line.contains(QLatin1String("][LogCapture:0] ")) ||
                   line.contains(QLatin1String("][ZorLog:216] ")) || line.isEmpty();
        });
        return all;
    }

    /// Read at once: the worker may still be writing the last line.
    [[nodiscard]] QStringList readLines() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))
                   : QStringList();
    }

    QTemporaryDir directory;
    int marks = 0;
};
