// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Trust/DiscoveryTicks.h"

#include <QNetworkDatagram>
#include <QNetworkProxy>
#include <QTcpServer>
#include <QUdpSocket>

#include <array>
#include <memory>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int serverCount = 10;
constexpr int ticksPerSecond = 4;

/// A message with a rate that the server has not sent before.
QByteArray message(int rate)
{
    return Wire::frame(R"({"msg_type":5,"GFPS":)" + QByteArray::number(rate) +
                       R"(,"TFPS":60,"MFPS":60,"FS":true})");
}

/// Everything that this process does in a minute, without what the servers do in it.
class Meter final
{
public:
    template <typename Send>
    void leaveOut(Send send)
    {
        const double start = threadClock();
        send();
        leftOut += threadClock() - start;
    }
    [[nodiscard]] double cost() const { return processorClock() - begin - leftOut; }

private:
    static double threadClock()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) * 1000 + double(time.tv_nsec) / 1e6;
    }

    double begin = processorClock();
    double leftOut = 0;
};

/// Sends the datagrams and messages of some seconds one after the other, each when the former one
/// has been read.
template <typename Receiver>
double costOfSeconds(int seconds, Receiver &receiver)
{
    Meter meter;
    for (int second = 0; second < seconds; ++second) {
        for (int tick = 0; tick < ticksPerSecond; ++tick) {
            // The announcements of a second are distributed over its ticks.
            for (int server = tick; server < serverCount; server += ticksPerSecond)
                meter.leaveOut([&] { receiver.announce(server); });
            receiver.tick();
        }
        for (int server = 0; server < serverCount; ++server) {
            const int rate = ++receiver.lastRate;
            meter.leaveOut([&] { receiver.send(server, message(rate)); });
            while (receiver.rateOf(server) != rate)
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    return meter.cost();
}

/// The program.
class Program final
{
public:
    Program()
    {
        for (int number = 0; number < serverCount; ++number) {
            auto server = std::make_unique<ScriptedServer>(loopback(1 + number));
            server->setLibrary({folder(0, u"Intro"_s)});
            announcers.push_back(std::make_unique<Announcer>(loopback(1 + number)));
            datagrams.append(
                announcement({.uuid = server->uuid, .name = u"Server %1"_s.arg(number).toUtf8()}));
            // Not added in another way: its announcements would then request its library while it
            // sends its rates, and the rates of the former record would be lost.
            announce(number);
            fixture.tick();
            if (!server->openStream() || !waitFor([&] { return fixture.isConnected(*server); }))
                qFatal("A server is not connected");
            servers.push_back(std::move(server));
        }
        if (!fixture.show())
            qFatal("The window is not shown");
    }

    void announce(int server) const { announcers[std::size_t(server)]->send(datagrams.at(server)); }
    void tick() const { fixture.tickAloud(); }
    void send(int server, const QByteArray &bytes) const
    {
        servers[std::size_t(server)]->stream.send(bytes);
    }
    [[nodiscard]] int rateOf(int server) const
    {
        const QUuid &uuid = servers[std::size_t(server)]->uuid;
        return int(fixture.model.connectedServer(uuid).graphFps);
    }

    DiscoveryTicks<ControllerFixture> fixture;
    std::vector<std::unique_ptr<ScriptedServer>> servers;
    std::vector<std::unique_ptr<Announcer>> announcers;
    QList<QByteArray> datagrams;
    int lastRate = 0;
};

/// Qt's sockets and event loop, and nothing else.
class BareLoop final
{
public:
    BareLoop()
    {
        datagrams.bind(QHostAddress::LocalHost, 0);
        QObject::connect(&datagrams, &QUdpSocket::readyRead, &datagrams, [this] {
            while (datagrams.hasPendingDatagrams())
                (void)datagrams.receiveDatagram();
        });
        QTcpServer listener;
        listener.listen(QHostAddress::LocalHost);
        for (int number = 0; number < serverCount; ++number) {
            auto socket = std::make_unique<QTcpSocket>();
            socket->setProxy(QNetworkProxy::NoProxy);
            socket->connectToHost(listener.serverAddress(), listener.serverPort());
            if (!listener.waitForNewConnection(patience) || !socket->waitForConnected(patience))
                qFatal("A socket is not connected");
            peers.emplace_back(listener.nextPendingConnection());
            peers.back()->setParent(nullptr);
            QObject::connect(socket.get(), &QTcpSocket::readyRead, socket.get(),
                             [this, number, socket = socket.get()] {
                                 QByteArray received = socket->readAll();
                                 received.chop(1);
                                 rates[std::size_t(number)] =
                                     QJsonDocument::fromJson(received)["GFPS"_L1].toInt();
                             });
            sockets.push_back(std::move(socket));
        }
    }

    void announce(int)
    {
        sender.writeDatagram(datagram, QHostAddress::LocalHost, datagrams.localPort());
    }
    void tick() const { QCoreApplication::processEvents(); }
    void send(int server, const QByteArray &bytes) const
    {
        peers[std::size_t(server)]->write(bytes);
        peers[std::size_t(server)]->flush();
    }
    [[nodiscard]] int rateOf(int server) const { return rates[std::size_t(server)]; }

    const QByteArray datagram = announcement({});
    QUdpSocket sender;
    QUdpSocket datagrams;
    std::vector<std::unique_ptr<QTcpSocket>> sockets;
    std::vector<std::unique_ptr<QTcpSocket>> peers;
    std::array<int, serverCount> rates{};
    int lastRate = 0;
};

} // namespace

/// A minute in which nobody does anything: ten servers announce themselves and send their rates
/// every second. Its events follow each other without the time between them.
class tst_IdleBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void idleMinute()
    {
        Program program;
        BareLoop bare;
        const auto costOf = [](auto &receiver, int part) {
            const Silence silence;
            return costOfSeconds(60 / part, receiver);
        };
        (void)costOf(program, 60); // everything is painted for the first time
        compareSizes([&](int part) { return costOf(program, part); },
                     [&](int part) { return costOf(bare, part); })
            .print({"idle minute with ten servers sending rates",
                    "a bare loop that reads the same datagrams and messages", 3, 1.5});
    }
};

QTEST_MAIN(tst_IdleBenchmark)
#include "tst_IdleBenchmark.moc"
