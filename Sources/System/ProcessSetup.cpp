// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "System/ProcessSetup.h"

#ifndef _WIN32
#include "System/StandardStreams.h"

#include <QString>
#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>
#endif

namespace ProcessSetup {

#ifdef _WIN32

void prepare()
{
}

#else

namespace {

void raiseDescriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void writeMessage(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const QByteArray line = qFormatLogMessage(type, context, text).toLocal8Bit() + '\n';
    StandardStreams::writeAtOnce(StandardStreams::error,
                                 {line.constData(), static_cast<std::size_t>(line.size())});
}

} // namespace

void prepare()
{
    raiseDescriptorLimit();
    StandardStreams::replaceClosed();
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(writeMessage);
}

#endif

} // namespace ProcessSetup
