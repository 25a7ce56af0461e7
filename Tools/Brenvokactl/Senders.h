// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Protocol/Announcement.h"

#include <QList>
#include <QSet>

#include <cstdint>
#include <netinet/in.h>
#include <span>

/// One kind of datagrams from one address.
struct Sender
{
    Announcement announcement; ///< only the address if it is no announcement
    QString mask;              ///< as four numbers; empty if it is no announcement
    QString defect;            ///< why the window never lists it; empty if there is no such reason
    int count = 0;
    /// Why the window did not read it, as long as it never did.
    enum Fate { Read, TickEnded, TooMany, NotFirst };
    Fate fate = TickEnded;

    [[nodiscard]] bool isAnnouncement() const { return !mask.isEmpty(); }
    [[nodiscard]] bool isListed() const { return defect.isEmpty() && fate == Read; }
    /// Why it is not listed; empty if it is.
    [[nodiscard]] QString reason() const;
};

/// The senders of datagrams, and what the window makes of them. The window reads in ticks: it takes
/// the first ten addresses of a tick, and a datagram that is no announcement ends the tick.
class Senders final
{
public:
    void beginTick();
    /// Adds a datagram that was read in the tick. Returns false if it ends the tick.
    bool add(std::span<const std::uint8_t> datagram, const sockaddr_in &source);
    /// Adds a datagram that was left over at the end.
    void addUnread(std::span<const std::uint8_t> datagram, const sockaddr_in &source);

    [[nodiscard]] const QList<Sender> &list() const { return senders; }
    [[nodiscard]] int listedCount() const;
    /// The ticks that were ended by another datagram.
    [[nodiscard]] int endedTicks() const { return ended; }
    /// Datagrams of further senders, above the number that is kept.
    [[nodiscard]] int forgotten() const { return lost; }

private:
    Sender *note(const Sender &sender);
    [[nodiscard]] Sender::Fate fateInTick(quint32 address);

    QList<Sender> senders;
    QSet<quint32> addressesOfTick;
    int ended = 0;
    int lost = 0;
};
