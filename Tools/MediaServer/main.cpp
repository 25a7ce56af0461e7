// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

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
    if (!options) {
        std::fprintf(stderr, "media-server: %s\n", qUtf8Printable(error));
        return 2;
    }
    try {
        Console console;
        Server server(*options);
        QObject::connect(&console, &Console::command, &server, &Server::command);
        QObject::connect(&console, &Console::terminated, &server, &Server::quit);
        server.start();
        return QCoreApplication::exec();
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "media-server: %s\n", failure.what());
        return 1;
    }
}
