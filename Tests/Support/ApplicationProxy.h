// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Support/WireServer.h"

#include <QNetworkProxy>

/// While it lives, the process uses an HTTP proxy that answers nothing, unless a network manager
/// has another one. Servers of the test have to listen before.
///
/// Qt never uses a proxy for a loopback address, but does so for `thisMachine`.
class ApplicationProxy final
{
public:
    explicit ApplicationProxy(const QString &address)
        : server(address, port)
    {
        QNetworkProxy::setApplicationProxy({QNetworkProxy::HttpProxy, address, port});
    }
    ~ApplicationProxy() { QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy); }
    Q_DISABLE_COPY_MOVE(ApplicationProxy)

    /// 0.0.0.0, which Linux connects to 127.0.0.1; no server listens there.
    [[nodiscard]] static QHostAddress thisMachine() { return QHostAddress(QHostAddress::AnyIPv4); }

    /// Whether the process sent anything through it.
    [[nodiscard]] bool wasUsed() const { return server.connectionCount() > 0; }

private:
    static constexpr quint16 port = 3128;

    WireServer server;
};
