// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/LibraryCopy.h"
#include "MediaServer/Server.h"

#include <QGuiApplication>

#include <cstdio>
#include <exception>

int main(int argc, char *argv[])
{
    // No display is needed: QGuiApplication is only for the fonts of generated pictures.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QString error;
    const auto options = Options::parse(QCoreApplication::arguments(), error);
    const auto fail = [](const QString &reason, int code) {
        std::fprintf(stderr, "media-server: %s\n", qUtf8Printable(reason.simplified()));
        return code;
    };
    if (!options)
        return fail(error, 2);
    try {
        Console console;
        Server server(*options);
        QObject::connect(&console, &Console::command, &server, &Server::command);
        QObject::connect(&console, &Console::terminated, &server, &Server::quit);
        server.start();
        return QCoreApplication::exec();
    } catch (const BadSource &bad) {
        return fail(QString::fromUtf8(bad.what()), 2);
    } catch (const std::exception &failure) {
        return fail(QString::fromUtf8(failure.what()), 1);
    }
}
