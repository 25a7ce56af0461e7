// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/Announcement.h"

#include "Discovery/DiscoverySocket.h"

#include <QtEndian>

Announcement Announcement::from(const Discovery::DiscoveredServer &entry)
{
    const QHostAddress address(ntohl(entry.source.sin_addr.s_addr));
    // Required: swapped for the second time, as the mask is little-endian in the datagram.
    const QHostAddress mask(qbswap(entry.netmask));
    const QString subnet = address.toString() + u'/' + mask.toString();
    return {QUuid::fromRfc4122(entry.uuid), address, QHostAddress::parseSubnet(subnet).second,
            QString::fromUtf8(QByteArrayView(Discovery::name(entry)))};
}
