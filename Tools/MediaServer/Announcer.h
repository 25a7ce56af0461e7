// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Options.h"

#include <QTimer>

#include <array>

/// Tells the network of this server: one datagram to UDP port 3001 at each interval, sent from
/// the server's own address, which is how others learn it. Lives on the main thread.
class Announcer : public QObject
{
public:
    using Datagram = std::array<char, 128>;

    /// Throws std::runtime_error when the address cannot be bound.
    explicit Announcer(const Options &serverOptions);
    ~Announcer() override;

    void start();
    void stop();
    void setName(const QString &announcedName);

    /// The announcement: type 1 in network order, then the first half of the uuid at offset 24,
    /// the name at 32, the mask with its last octet first at 116, the rest of the uuid at 120.
    /// A name that is too long is cut between two characters.
    [[nodiscard]] static Datagram datagram(const QUuid &uuid, const QString &name, quint32 mask,
                                           bool maskInNetworkOrder);

private:
    void announce();

    const Options &options;
    QString name;
    QTimer timer;
    int socketHandle = -1;
};
