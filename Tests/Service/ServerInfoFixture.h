// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Service/ServerInfoService.h"
#include "Support/Sandbox.h"
#include "Support/WireServer.h"

#include <QSignalSpy>
#include <QStandardPaths>

/// A library document without folders, its path, and the required header.
namespace LibraryWire {
inline const QByteArray libraryPath = "/brenvoka/library.json";
inline const QByteArray emptyLibrary = R"({"folders":[],"hash":"empty"})";
inline const QByteArray versionHeader = "X-BVProtocolVersion: 281474976710656\r\n";
} // namespace LibraryWire

/// A service with an empty cache, the server that it asks, and its signal.
struct ServerInfoFixture
{
    explicit ServerInfoFixture(const QString &address)
        : peer(address)
    {
    }

    /// A new server at the address of the peer.
    [[nodiscard]] Server server(const QString &name = QStringLiteral("Stage left")) const
    {
        return Server(QUuid::createUuid(), peer.address(), 8, name);
    }

    /// The record of a `receivedServer`.
    [[nodiscard]] Server received(qsizetype index = 0) const
    {
        return spy.at(index).constFirst().value<Server>();
    }

    [[nodiscard]] static QString cacheDirectory()
    {
        return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
               QStringLiteral("serverInfo");
    }

    Sandbox sandbox;
    WireServer peer;
    ServerInfoService service;
    QSignalSpy spy{&service, &ServerInfoService::receivedServer};
};
