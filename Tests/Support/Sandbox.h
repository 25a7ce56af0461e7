// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QPair>
#include <QSettings>
#include <QTemporaryDir>

/// A private home for as long as it lives: HOME and the XDG base directories, from which
/// QStandardPaths reads at every call, point into a temporary directory. Child processes inherit
/// it.
class Sandbox final
{
public:
    Sandbox()
    {
        point("HOME", QStringLiteral("."));
        point("XDG_CONFIG_HOME", QStringLiteral("config"));
        point("XDG_DATA_HOME", QStringLiteral("data"));
        point("XDG_CACHE_HOME", QStringLiteral("cache"));
        // Qt reads the place of its settings, such as those of the file dialog, only once.
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           home.filePath(QStringLiteral("config")));
    }

    ~Sandbox()
    {
        for (const auto &[name, value] : std::as_const(earlier)) {
            if (value.isNull())
                qunsetenv(name.constData());
            else
                qputenv(name.constData(), value);
        }
    }

    Q_DISABLE_COPY_MOVE(Sandbox)

    [[nodiscard]] QDir directory() const { return QDir(home.path()); }

private:
    void point(const char *variable, const QString &subdirectory)
    {
        earlier.append({variable, qgetenv(variable)});
        directory().mkpath(subdirectory);
        qputenv(variable, QDir::cleanPath(home.filePath(subdirectory)).toUtf8());
    }

    QTemporaryDir home;
    QList<QPair<QByteArray, QByteArray>> earlier;
};
