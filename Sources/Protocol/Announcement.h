// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QHostAddress>
#include <QString>
#include <QUuid>

namespace Discovery {
struct DiscoveredServer;
}

/// One announcement in the types of the program.
struct Announcement
{
    QUuid uuid;           ///< null if all its bytes are 0
    QHostAddress address; ///< the sender of the datagram
    int netmask = 0;      ///< length in bits, -1 if the mask is invalid
    QString name;

    [[nodiscard]] static Announcement from(const Discovery::DiscoveredServer &entry);
};
