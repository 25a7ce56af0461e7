// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Senders.h"

#include "Discovery/DiscoverySocket.h"

#include <QtEndian>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype mostSenders = 1000;

QString defectOfOther(std::span<const std::uint8_t> datagram)
{
    if (datagram.size() > Discovery::maximumDatagram)
        return u"longer than %1 bytes"_s.arg(Discovery::maximumDatagram);
    if (datagram.size() < Discovery::announcementSize)
        return u"too short: %1 bytes instead of %2"_s.arg(datagram.size())
            .arg(Discovery::announcementSize);
    return u"other message type: %1"_s.arg(qFromBigEndian<quint32>(datagram.data()));
}

bool isMask(quint32 mask)
{
    return (~mask & (~mask + 1)) == 0;
}

QString defectOf(const Announcement &announcement, quint32 mask)
{
    if (announcement.netmask == -1)
        return isMask(qbswap(mask))
                   ? u"invalid mask: its four bytes are in network order and must be reversed"_s
                   : u"invalid mask"_s;
    return announcement.uuid.isNull() ? u"null id"_s : QString();
}

Sender senderOf(std::span<const std::uint8_t> datagram, const sockaddr_in &source)
{
    Sender sender;
    const auto entry = datagram.size() > Discovery::maximumDatagram
                           ? std::nullopt
                           : Discovery::parse(datagram, source);
    if (entry) {
        const quint32 mask = qbswap(entry->netmask);
        sender.announcement = Announcement::from(*entry);
        sender.mask = QHostAddress(mask).toString();
        sender.defect = defectOf(sender.announcement, mask);
    } else {
        sender.announcement.address = QHostAddress(ntohl(source.sin_addr.s_addr));
        sender.defect = defectOfOther(datagram);
    }
    return sender;
}

bool isSame(const Sender &first, const Sender &second)
{
    const Announcement &one = first.announcement;
    const Announcement &other = second.announcement;
    return one.address == other.address && one.uuid == other.uuid && one.name == other.name &&
           first.mask == second.mask && first.defect == second.defect;
}

} // namespace

QString Sender::reason() const
{
    if (!defect.isEmpty() || fate == Read)
        return defect;
    return fate == TooMany    ? u"more than ten senders in a quarter of a second"_s
           : fate == NotFirst ? u"another announcement of this address was earlier"_s
                              : u"not read: other traffic interrupts the window's reading"_s;
}

void Senders::beginTick()
{
    addressesOfTick.clear();
}

bool Senders::add(std::span<const std::uint8_t> datagram, const sockaddr_in &source)
{
    const Sender heard = senderOf(datagram, source);
    Sender *const sender = note(heard);
    if (!heard.isAnnouncement()) {
        ++ended;
        return false;
    }
    const Sender::Fate fate = fateInTick(source.sin_addr.s_addr);
    if (sender && sender->fate != Sender::Read)
        sender->fate = fate;
    return true;
}

Sender::Fate Senders::fateInTick(quint32 address)
{
    if (addressesOfTick.contains(address))
        return Sender::NotFirst;
    if (addressesOfTick.size() >= static_cast<qsizetype>(Discovery::tableSize))
        return Sender::TooMany;
    addressesOfTick.insert(address);
    return Sender::Read;
}

void Senders::addUnread(std::span<const std::uint8_t> datagram, const sockaddr_in &source)
{
    note(senderOf(datagram, source));
}

int Senders::listedCount() const
{
    return static_cast<int>(std::ranges::count_if(senders, &Sender::isListed));
}

Sender *Senders::note(const Sender &sender)
{
    auto found = std::ranges::find_if(
        senders, [&sender](const Sender &known) { return isSame(known, sender); });
    if (found == senders.end()) {
        if (senders.size() >= mostSenders) {
            ++lost;
            return nullptr;
        }
        found = senders.insert(senders.end(), sender);
    }
    ++found->count;
    return &*found;
}
