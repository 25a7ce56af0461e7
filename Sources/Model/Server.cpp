// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Server.h"

#include <QJsonArray>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

std::optional<QList<MediaFolder>> foldersFromJson(const QJsonArray &array)
{
    QList<MediaFolder> folders;
    folders.reserve(array.size());
    for (const auto element : array) {
        MediaFolder folder;
        if (!element.isObject() || !folder.fromJson(element.toObject()))
            return std::nullopt;
        folders.append(folder);
    }
    return folders;
}

} // namespace

Server::Server(const QUuid &id, const QHostAddress &address, int netmask,
               const QString &displayName)
    : connections{{address, netmask}}
    , uuid(id)
    , name(displayName)
{
}

const Server &Server::invalid()
{
    static const Server server;
    return server;
}

bool Server::fromJson(const QJsonObject &json)
{
    const QJsonValue jsonFolders = json["folders"_L1];
    const QJsonValue jsonHash = json["hash"_L1];
    if (!jsonFolders.isArray() || !jsonHash.isString())
        return false;

    const std::optional<QList<MediaFolder>> newFolders = foldersFromJson(jsonFolders.toArray());
    if (!newFolders)
        return false;

    folders = *newFolders;
    hash = jsonHash.toString();
    return true;
}

MediaFolder Server::folderAt(int index) const
{
    return folders.value(index);
}

int Server::folderPosition(int slot) const
{
    const auto found = std::ranges::find(folders, slot, &MediaFolder::slot);
    return found == folders.end() ? -1 : static_cast<int>(found - folders.begin());
}

bool Server::containsHash(const QString &wanted) const
{
    return std::ranges::any_of(
        folders, [&wanted](const MediaFolder &folder) { return folder.containsHash(wanted); });
}

void Server::addConnection(const QHostAddress &address, int netmask)
{
    connections.append({address, netmask});
}

void Server::removeConnection(const QHostAddress &address, int netmask)
{
    connections.removeOne(ServerConnection(address, netmask));
}

bool Server::hasAddress(const QHostAddress &address) const
{
    return std::ranges::find(connections, address, &ServerConnection::first) != connections.end();
}

void Server::setActiveConnection(const QHostAddress &address)
{
    const auto found = std::ranges::find(connections, address, &ServerConnection::first);
    if (found != connections.end())
        activeConnection = static_cast<int>(found - connections.begin());
}

QHostAddress Server::currentAddress() const
{
    return connections.value(activeConnection).first;
}

SubnetMatch Server::findCommonSubnet(const Server &other) const
{
    for (const ServerConnection &mine : connections) {
        for (const ServerConnection &theirs : other.connections) {
            if (mine.first.isInSubnet(theirs) && theirs.first.isInSubnet(mine))
                return {true, {mine.first, theirs.first}};
        }
    }
    return {};
}
