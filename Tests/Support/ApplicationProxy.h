// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Support/WireServer.h"

#include <QNetworkProxy>

/// For as long as it lives, an HTTP proxy is what the process uses unless a network manager says
/// otherwise. It answers nothing. Servers of the test have to be listening before.
///
/// Qt asks no proxy for a loopback address, whatever is set, but does so for `thisMachine`.
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
