// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Console.h"

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>

namespace {

int openSignals()
{
    // A write to a closed connection shall fail with EPIPE instead of ending the process.
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    sigprocmask(SIG_BLOCK, &ending, nullptr);
    return signalfd(-1, &ending, SFD_CLOEXEC);
}

} // namespace

Console::Console(QObject *parent)
    : QObject(parent)
    , input(STDIN_FILENO, QSocketNotifier::Read)
    , signalHandle(openSignals())
    , signalNotifier(signalHandle, QSocketNotifier::Read)
{
    connect(&input, &QSocketNotifier::activated, this, &Console::readInput);
    connect(&signalNotifier, &QSocketNotifier::activated, this, [this] {
        signalNotifier.setEnabled(false);
        emit terminated();
    });
}

Console::~Console()
{
    close(signalHandle);
}

void Console::readInput()
{
    std::array<char, 4096> buffer{};
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) {
        input.setEnabled(false);
        return;
    }
    unfinished.append(buffer.data(), count);
    QList<QByteArray> lines = unfinished.split('\n');
    unfinished = lines.takeLast();
    for (const QByteArray &line : lines) {
        if (const QString text = QString::fromUtf8(line).trimmed(); !text.isEmpty())
            emit command(text);
    }
}
