// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/CommandHandler.h"
#include "MediaServer/HttpServer.h"
#include "MediaServer/LibraryDocument.h"
#include "MediaServer/MediaLink.h"
#include "MediaServer/NotificationHub.h"
#include "MediaServer/Options.h"
#include "MediaServer/Refusals.h"
#include "MediaServer/RequestLog.h"
#include "MediaServer/ThumbnailMaker.h"
#include "MediaServer/UploadHandler.h"

#include <atomic>

/// The handlers of all URL paths. They run on the threads of the connections and lock no mutex of
/// their own.
class Routes
{
public:
    struct Parts
    {
        HttpServer &http;
        Library &library;
        NotificationHub &hub;
        TransferTable &transfers;
        MediaLink &link;
        ImportDelay &importDelay;
        RequestLog &log;
    };

    /// Registers the handlers. The parts must outlive this object.
    Routes(const Parts &serverParts, const Options &serverOptions);

    /// Executes and answers the stalled commands. Later commands are not stalled.
    void endStall() { stalling = false; }

private:
    using Request = httplib::Request;
    using Response = httplib::Response;

    void libraryDocument(const Request &, Response &response);
    void notifier(const Request &, Response &response);
    void execute(const Request &request, Response &response);
    void upload(const Request &request, Response &response, const httplib::ContentReader &reader);
    void thumbnail(const Request &request, Response &response);
    void media(const Request &request, Response &response);
    [[nodiscard]] std::optional<CommandResult> refusal(const std::string &kind);

    const Parts parts;
    const Options &options;
    std::atomic_bool stalling;
    Refusals refusals;
    LibraryDocument document;
    ThumbnailMaker thumbnails;
    CommandHandler commands;
    UploadHandler uploads;
};
