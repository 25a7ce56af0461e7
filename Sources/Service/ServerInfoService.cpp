// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerInfoService.h"

#include "Log/ZorLog.h"
#include "Protocol/JsonBody.h"
#include "Protocol/LibraryReply.h"
#include "Protocol/Urls.h"
#include "Service/Http/BoundedDownload.h"

#include <QNetworkDiskCache>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QStandardPaths>

#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 maximumCacheSize = 0x800000;

ProtocolInfo protocolInfoFromHeaders(const QNetworkReply &reply)
{
    return LibraryReply::protocolInfo(reply.rawHeader("X-BVProtocolVersion"),
                                      reply.rawHeader("X-BVFeatureList"));
}

} // namespace

ServerInfoService::ServerInfoService()
{
    auto *cache = new QNetworkDiskCache(this);
    // Required: no separator before the name.
    cache->setCacheDirectory(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
                             "serverInfo"_L1);
    cache->setMaximumCacheSize(maximumCacheSize);
    networkManager.setCache(cache);
    networkManager.setProxy(QNetworkProxy::NoProxy);
    connect(&networkManager, &QNetworkAccessManager::finished, this,
            &ServerInfoService::downloadFinished);
}

void ServerInfoService::requestLibrary(const Server &server)
{
    for (Server &pending : pendingReplies) {
        if (pending.uuid == server.uuid) {
            pending = server;
            return;
        }
    }
    if (blockedServers.contains(server.uuid))
        return;
    // Required: the first connection, not the active one.
    const QUrl url = Protocol::libraryUrl(server.connections.constFirst().first);
    ZOR_LOG(info, "Downloading server info from: %s", qUtf8Printable(url.toString()));
    pendingReplies.insert(BoundedDownload::get(networkManager, url, LibraryReply::maximumSize),
                          server);
}

void ServerInfoService::downloadFinished(QNetworkReply *reply)
{
    reply->deleteLater();
    if (!pendingReplies.contains(reply)) {
        ZOR_LOG(error, "Reply was not found for server info");
        return;
    }
    const QString url = reply->request().url().toString();
    if (const auto failure = BoundedDownload::failure(*reply)) {
        ZOR_LOG(error, "Failed to download server info from %s error: %s", qUtf8Printable(url),
                qUtf8Printable(*failure));
        blockServer(reply);
        return;
    }
    ZOR_LOG(info, "Downloaded server info from: %s", qUtf8Printable(url));

    ProtocolInfo protocolInfo;
    try {
        protocolInfo = protocolInfoFromHeaders(*reply);
    } catch (const std::invalid_argument &exception) {
        ZOR_LOG(error, "Discarding library.json from server %s for malformed feature list: %s",
                qUtf8Printable(pendingReplies.value(reply).name), exception.what());
        blockServer(reply);
        return;
    }
    readLibrary(reply, protocolInfo);
    pendingReplies.remove(reply);
}

void ServerInfoService::readLibrary(QNetworkReply *reply, const ProtocolInfo &protocolInfo)
{
    Server &server = pendingReplies[reply];
    if (!LibraryReply::isSupported(protocolInfo)) {
        ZOR_LOG(error, "Discarding library.json from server %s for unsupported version",
                qUtf8Printable(server.name));
        return;
    }
    if (!server.fromJson(jsonObjectFromBody(reply->readAll()))) {
        ZOR_LOG(error, "Error while parsing library.json from server %s",
                qUtf8Printable(server.name));
        return;
    }
    server.protocolInfo = protocolInfo;
    // A copy: a receiver may request other libraries, which moves the entries of the table.
    const Server complete = server;
    emit receivedServer(complete);
}

void ServerInfoService::blockServer(QNetworkReply *reply)
{
    blockedServers.insert(pendingReplies.take(reply).uuid);
}
