// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Announcer.h"
#include "MediaServer/Console.h"
#include "MediaServer/Routes.h"
#include "MediaServer/TransferWorkers.h"

#include <thread>

/// One media server: puts the parts together, and is what the console talks to. The object lives
/// on the main thread, where announcements, frame rates and the news of a changed library are
/// timed; requests are served on the threads of `HttpServer`, transfers on those of
/// `TransferWorkers`. Members are declared in the order in which they depend on each other.
class Server : public QObject
{
public:
    /// Reads or generates the library, and binds the address. Throws std::runtime_error when
    /// something of that is not possible.
    explicit Server(const Options &serverOptions);
    ~Server() override;

    /// Serves and announces from now on.
    void start();

    void command(const QString &line);
    /// Ends the process without a word to the clients.
    void quit();

private:
    void shutDown();
    void finish(StreamEnd how);
    void reportFrameRates();
    void reportLibraryChange();

    const Options options;
    RequestLog log;
    Library library;
    NotificationHub hub;
    TransferTable transfers;
    MediaLink link;
    ImportPause importPause;
    HttpServer http;
    Routes routes;
    Announcer announcer;
    std::unique_ptr<TransferWorkers> workers;
    std::thread listener;
    QTimer frameRateTimer;
    QTimer libraryChangeTimer;
    int frameRateReports = 0;
};
