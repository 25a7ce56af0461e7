// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Routes.h"

#include "MediaServer/FileFetcher.h"

#include <QUrl>

#include <functional>
#include <thread>

using namespace std::chrono_literals;

namespace {

constexpr const char *json = "application/json";

/// Writes the messages of the hub to one notification stream until the connection ends.
class StreamFeed
{
public:
    StreamFeed(NotificationHub &notificationHub, NotificationHub::Subscription subscription,
               std::optional<std::chrono::milliseconds> lifetime)
        : hub(notificationHub)
        , stream(subscription)
        , deadline(lifetime ? Clock::now() + *lifetime : Clock::time_point::max())
    {
    }
    ~StreamFeed() { hub.unsubscribe(stream); }

    StreamFeed(const StreamFeed &) = delete;
    StreamFeed &operator=(const StreamFeed &) = delete;

    bool feed(httplib::DataSink &sink)
    {
        const auto left = deadline - Clock::now();
        if (left <= 0ns)
            return false;
        std::string bytes;
        const StreamEnd end = hub.next(stream, bytes,
                                       std::chrono::duration_cast<std::chrono::milliseconds>(
                                           std::min<Clock::duration>(left, 500ms)));
        if (!bytes.empty())
            return sink.write(bytes.data(), bytes.size());
        switch (end) {
        case StreamEnd::Open:
            return sink.is_writable();
        case StreamEnd::Clean:
            sink.done();
            return true;
        case StreamEnd::Reset:
            HttpServer::resetConnection();
            return false;
        case StreamEnd::Cut:
            return false;
        }
        return false;
    }

private:
    using Clock = std::chrono::steady_clock;

    NotificationHub &hub;
    const NotificationHub::Subscription stream;
    const Clock::time_point deadline;
};

SlotId slotOf(const httplib::Request &request)
{
    return {std::stoi(request.matches[1]), std::stoi(request.matches[2])};
}

std::string summary(const FormFields &fields)
{
    std::string text;
    for (const char *name : {"folderIdx", "visualIdx", "ver", "visualFile", "bytes"}) {
        if (const auto found = fields.find(name); found != fields.end())
            text += (text.empty() ? "" : "&") + std::string(name) + '=' + found->second;
    }
    return text;
}

} // namespace

Routes::Routes(const Parts &serverParts, const Options &serverOptions)
    : parts(serverParts)
    , options(serverOptions)
    , stalling(options.faults.stall)
    , refusals(options.faults.refuse)
    , document(parts.library, {.sparse = options.faults.sparse, .broken = options.faults.badJson})
    , thumbnails(parts.library)
    , commands(parts.library, parts.transfers)
    , uploads(parts.library, parts.transfers, parts.link, parts.importDelay)
{
    parts.http.set_pre_routing_handler([this](const Request &request, Response &) {
        if (request.method != "POST")
            parts.log.add(request.method, request.target);
        return httplib::Server::HandlerResponse::Unhandled;
    });
    parts.http.set_exception_handler([](const Request &, Response &response, std::exception_ptr) {
        response.status = 500;
        response.set_content(CommandResult{ResultCode::UnknownFailure, {}}.toJson(), json);
    });
    const auto handler = [this](auto function) { return std::bind_front(function, this); };
    parts.http.Get("/brenvoka/library\\.json", handler(&Routes::libraryDocument));
    parts.http.Get("/brenvoka/notifier\\.html", handler(&Routes::notifier));
    parts.http.Get("/brenvoka/thumbnails/(\\d{1,3})/(\\d{1,3})\\.png", handler(&Routes::thumbnail));
    parts.http.Get("/media/(\\d{1,3})/(\\d{1,3})", handler(&Routes::media));
    parts.http.Post("/brenvoka/execute\\.html", handler(&Routes::execute));
    parts.http.Post("/brenvoka/upload\\.html", handler(&Routes::upload));
}

void Routes::libraryDocument(const Request &, Response &response)
{
    response.set_header("Cache-Control", "no-store");
    if (!options.versionHeader.empty())
        response.set_header("X-BVProtocolVersion", options.versionHeader);
    if (!options.features.empty())
        response.set_header("X-BVFeatureList", options.features);
    response.set_content(*document.bytes(), json);
}

void Routes::notifier(const Request &, Response &response)
{
    const auto feed = std::make_shared<StreamFeed>(parts.hub, parts.transfers.subscribe(),
                                                   options.faults.dropStreamAfter);
    response.set_header("Cache-Control", "no-store");
    response.set_chunked_content_provider(
        "application/octet-stream",
        [feed](std::size_t, httplib::DataSink &sink) { return feed->feed(sink); });
}

void Routes::execute(const Request &request, Response &response)
{
    parts.log.add(request.method, request.target, request.body);
    while (stalling) {
        if (parts.http.isShuttingDown()) {
            response.status = 503;
            return;
        }
        std::this_thread::sleep_for(50ms);
    }
    const auto refused = refusal(request.get_param_value("req_type"));
    const CommandResult result = refused ? *refused : commands.execute(request.params);
    // The messages about the command are written to the streams before its response.
    parts.hub.drain(1s);
    response.set_content(result.toJson(), json);
}

void Routes::upload(const Request &request, Response &response,
                    const httplib::ContentReader &reader)
{
    FormFields fields;
    const auto refused = refusal("upload");
    CommandResult result;
    if (refused) {
        UploadHandler::discardBody(request, reader);
        result = *refused;
    } else {
        result = uploads.receive(request, reader, fields);
    }
    parts.log.add(request.method, request.target, summary(fields));
    response.set_content(result.toJson(), json);
}

void Routes::thumbnail(const Request &request, Response &response)
{
    const SlotId slot = slotOf(request);
    const Faults &faults = options.faults;
    const auto delay = faults.thumbnailDelays.find(slot);
    parts.link.pause(delay == faults.thumbnailDelays.end() ? faults.thumbnailDelay : delay->second);
    if (faults.failThumbnail.contains(slot)) {
        response.status = 500;
        return;
    }
    const auto thumbnail = thumbnails.thumbnail(slot);
    if (!thumbnail) {
        response.status = 404;
        return;
    }
    // The URL names a slot and not its content, so a cache must revalidate its copy.
    const std::string tag = '"' + thumbnail->hash.toStdString() + '"';
    response.set_header("Cache-Control", "no-cache");
    response.set_header("ETag", tag);
    if (request.get_header_value("If-None-Match") == tag)
        response.status = 304;
    else
        response.set_content(thumbnail->png.toStdString(), "image/png");
}

void Routes::media(const Request &request, Response &response)
{
    auto open = parts.library.open(slotOf(request));
    if (!open) {
        response.status = 404;
        return;
    }
    response.set_header("Cache-Control", "no-store");
    response.set_header(MediaRoute::hashHeader, open->visual.hash.toStdString());
    response.set_header(MediaRoute::fileNameHeader,
                        QUrl::toPercentEncoding(open->visual.fileName).toStdString());
    const std::shared_ptr<QFile> file = std::move(open->file);
    response.set_content_provider(
        static_cast<std::size_t>(file->size()), "application/octet-stream",
        [this, file](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
            file->seek(static_cast<qint64>(offset));
            const QByteArray chunk =
                file->read(static_cast<qint64>(std::min(length, parts.link.chunkSize())));
            const auto size = static_cast<std::size_t>(chunk.size());
            return size > 0 && parts.link.transmit(size) && sink.write(chunk.data(), size);
        });
}

std::optional<CommandResult> Routes::refusal(const std::string &kind)
{
    const std::optional<int> code = refusals.next(kind);
    if (!code)
        return {};
    return CommandResult{static_cast<ResultCode>(*code), options.faults.refuseText};
}
