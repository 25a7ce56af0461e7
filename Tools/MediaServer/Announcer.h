// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Options.h"

#include <QTimer>

#include <array>

/// Announces this server: sends one datagram to UDP port 3001 in each interval. Receivers take the
/// server's address from the datagram's sender. Lives on the main thread.
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

    /// The announcement: type 1 in network order at offset 0, the first half of the uuid at 24,
    /// the name at 32, the mask with its last octet first at 116, the second half of the uuid at
    /// 120. A name that is too long is cut between two characters.
    [[nodiscard]] static Datagram datagram(const QUuid &uuid, const QString &name, quint32 mask,
                                           bool maskInNetworkOrder);

private:
    void announce();

    const Options &options;
    QString name;
    QTimer timer;
    int socketHandle = -1;
};
