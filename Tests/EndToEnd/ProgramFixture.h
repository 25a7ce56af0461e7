// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Support/Sandbox.h"
#include "Support/Wait.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QString>

#include <csignal>
#include <functional>
#include <sys/prctl.h>

/// Empty if there is no such file.
[[nodiscard]] inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A child process that ends with the test, even when the test is killed.
class Child final : public QProcess
{
public:
    /// `prepare` runs in the child just before the command; only what is safe after fork(2).
    explicit Child(
        const QString &command, const QStringList &arguments = {},
        const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
        const std::function<void()> &prepare = [] {})
    {
        setChildProcessModifier([prepare] {
            prctl(PR_SET_PDEATHSIG, SIGTERM);
            prepare();
        });
        setProcessEnvironment(environment);
        setProcessChannelMode(QProcess::MergedChannels);
        start(command, arguments);
    }
    ~Child() override
    {
        kill();
        waitForFinished(patience);
    }
};

/// The private home in which a test runs the program.
class ProgramFixture final
{
public:
    ProgramFixture()
    {
        const QString runtime = path(QStringLiteral("runtime"));
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(runtime));
    }

    [[nodiscard]] QDir directory() const { return sandbox.directory(); }
    [[nodiscard]] QString path(const QString &relative) const
    {
        return directory().filePath(relative);
    }
    /// The second disk cache is created with the window, after log and settings.
    [[nodiscard]] bool isProgramUp() const
    {
        return QFileInfo(path(QStringLiteral("cache/Zorvik/Brenvokathumbnails"))).isDir();
    }
    [[nodiscard]] QByteArray log() const
    {
        return contentOf(path(QStringLiteral("data/Zorvik/Brenvoka/logs/Brenvoka.log")));
    }

private:
    Sandbox sandbox;
};
