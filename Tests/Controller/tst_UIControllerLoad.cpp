// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "ControllerFixture.h"
#include "Model/LibraryComparison.h"
#include "Support/EventCount.h"
#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

#include <QElapsedTimer>
#include <QTimer>

#include <numeric>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The longest time that the event loop does not run, in milliseconds.
class LongestStop final : public QObject
{
public:
    LongestStop()
    {
        connect(&beat, &QTimer::timeout, this, [this] { longest = qMax(longest, turn.restart()); });
        turn.start();
        beat.start(0);
    }
    qint64 longest = 0;

private:
    QElapsedTimer turn;
    QTimer beat;
};

QByteArray report(qint64 rate)
{
    return Wire::frame(R"({"msg_type":5,"GFPS":)" + QByteArray::number(rate) + R"(,"TFPS":60})");
}

/// A library of a million folders in slot 256, which no row shows.
Server hugeServer(const QString &name)
{
    Server server(QUuid::createUuid(), QHostAddress(loopback(2)), 8, name);
    server.folders = QList<MediaFolder>(1000000, folder(256, u"Past the end"_s));
    return server;
}

constexpr int crowd = 1196;

} // namespace

/// The time for much work at once: continuous reports, many servers, huge libraries. The limits are
/// far above what a slow machine needs, and far below what a search per row takes.
class tst_UIControllerLoad final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void windowRespondsDuringAThousandReportsASecond()
    {
        constexpr int count = 2000;
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"One"_s, {folder(0, u"Intro"_s)}));
        QVERIFY(fixture.show());
        const auto &cpu = childOf<QLabel>(fixture.bankA(), "cpuValueLabel");
        const EventCount changes(childOf<QLabel>(fixture.bankA(), "serverStatusLabel"));
        const LongestStop stop;

        QElapsedTimer clock;
        clock.start();
        int sent = 0;
        QTimer sender;
        connect(&sender, &QTimer::timeout, &sender, [&] {
            for (; sent < qMin<qint64>(count, clock.elapsed()); ++sent)
                server.stream.send(report(sent % 60));
        });
        sender.start(1);
        EVENTUALLY_COMPARE(sent, count);
        server.stream.send(report(77));
        EVENTUALLY_COMPARE(cpu.text(), u"77.00"_s);
        qInfo("%d reports in %lld ms, longest stop %lld ms", count, clock.elapsed(), stop.longest);
        QVERIFY(stop.longest < 1000);
        QVERIFY(changes.of(QEvent::StyleChange) < 10);
    }

    void reportsThatArriveTogetherAreDrawnOnce()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        auto &cpu = childOf<QLabel>(fixture.bankA(), "cpuValueLabel");
        QCoreApplication::processEvents();
        const EventCount changes(cpu);
        for (int rate = 1; rate <= 1000; ++rate)
            fixture.controller().serverUpdateFpsStats(fixture.server.uuid, float(rate % 100), 60,
                                                      60, false);
        fixture.controller().serverUpdateFpsStats(fixture.server.uuid, 59.94F, 60, 60, false);
        EVENTUALLY(changes.of(QEvent::Paint) > 0);
        QCoreApplication::processEvents();
        QCOMPARE(changes.of(QEvent::Paint), 1);
        QCOMPARE(cpu.text(), u"59.94"_s);
    }

    void manyServersAreRemovedAtOnce_data()
    {
        QTest::addColumn<bool>("shownOnesFirst");
        QTest::newRow("shown servers first") << true;
        QTest::newRow("shown servers last") << false;
    }
    void manyServersAreRemovedAtOnce()
    {
        QFETCH(const bool, shownOnesFirst);
        WindowFixture fixture;
        QList<QUuid> uuids;
        for (int number = 0; number < crowd; ++number) {
            Server server = sampleServer(u"Server %1"_s.arg(number), loopback(2));
            server.connected = true;
            fixture.model.upsertServer(server);
            uuids.append(server.uuid);
        }
        const double filling = processorTime([&] {
            fixture.controller().serverConnected(uuids.first(), QHostAddress(loopback(2)));
        });
        QVERIFY(fixture.show());
        QCOMPARE(ControllerFixture::offered(fixture.bankA()).size(), crowd);
        QCOMPARE(ControllerFixture::offered(fixture.bankB()).size(), crowd - 1);
        if (!shownOnesFirst)
            std::ranges::reverse(uuids);

        const double time = processorTime([&] {
            for (const QUuid &uuid : std::as_const(uuids))
                fixture.controller().removeServer(uuid);
        });
        qInfo("%d servers removed: %.0f ms, lists filled: %.1f ms", crowd, time, filling);
        QCOMPARE(ControllerFixture::offered(fixture.bankA()).size(), 0);
        QCOMPARE(ControllerFixture::offered(fixture.bankB()).size(), 0);
        QVERIFY(time < 1500 * filling); // 3000 if each removal fills the lists again
    }

    void aMillionFoldersAreReadInOnePass()
    {
        WindowFixture fixture;
        const Server one = hugeServer(u"One"_s);
        fixture.connectServer(one);
        fixture.connectServer(hugeServer(u"Two"_s));
        QVERIFY(fixture.show());
        QList<int> rows(256);
        std::iota(rows.begin(), rows.end(), 0);

        const auto select = [&] {
            fixture.bankA().selectRows(rows);
            QVERIFY(fixture.bankA().selectedVisuals(true).isEmpty());
        };
        const auto compareAndDraw = [&] { fixture.controller().backToFolders(); };
        const auto search = [&] { QVERIFY(LibraryComparison::slotEmpty(one, 3, 7)); };
        const auto ratioToSearch = [&](const auto &work) {
            return compareCosts([&] { return processorTime(work); },
                                [&] { return processorTime(search); }, 3)
                .ratio();
        };
        QVERIFY(ratioToSearch(select) < 100);
        QVERIFY(ratioToSearch(compareAndDraw) < 100);
    }
};

QTEST_MAIN(tst_UIControllerLoad)
#include "tst_UIControllerLoad.moc"
