// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoveryTicks.h"

#include "Controller/SyncClickFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/LoopWatch.h"
#include "Support/ProcessUse.h"
#include "Support/Trust.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <array>
#include <deque>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// How much of each happens in a number of ticks.
struct Show
{
    int ticks;
    int arrivals; ///< and as many departures
    int changes;  ///< a folder is opened and left, and a library changes
    int syncs;
    int messages; ///< on the stream of one server
};

/// Eight hours at four ticks a second.
constexpr Show longShow{115'200, 10'000, 1'000, 1'000, 10'000'000};

Show partOf(int divisor)
{
    return {longShow.ticks / divisor, longShow.arrivals / divisor, longShow.changes / divisor,
            longShow.syncs / divisor, longShow.messages / divisor};
}

/// How many of `count` events, evenly distributed, happen in that tick.
int due(qint64 tick, const Show &show, qint64 count)
{
    return int((tick + 1) * count / show.ticks - tick * count / show.ticks);
}

/// What must not grow: descriptors, objects in the window, other objects, widgets.
using Counts = std::array<qsizetype, 4>;

Counts counts(const QObject &window)
{
    return {ProcessUse::descriptors(), window.findChildren<QObject *>().size(),
            QCoreApplication::instance()->findChildren<QObject *>().size(),
            QApplication::allWidgets().size()};
}

bool isNotAbove(const Counts &now, const Counts &before)
{
    return std::ranges::equal(now, before, std::less_equal());
}

QString text(const Counts &counts)
{
    return u"%1 descriptors, %2 objects in the window, %3 others, %4 widgets"_s.arg(counts[0])
        .arg(counts[1])
        .arg(counts[2])
        .arg(counts[3]);
}

/// The counts once they have not changed for a while.
Counts settledCounts(const QObject &window)
{
    Counts last{};
    int same = 0;
    (void)waitFor([&] {
        const Counts now = counts(window);
        same = now == last ? same + 1 : 0;
        last = now;
        return same == 100;
    });
    return last;
}

QByteArray libraryResponse(const QString &nameOfFirst, const QList<MediaFolder> &others)
{
    const QList<MediaFolder> folders = QList{folder(1, nameOfFirst)} + others;
    return Wire::response(libraryDocument(folders, nameOfFirst).toJson(),
                          "X-BVProtocolVersion: 1\r\nCache-Control: no-store\r\n");
}

QByteArray transfer(int type, const QByteArray &status)
{
    return Wire::frame(R"({"msg_type":)" + QByteArray::number(type) +
                       R"(,"sync":{"ID":"{7d444840-9dc0-11d1-b245-5ffdce74fad2}","STATUS":)" +
                       status + R"(,"FLDIDX":0,"VISIDX":1,"CPERCENT":50}})");
}

/// Reports of the frame rate, every twentieth message from a transfer or of an unknown type.
QByteArray messages(int count)
{
    const QByteArray others[] = {transfer(1, "0"), transfer(2, "2"), transfer(3, "6"),
                                 Wire::frame(R"({"msg_type":99})")};
    QByteArray all;
    for (int number = 0; number < count; ++number) {
        all += number % 20 == 7 ? others[number / 20 % 4]
                                : Wire::frame(R"({"msg_type":5,"GFPS":59.5,"TFPS":60,"MFPS":60})");
    }
    return all;
}

} // namespace

/// A long show with two servers in the banks, others that come and go, folders that change and
/// synchronisations: the program uses as much afterwards as before. The ticks of discovery are
/// called one after the other, without waiting for the time to pass.
class trust_Soak final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void nothingGrows()
    {
        const LogCapture log;
        DiscoveryTicks<SyncClickFixture> fixture;
        QVERIFY(open(fixture));
        QVERIFY(run(fixture, partOf(400)));
        const Counts before = settledCounts(*fixture.window);
        const double memory = ProcessUse::memory();

        const Show show = partOf(Trust::size(100, 1));
        QElapsedTimer clock;
        clock.start();
        const LoopWatch watch;
        QVERIFY(run(fixture, show));
        const QString stop = watch.figures();
        (void)waitFor([&] { return isNotAbove(counts(*fixture.window), before); });
        const Counts after = counts(*fixture.window);
        const double grown = ProcessUse::memory() - memory;
        const QString work =
            u"%1 ticks, %2 arrivals and departures, %3 folder changes, %4 synchronisations, %5 "
            "messages in %6 s"_s.arg(show.ticks)
                .arg(show.arrivals)
                .arg(show.changes)
                .arg(show.syncs)
                .arg(show.messages)
                .arg(clock.elapsed() / 1000);
        Trust::report("Soak", u"%1: before %2; after %3; memory %4 MB, then %5 MB more; "_s.arg(
                                  work, text(before), text(after), QString::number(memory, 'f', 1),
                                  QString::number(grown, 'f', 1)) +
                                  stop);
        QVERIFY(isNotAbove(after, before));
        if (ProcessUse::isMemoryMeasured)
            QCOMPARE_LT(grown, 8.0);
    }

private:
    using Fixture = DiscoveryTicks<SyncClickFixture>;

    [[nodiscard]] bool open(Fixture &fixture)
    {
        const MediaFolder stage = folder(3, u"Stage"_s, {cachedVisual(5, u"Harbour"_s, 5)});
        const MediaFolder intro = folder(0, u"Intro"_s, {cachedVisual(1, u"Sunset"_s, 1)});
        const QByteArray forSource[] = {libraryResponse(u"Loops"_s, {intro, stage}),
                                        libraryResponse(u"Clips"_s, {intro, stage})};
        fixture.one.wire.on("/brenvoka/library.json", [=, this](const WireRequest &request) {
            request.send(forSource[change % 2]);
        });
        fixture.two.wire.on("/brenvoka/library.json",
                            [=, answer = libraryResponse(u"Clips"_s, {stage})](
                                const WireRequest &request) { request.send(answer); });
        fixture.model.warningLevel = 0;
        return fixture.show() && fixture.discover(fixture.one, u"One"_s) &&
               fixture.discover(fixture.two, u"Two"_s);
    }

    [[nodiscard]] bool run(Fixture &fixture, const Show &show)
    {
        struct Guest
        {
            qint64 arrival;
            std::unique_ptr<AnnouncedServer> server;
        };
        std::deque<Guest> guests;
        const QByteArray perTick = messages(show.messages / show.ticks + 1);
        for (qint64 tick = 0; tick < show.ticks; ++tick) {
            fixture.one.stream.send(perTick);
            for (int count = due(tick, show, show.arrivals); count > 0; --count) {
                guests.push_back({tick, std::make_unique<AnnouncedServer>(
                                            loopback(int(arrivals++ % 90) + 1), u"Guest"_s)});
                guests.back().server->announce();
            }
            fixture.tick();
            const auto isConnected = [&] {
                return fixture.isConnected(guests.back().server->server);
            };
            if (!guests.empty() && guests.back().arrival == tick && !waitFor(isConnected))
                return false;
            while (!guests.empty() && guests.front().arrival + lifetime < tick) {
                if (fixture.isConnected(guests.front().server->server))
                    return false;
                guests.pop_front();
            }
            for (int count = due(tick, show, show.changes); count > 0; --count) {
                if (!changeFolder(fixture))
                    return false;
            }
            for (int count = due(tick, show, show.syncs); count > 0; --count) {
                if (!synchronise(fixture))
                    return false;
            }
            if (tick % 16 == 0 && !waitUntilHandled(fixture))
                return false;
        }
        fixture.expire();
        return waitUntilHandled(fixture);
    }

    /// A folder is opened and left, then the library of the source changes.
    [[nodiscard]] bool changeFolder(Fixture &fixture)
    {
        doubleClickRow(fixture.bankA(), 3);
        if (!waitFor([&] { return listOf(fixture.bankB()).count() == 257; }))
            return false;
        fixture.controller().backToFolders();
        const QString before = fixture.controller().connectedServer(fixture.one.uuid).hash;
        ++change;
        fixture.one.sendLibraryChanged();
        return waitFor(
            [&] { return fixture.controller().connectedServer(fixture.one.uuid).hash != before; });
    }

    [[nodiscard]] static bool synchronise(Fixture &fixture)
    {
        fixture.two.wire.forgetRequests();
        if (!fixture.start())
            return false;
        fixture.two.sendStarted({0, 1});
        fixture.two.sendProgress({0, 1}, Brenvoka::SyncTransferring, 50);
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncFinished);
        return waitFor(
            [&] { return !fixture.transferDialog() && fixture.two.libraryRequests() > 0; });
    }

    /// Waits until the program has handled every message so far.
    [[nodiscard]] bool waitUntilHandled(Fixture &fixture)
    {
        const auto mark = float(++marks % 1'000'000);
        fixture.one.stream.send(
            Wire::frame(R"({"msg_type":5,"GFPS":)" + QByteArray::number(mark) + '}'));
        fixture.one.wire.forgetRequests();
        return waitFor([&] {
            return fixture.controller().connectedServer(fixture.one.uuid).graphFps == mark;
        });
    }

    int change = 0;
    int marks = 0;
    qint64 arrivals = 0;
};

QTEST_MAIN(trust_Soak)
#include "trust_Soak.moc"
