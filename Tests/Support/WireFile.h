// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDir>
#include <QFile>

/// The files of Tests/Wire, which are part of each test program.
[[nodiscard]] inline QDir wireFiles()
{
    return QDir(QStringLiteral(":/wire"));
}

[[nodiscard]] inline QByteArray wireFile(const QString &name)
{
    QFile file(wireFiles().filePath(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("Cannot read %s", qPrintable(file.fileName()));
    return file.readAll();
}
