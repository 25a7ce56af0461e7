// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Commands.h"
#include "Brenvokactl/Counted.h"
#include "Brenvokactl/PortUsers.h"
#include "Brenvokactl/Senders.h"
#include "Brenvokactl/Terminal.h"
#include "Discovery/DiscoverySocket.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/socket.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::chrono::milliseconds tick{250};
constexpr int datagramsPerTick = 4096;

/// The socket of the window, open until the end.
class Port final
{
public:
    Port()
    {
        Discovery::init(socket);
        Discovery::open(socket);
    }
    ~Port() { Discovery::close(socket); }
    Q_DISABLE_COPY_MOVE(Port)

    [[nodiscard]] bool isOpen() const { return socket.lastError == Discovery::NoError; }
    [[nodiscard]] QString error() const
    {
        return QString::fromLocal8Bit(std::strerror(socket.lastSocketError));
    }

    /// Calls `take` with each waiting datagram until it returns false.
    template <typename Take>
    void read(Take take) const
    {
        // One byte more than the window takes, so that a longer datagram shows.
        std::array<std::uint8_t, Discovery::maximumDatagram + 1> buffer;
        for (int count = 0; count < datagramsPerTick; ++count) {
            sockaddr_in source{};
            socklen_t length = sizeof source;
            const ssize_t size = ::recvfrom(socket.socket, buffer.data(), buffer.size(), 0,
                                            reinterpret_cast<sockaddr *>(&source), &length);
            if (size < 0 || !take(std::span(buffer).first(static_cast<std::size_t>(size)), source))
                return;
        }
    }

private:
    Discovery::DiscoverySocket socket{};
};

Senders listenOn(const Port &port, std::chrono::milliseconds time)
{
    const Terminal::Progress progress(u"Listening on UDP port 3001"_s);
    Senders senders;
    QEventLoop loop;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    auto left = time / tick;
    QObject::connect(&timer, &QTimer::timeout, &loop, [&] {
        senders.beginTick();
        port.read([&senders](auto datagram, const sockaddr_in &source) {
            return senders.add(datagram, source);
        });
        if (--left <= 0)
            loop.quit();
    });
    timer.start(tick);
    loop.exec();
    port.read([&senders](auto datagram, const sockaddr_in &source) {
        senders.addUnread(datagram, source);
        return true;
    });
    return senders;
}

QJsonObject toJson(const Sender &sender)
{
    const auto &[uuid, address, netmask, name] = sender.announcement;
    const auto known = [&sender](const QJsonValue &value) {
        return sender.isAnnouncement() ? value : QJsonValue();
    };
    return {{u"address"_s, address.toString()},
            {u"netmask"_s, netmask < 0 ? QJsonValue() : known(netmask)},
            {u"mask"_s, known(sender.mask)},
            {u"name"_s, known(name)},
            {u"id"_s, known(uuid.toString(QUuid::WithoutBraces))},
            {u"heard"_s, sender.count},
            {u"listed"_s, sender.isListed()},
            {u"reason"_s, sender.isListed() ? QJsonValue() : QJsonValue(sender.reason())}};
}

QStringList toRow(const Sender &sender)
{
    const Announcement &announcement = sender.announcement;
    return {announcement.address.toString(),
            sender.mask,
            announcement.name,
            sender.isAnnouncement() ? announcement.uuid.toString(QUuid::WithoutBraces) : QString(),
            QString::number(sender.count),
            sender.isListed() ? u"yes"_s : u"no"_s,
            sender.reason()};
}

QStringList remarks(const Senders &senders)
{
    QStringList lines;
    if (senders.endedTicks() > 0)
        lines.append(u"Other traffic on the port interrupted the window's reading %1 times: "
                     "announcements wait then."_s.arg(senders.endedTicks()));
    if (senders.forgotten() > 0)
        lines.append(
            u"%1 datagrams of further senders are not listed here."_s.arg(senders.forgotten()));
    return lines;
}

QList<Sender> byAddress(QList<Sender> senders)
{
    std::ranges::stable_sort(senders, {}, [](const Sender &sender) {
        return sender.announcement.address.toIPv4Address();
    });
    return senders;
}

Result resultOf(const Senders &senders)
{
    Result result;
    const int listed = senders.listedCount();
    result.exitCode = listed > 0 ? ExitCode::good : ExitCode::other;
    result.summary = {u"%1, %2 listed by the window"_s.arg(
        counted(senders.list().size(), "sender"_L1), QString::number(listed))};
    result.columns = {{u"address"_s}, {u"mask"_s},   {u"name"_s},  {u"id"_s},
                      {u"heard"_s},   {u"listed"_s}, {u"reason"_s}};
    QJsonArray list;
    for (const Sender &sender : byAddress(senders.list())) {
        result.rows.append(toRow(sender));
        list.append(toJson(sender));
    }
    result.remarks = remarks(senders);
    result.json = {{u"listed"_s, listed},
                   {u"senders"_s, list},
                   {u"interruptions"_s, senders.endedTicks()},
                   {u"forgotten"_s, senders.forgotten()}};
    return result;
}

} // namespace

Expected<Result> Commands::listen(const CommandLine &line)
{
    const QStringList users = PortUsers::ofUdp(Discovery::port);
    if (!users.isEmpty() && !line.share)
        return Expected<Result>::failure(
            u"UDP port 3001 is in use by %1; end it, or listen with --share"_s.arg(
                users.join(u", "_s)));
    const Port port;
    if (!port.isOpen()) {
        const QString user = users.isEmpty() ? QString() : u", in use by "_s + users.join(u", "_s);
        return Expected<Result>::failure(u"UDP port 3001: %1%2"_s.arg(port.error(), user));
    }
    return resultOf(listenOn(port, line.listenFor));
}
