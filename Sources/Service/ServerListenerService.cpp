// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerListenerService.h"

#include "Log/ZorLog.h"
#include "Protocol/Announcement.h"

#include <QTimer>

#include <algorithm>
#include <chrono>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::chrono::milliseconds pollInterval{250};
constexpr qint64 silentTicks = 120;
constexpr int datagramsPerTick = 4096;

void startSocketLibrary()
{
#ifdef _WIN32
    WSADATA data;
    const int result = WSAStartup(MAKEWORD(2, 2), &data);
    if (result == 0)
        ZOR_LOG(info, "Winsock initialized");
    else
        ZOR_LOG(error, "WSAStartup failed: %d", result);
#endif
}

} // namespace

ServerListenerService::ServerListenerService(QObject *parent)
    : QObject(parent)
{
    Discovery::init(socket);
    startSocketLibrary();
    Discovery::open(socket);

    auto *timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &ServerListenerService::listServers);
    timer->start(pollInterval);
}

ServerListenerService::~ServerListenerService()
{
    Discovery::close(socket);
}

void ServerListenerService::listServers()
{
    Discovery::resetTable(socket);
    for (int read = 0; read < datagramsPerTick && Discovery::poll(socket); ++read) {
    }
    ++pollCount;

    Discovery::DiscoveredServer *table = nullptr;
    std::size_t count = 0;
    Discovery::servers(socket, table, count);
    for (const Discovery::DiscoveredServer &entry : std::span(table, count))
        process(Announcement::from(entry));
    expire();
}

void ServerListenerService::process(const Announcement &announcement)
{
    const auto &[uuid, address, netmask, name] = announcement;
    if (netmask == -1 || uuid.isNull())
        return;

    if (const auto server = knownServers.find(uuid); server != knownServers.end()) {
        noteConnection(*server, announcement);
        noteName(*server, announcement);
        return;
    }
    ZOR_LOG(info, "Found new server: %s | %s | %d | %s", qPrintable(uuid.toString()),
            qPrintable(address.toString()), netmask, qUtf8Printable(name));
    emit addServer(uuid, address, netmask, name);
    knownServers.insert(uuid, {name, {{address, netmask, static_cast<qint32>(pollCount)}}});
}

void ServerListenerService::noteConnection(KnownServer &server, const Announcement &announcement)
{
    const auto &[uuid, address, netmask, name] = announcement;
    const auto known = std::ranges::find(server.connections, address, &KnownConnection::address);
    if (known != server.connections.end()) {
        // Required: the netmask stays the one that was announced first.
        known->lastSeen = static_cast<qint32>(pollCount);
        return;
    }
    server.connections.append({address, netmask, static_cast<qint32>(pollCount)});
    ZOR_LOG(info, "Found new server connection: %s | %s | %d | %s", qPrintable(uuid.toString()),
            qPrintable(address.toString()), netmask, qUtf8Printable(server.name));
    emit addServerConnection(uuid, address, netmask);
}

void ServerListenerService::noteName(KnownServer &server, const Announcement &announcement)
{
    if (server.name == announcement.name)
        return;
    // Required: the name is stored first, so the line has the new name twice.
    server.name = announcement.name;
    ZOR_LOG(info, "server name changed from %s to %s", qUtf8Printable(server.name),
            qUtf8Printable(announcement.name));
    emit serverNameChanged(announcement.uuid, announcement.name);
}

void ServerListenerService::expire()
{
    for (auto server = knownServers.begin(); server != knownServers.end();) {
        const QUuid uuid = server.key();
        expireConnections(uuid, server->connections);
        if (!server->connections.isEmpty()) {
            ++server;
            continue;
        }
        emit removeServer(uuid);
        server = knownServers.erase(server);
    }
}

void ServerListenerService::expireConnections(const QUuid &uuid,
                                              QList<KnownConnection> &connections)
{
    for (qsizetype index = 0; index < connections.size();) {
        const KnownConnection connection = connections.at(index);
        if (pollCount - connection.lastSeen <= silentTicks) {
            ++index;
            continue;
        }
        emit removeServerConnection(uuid, connection.address, connection.netmask);
        connections.removeAt(index);
    }
}
