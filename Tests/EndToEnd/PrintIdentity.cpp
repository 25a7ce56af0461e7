// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include <QGuiApplication>
#include <QPixmapCache>
#include <QTimer>

#include <cstdio>

namespace {

void printAndQuit()
{
    std::printf("%s\n%s\n%s\n%s\n%d\n", qPrintable(QCoreApplication::organizationName()),
                qPrintable(QCoreApplication::applicationName()),
                qPrintable(QGuiApplication::applicationDisplayName()),
                qPrintable(QCoreApplication::applicationVersion()), QPixmapCache::cacheLimit());
    QCoreApplication::exit(3);
}

void logTheEnd()
{
    ZOR_LOG(info, "The application is destroyed");
}

/// Linked into the program: it prints what no window shows, a line each, and ends as soon as its
/// event loop runs. It logs when the application object is destroyed, after the window.
void startWithTheApplication()
{
    qAddPostRoutine(logTheEnd);
    QTimer::singleShot(0, qApp, printAndQuit);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(startWithTheApplication)
