// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoveryTicks.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/LoopWatch.h"
#include "Support/ProcessUse.h"
#include "Support/Trust.h"
#include "System/ProcessSetup.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QSet>

#include <atomic>
#include <thread>
#include <vector>

#include <sys/resource.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int addressCount = 508;
constexpr int acceptedPerTick = 10;
constexpr qint64 mostWork = 250; // milliseconds until a click takes effect

/// One of `addressCount` addresses that no other test program has.
QString address(int number)
{
    return number < 254 ? loopback(number + 1)
                        : QStringLiteral(BRENVOKA_MORE_LOOPBACK ".%1").arg(number - 253);
}

QUuid idOf(int number)
{
    return {uint(number), 0x2fa1, 0x11d2, 0x88, 0x3f, 0x00, 0x16, 0xd3, 0xcc, 0xa4, 0x27};
}

QString seconds(qint64 milliseconds)
{
    return u"%1 s"_s.arg(double(milliseconds) / 1000, 0, 'f', 1);
}

QString megabytes(double size)
{
    return u"%1 MB"_s.arg(size, 0, 'f', 1);
}

/// A window over a discovery whose ticks the test calls.
class FloodFixture final : public DiscoveryTicks<ControllerFixture>
{
public:
    [[nodiscard]] qsizetype listed() const { return offered(bankA()).size(); }
};

/// How many lines of the log contain the text. Reads them one at a time: a flood logs megabytes.
int linesWith(const LogCapture &log, const QByteArray &text)
{
    QFile file(log.path());
    int count = 0;
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd())
            count += file.readLine().contains(text);
    }
    return count;
}

/// Announces ids from `first` on, 100 datagrams before each tick: the tick accepts ten of the
/// senders, so each id is accepted once. Every other datagram is read and dropped.
void announceInvented(const FloodFixture &fixture, int first, int count)
{
    std::vector<std::unique_ptr<Announcer>> senders;
    for (int number = 1; number < addressCount; ++number)
        senders.push_back(std::make_unique<Announcer>(address(number)));
    int sent = 0;
    for (int id = 0; id < count; id += acceptedPerTick) {
        for (int datagram = 0; datagram < 100; ++datagram) {
            const auto uuid = idOf(first + id + datagram % acceptedPerTick);
            QVERIFY(senders[size_t(sent++) % senders.size()]->send(announcement({.uuid = uuid})));
        }
        fixture.tick();
    }
}

} // namespace

/// Announcements and other datagrams without a pause, and hundreds of servers at once: the window
/// responds, the memory is freed afterwards, and real servers are listed.
class trust_Floods final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void inventedServersAreForgotten()
    {
        const int count = Trust::size(2'000, 100'000);
        constexpr int warmUp = 600;
        LogCapture log;
        FloodFixture fixture;
        QVERIFY(fixture.show());
        announceInvented(fixture, 1, warmUp);
        fixture.expire();
        const double before = ProcessUse::memory();

        const LoopWatch watch;
        QElapsedTimer clock;
        clock.start();
        announceInvented(fixture, 1 + warmUp, count);
        const double during = ProcessUse::memory() - before;
        fixture.expire();
        const QString stop = watch.figures();
        const qint64 work = watch.longestWork();
        // Each id costs one download, which fails and blocks it.
        QCOMPARE(linesWith(log, "Found new server: "), warmUp + count);
        EVENTUALLY_COMPARE(linesWith(log, "Failed to download server info"), warmUp + count);
        const qint64 time = clock.elapsed();
        const double after = ProcessUse::memory() - before;

        // What an equal set takes.
        const double heap = ProcessUse::allocated();
        QSet<QUuid> blocked;
        for (int id = 0; id < count; ++id)
            blocked.insert(idOf(id));
        const double ofBlocked = ProcessUse::allocated() - heap;
        Trust::report(
            "Floods",
            u"%1 announcements of %2 ids from %3 addresses in %4: %5, "
            "memory +%6, +%7 when they have expired, of which %8 for blocked ids"_s.arg(count * 10)
                .arg(count)
                .arg(addressCount - 1)
                .arg(seconds(time), stop, megabytes(during), megabytes(after),
                     megabytes(ofBlocked)));
        if (ProcessUse::isMemoryMeasured)
            QCOMPARE_LT(after, 16.0);
        if (Trust::isFull())
            QCOMPARE_LT(work, mostWork);
    }

    /// Real ticks, four a second, against a sender that never waits.
    void windowRespondsAndAnnouncedServersAreListed()
    {
        FloodFixture fixture;
        QVERIFY(fixture.show());
        fixture.timer().start();
        const AnnouncedServer first(address(0), u"Before"_s);
        first.announce();
        EVENTUALLY_COMPARE(fixture.listed(), 1);

        std::atomic<bool> stop = false;
        std::atomic<int> sent = 0;
        std::thread sender([&] { sendUntil(stop, sent); });
        LoopWatch watch;
        const int flood = Trust::size(100'000, 5'000'000);
        const bool isFlooded = waitFor([&] { return sent >= flood; });
        const QString figures = watch.figures();
        const qint64 work = watch.longestWork();
        stop = true;
        sender.join();
        QVERIFY(isFlooded);

        const AnnouncedServer second(address(1), u"After"_s);
        QElapsedTimer clock;
        clock.start();
        // Servers announce themselves again and again.
        QTimer repeat;
        connect(&repeat, &QTimer::timeout, &repeat, [&] { second.announce(); });
        repeat.start(100);
        EVENTUALLY(fixture.offered(fixture.bankA()).contains(u"After"_s));
        const qint64 time = clock.elapsed();
        Trust::report("Floods", u"%1 announcements without a pause: %2, a real server is listed "
                                "%3 ms later"_s.arg(sent)
                                    .arg(figures)
                                    .arg(time));
        if (Trust::isFull()) {
            QCOMPARE_LT(work, mostWork);
            QCOMPARE_LT(time, 2000);
        }
    }

    /// A datagram that is not an announcement ends the reading of its tick, so one tick reads only
    /// one of them.
    void otherDatagramsDelayAnnouncements_data()
    {
        const QByteArray real = announcement({});
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<int>("delay");
        QTest::newRow("of another type") << announcement({.type = 2}) << 20;
        QTest::newRow("empty") << QByteArray() << 20;
        QTest::newRow("too short") << real.first(127) << 20;
        QTest::newRow("of 1,025 bytes") << real + QByteArray(1025 - 128, 'x') << 20;
        QTest::newRow("of 60,000 bytes") << QByteArray(60'000, 'x') << 2;
        QTest::newRow("with an invalid mask") << announcement({.mask = "\1\2\3\4"}) << 0;
        QTest::newRow("with a null uuid") << announcement({.uuid = {}}) << 0;
    }
    void otherDatagramsDelayAnnouncements()
    {
        QFETCH(const QByteArray, datagram);
        QFETCH(const int, delay);
        const FloodFixture fixture;
        const AnnouncedServer server(address(0), u"Real"_s);
        const Announcer other(address(1));
        for (int number = 0; number < std::max(delay, 2); ++number)
            QVERIFY(other.send(datagram));
        server.announce();
        for (int tick = 0; tick < delay; ++tick)
            fixture.tick();
        QCOMPARE(server.server.libraryRequests(), 0);
        fixture.tick();
        EVENTUALLY_COMPARE(fixture.listed(), 1);
    }

    /// With a queue that is always full of them, all servers expire, unless the queue is so short
    /// that an announcement at its end is read in time.
    void queueFullOfOtherDatagramsHidesServers()
    {
        const FloodFixture fixture;
        const AnnouncedServer server(address(0), u"Real"_s);
        server.announce();
        fixture.tick();
        EVENTUALLY_COMPARE(fixture.listed(), 1);

        const Announcer other(address(1));
        const QByteArray datagram = announcement({.type = 2});
        for (int number = 0; number < 4096; ++number)
            QVERIFY(other.send(datagram));
        int silent = 0; // the queue has no room for what is announced before the first tick
        for (; fixture.listed() == 1 && silent < 2 * lifetime; ++silent) {
            server.announce();
            fixture.tick();
            QVERIFY(other.send(datagram));
        }
        int queued = 0;
        do {
            server.announce();
            fixture.tick();
            ++queued;
        } while (server.server.libraryRequests() == 1 && queued < 4096);
        QCOMPARE(silent == lifetime, queued > lifetime);
        EVENTUALLY_COMPARE(fixture.listed(), 1);
        Trust::report("Floods", u"a port with a full queue of other datagrams: an announcement is "
                                "read after %1 ticks, listed servers %2"_s.arg(queued)
                                    .arg(silent == lifetime ? u"expire"_s : u"stay"_s));
    }

    void fiveHundredServersAtOnce()
    {
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = std::min<rlim_t>(1024, limit.rlim_max);
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        const QtMessageHandler handler = qInstallMessageHandler(nullptr);
        ProcessSetup::prepare(); // raises the soft limit to the hard limit
        qInstallMessageHandler(handler);
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        QCOMPARE(limit.rlim_cur, limit.rlim_max);

        // A server has two descriptors here, and the program has two for it, three in between.
        const int count = int(std::min<rlim_t>(500, (limit.rlim_max - 300) / 6));
        FloodFixture fixture;
        QVERIFY(fixture.show());
        std::vector<std::unique_ptr<AnnouncedServer>> servers;
        for (int number = 0; number < count; ++number)
            servers.push_back(
                std::make_unique<AnnouncedServer>(address(number), u"Server %1"_s.arg(number)));
        const int descriptors = ProcessUse::descriptors();
        const double memory = ProcessUse::memory();

        LoopWatch watch;
        QElapsedTimer clock;
        clock.start();
        for (int number = 0; number < count; ++number) {
            servers[size_t(number)]->announce();
            if (number % acceptedPerTick != acceptedPerTick - 1 && number != count - 1)
                continue;
            fixture.tick();
            if (Trust::isFull()) // the pace of real ticks
                QVERIFY(waitFor([pace = QDeadlineTimer(250)] { return pace.hasExpired(); }));
        }
        EVENTUALLY_COMPARE(fixture.listed(), count);
        const qint64 time = clock.elapsed();
        const QString arrival = watch.figures();
        const qint64 work = watch.longestWork();
        const int opened = ProcessUse::descriptors() - descriptors;
        const double grown = ProcessUse::memory() - memory;

        watch.restart();
        fixture.expire();
        QCOMPARE(fixture.listed(), 0);
        const QString departure = watch.figures();
        servers.clear();
        EVENTUALLY(ProcessUse::descriptors() <= descriptors);
        Trust::report("Floods",
                      u"%1 servers at once with a soft limit of 1024 descriptors: listed in %2, "
                      "%3, %4 descriptors and %5 for both sides; at their end %6"_s.arg(count)
                          .arg(seconds(time), arrival)
                          .arg(opened)
                          .arg(megabytes(grown), departure));
        if (Trust::isFull())
            QCOMPARE_LT(work, mostWork);
    }

private:
    static void sendUntil(const std::atomic<bool> &stop, std::atomic<int> &sent)
    {
        std::vector<std::unique_ptr<Announcer>> senders;
        for (int number = 2; number < addressCount; ++number)
            senders.push_back(std::make_unique<Announcer>(address(number)));
        while (!stop) {
            const int number = sent++;
            senders[size_t(number) % senders.size()]->send(
                announcement({.uuid = idOf(1'000'000 + number)}));
        }
    }
};

QTEST_MAIN(trust_Floods)
#include "trust_Floods.moc"
