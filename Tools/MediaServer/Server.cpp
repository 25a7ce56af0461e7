// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Server.h"

#include "MediaServer/Frames.h"
#include "MediaServer/LibraryCopy.h"
#include "MediaServer/LibraryGenerator.h"

#include <QCoreApplication>

#include <cstdio>
#include <stdexcept>

using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int port = 4567;

/// Changes within this time are reported in one message.
constexpr auto libraryChangeDelay = 200ms;

void print(const QString &text)
{
    std::printf("%s\n", qUtf8Printable(text));
    std::fflush(stdout);
}

} // namespace

Server::Server(const Options &serverOptions)
    : options(serverOptions)
    , log(options.logFile)
    , library(options.libraryDirectory)
    , transfers(hub, options.burstGrace)
    , link(options.bandwidth, options.faults.dieAfterBytes)
    , importDelay(options.importDelay)
    , routes({http, library, hub, transfers, link, importDelay, log}, options)
    , announcer(options)
{
    if (options.generate && library.isEmpty())
        generateLibrary(library, *options.generate, options.pictureSize);
    if (!options.fromLibrary.isEmpty() && library.isEmpty())
        copyLayout(library, options.fromLibrary, options.pictureSize);
    if (!http.bind(options.address, port))
        throw std::runtime_error("cannot listen on " + options.address + ':' +
                                 std::to_string(port));
    connect(&frameRateTimer, &QTimer::timeout, this, &Server::reportFrameRates);
    libraryChangeTimer.setSingleShot(true);
    libraryChangeTimer.setInterval(libraryChangeDelay);
    connect(&libraryChangeTimer, &QTimer::timeout, this, &Server::reportLibraryChange);
    library.setChangeCallback([this] {
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!libraryChangeTimer.isActive())
                    libraryChangeTimer.start();
            },
            Qt::QueuedConnection);
    });
}

Server::~Server()
{
    http.shutDown();
    if (listener.joinable())
        listener.join();
}

void Server::start()
{
    workers = std::make_unique<TransferWorkers>(
        transfers, library, link, importDelay,
        TransferWorkers::Settings{.workers = options.workers,
                                  .answerOnly = options.answerOnly,
                                  .failImport = options.faults.failImport});
    listener = std::thread([this] { http.listen_after_bind(); });
    frameRateTimer.start(options.frameRateInterval);
    if (options.announce)
        announcer.start();
    print(u"ready http://%1:%2 %3 %4"_s.arg(QString::fromStdString(options.address),
                                            QString::number(port), options.uuid.toString(),
                                            options.name));
}

void Server::command(const QString &line)
{
    const QString word = line.section(u' ', 0, 0);
    if (word == "shutdown"_L1)
        shutDown();
    else if (word == "quit"_L1)
        quit();
    else if (word == "end-stream"_L1)
        hub.endStreams(StreamEnd::Clean);
    else if (word == "cut-stream"_L1)
        hub.endStreams(StreamEnd::Cut);
    else if (word == "reset-stream"_L1)
        hub.endStreams(StreamEnd::Reset);
    else if (word == "silence"_L1)
        announcer.stop();
    else if (word == "announce"_L1)
        announcer.start();
    else if (word == "rename"_L1)
        announcer.setName(line.section(u' ', 1));
    else if (word == "library-changed"_L1)
        reportLibraryChange();
    else if (word == "end-imports"_L1)
        importDelay.skip();
    else if (word == "end-stall"_L1)
        routes.endStall();
    else if (word == "quiet?"_L1)
        print(transfers.isQuiet() ? u"quiet"_s : u"busy"_s);
    else if (word == "reported?"_L1)
        print(libraryChangeTimer.isActive() ? u"pending"_s : u"reported"_s);
    else
        print(u"unknown command \"%1\""_s.arg(line));
}

void Server::quit()
{
    finish(StreamEnd::Cut);
}

void Server::shutDown()
{
    hub.publish(Frames::shuttingDown());
    finish(StreamEnd::Clean);
}

void Server::finish(StreamEnd streamEnd)
{
    announcer.stop();
    frameRateTimer.stop();
    hub.endStreams(streamEnd);
    hub.waitForNoStream(2s);
    // After the streams, so that a client sees the shutdown before its upload or download fails.
    link.close();
    importDelay.close();
    http.shutDown();
    workers.reset();
    QCoreApplication::quit();
}

/// Reports rates that vary a little around the nominal ones, like those of a real server.
void Server::reportFrameRates()
{
    const int variation = frameRateReports++ % 5;
    hub.publish(
        Frames::frameRates((5994 - variation) / 100.0, (6000 - variation) / 100.0, 25.0, true));
}

void Server::reportLibraryChange()
{
    hub.publish(Frames::libraryChanged());
}
