// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Terminal.h"

#include "Text/ShownText.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void writeToError(const QString &text)
{
    std::fputs(text.toUtf8().constData(), stderr);
    std::fflush(stderr);
}

bool showsProgress()
{
    return ::isatty(STDERR_FILENO) == 1;
}

} // namespace

namespace Terminal {

bool hasColors()
{
    return ::isatty(STDOUT_FILENO) == 1 && qEnvironmentVariableIsEmpty("NO_COLOR");
}

void ignoreClosedPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}

bool write(const QByteArray &bytes)
{
    const auto size = static_cast<std::size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0)
        return true;
    // A reader that has seen enough closes the pipe, as head and less do.
    return errno == EPIPE;
}

void writeError(const QString &text)
{
    writeToError(u"brenvokactl: %1\n"_s.arg(shownName(text)));
}

void silenceQt()
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
        if (type == QtFatalMsg)
            writeError(text);
    });
}

Progress::Progress(const QString &text)
{
    if (showsProgress())
        writeToError(shownName(text));
}

Progress::~Progress()
{
    if (showsProgress())
        writeToError(u"\r\x1b[K"_s);
}

} // namespace Terminal
