// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Announcer.h"
#include "MediaServer/Console.h"
#include "MediaServer/Routes.h"
#include "MediaServer/TransferWorkers.h"

#include <thread>

/// One media server: owns the parts and executes console commands. It lives on the main thread,
/// like the timers for announcements, frame rates and library changes. Requests run on the threads
/// of `HttpServer`, transfers on those of `TransferWorkers`. Each member depends only on members
/// that are declared before it.
class Server : public QObject
{
public:
    /// Reads, generates or copies the library and binds the address. Throws std::runtime_error on
    /// failure, and BadSource if there is no library to copy.
    explicit Server(const Options &serverOptions);
    ~Server() override;

    /// Starts to serve and to send announcements.
    void start();

    void command(const QString &line);
    /// Exits without notifying the clients.
    void quit();

private:
    void shutDown();
    void finish(StreamEnd streamEnd);
    void reportFrameRates();
    void reportLibraryChange();

    const Options options;
    RequestLog log;
    Library library;
    NotificationHub hub;
    TransferTable transfers;
    MediaLink link;
    ImportDelay importDelay;
    HttpServer http;
    Routes routes;
    Announcer announcer;
    std::unique_ptr<TransferWorkers> workers;
    std::thread listener;
    QTimer frameRateTimer;
    QTimer libraryChangeTimer;
    int frameRateReports = 0;
};
