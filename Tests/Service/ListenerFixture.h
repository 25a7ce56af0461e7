// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Service/ServerListenerService.h"

#include "Support/Announcer.h"
#include "Support/Loopback.h"

#include <QStringList>

inline const QUuid stageId(QStringLiteral("1b4e28ba-2fa1-11d2-883f-0016d3cca427"));
inline const QUuid hallId(QStringLiteral("00000000-0000-0000-0000-000000000001"));
inline const QString firstAddress = loopback(1);
inline const QString secondAddress = loopback(2);
inline const QByteArray mask16("\0\0\xff\xff", 4);

/// A service whose ticks the test calls, and its signals in order. The event loop does not
/// run meanwhile, so its own timer stays silent.
class ListenerFixture final
{
public:
    ListenerFixture()
    {
        QObject::connect(&service, &ServerListenerService::addServer, &service,
                         [this](const QUuid &uuid, const QHostAddress &address, int netmask,
                                const QString &name) {
                             record(QStringLiteral("server"), uuid, address, netmask, u' ' + name);
                         });
        QObject::connect(&service, &ServerListenerService::addServerConnection, &service,
                         [this](const QUuid &uuid, const QHostAddress &address, int netmask) {
                             record(QStringLiteral("connection"), uuid, address, netmask);
                         });
        QObject::connect(&service, &ServerListenerService::removeServerConnection, &service,
                         [this](const QUuid &uuid, const QHostAddress &address, int netmask) {
                             record(QStringLiteral("lost connection"), uuid, address, netmask);
                         });
        QObject::connect(
            &service, &ServerListenerService::removeServer, &service,
            [this](const QUuid &uuid) { events << QStringLiteral("lost ") + label(uuid); });
        QObject::connect(&service, &ServerListenerService::serverNameChanged, &service,
                         [this](const QUuid &uuid, const QString &name) {
                             events << QStringLiteral("name %1 %2").arg(label(uuid), name);
                         });
    }

    void tick(int times = 1)
    {
        for (int i = 0; i < times; ++i)
            QMetaObject::invokeMethod(&service, "listServers", Qt::DirectConnection);
    }

    /// The signals since the last call.
    QStringList take() { return std::exchange(events, {}); }

    ServerListenerService service;

private:
    static QString label(const QUuid &uuid)
    {
        return uuid == stageId  ? QStringLiteral("stage")
               : uuid == hallId ? QStringLiteral("hall")
                                : uuid.toString();
    }

    void record(const QString &what, const QUuid &uuid, const QHostAddress &address, int netmask,
                const QString &rest = {})
    {
        events << QStringLiteral("%1 %2 %3/%4%5")
                      .arg(what, label(uuid), address.toString(), QString::number(netmask), rest);
    }

    QStringList events;
};
