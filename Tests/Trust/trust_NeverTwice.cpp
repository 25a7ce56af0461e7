// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/CommandBodies.h"
#include "Service/HandlerFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Trust.h"

#include <QElapsedTimer>
#include <QHash>
#include <QSet>

namespace {

/// How the faulty server treats its commands, by their number of arrival: every hundredth
/// connection breaks after the command was received, in one of four ways, and some answers are
/// late.
void answerBadly(const WireRequest &request, int number)
{
    switch (number % 400) {
    case 0:
        return request.close();
    case 100:
        return request.reset();
    case 200:
        request.send("HTTP/1.1 200 OK\r\nContent-");
        return request.close();
    case 300: // answered, then closed before the next command
        request.answer(successBody);
        return request.close();
    default:
        break;
    }
    if (number % 50 == 7)
        QTimer::singleShot(3, [request] { request.answer(successBody); });
    else
        request.answer(successBody);
}

QList<VisualRef> firstSlots(int count)
{
    QList<VisualRef> visuals;
    for (int number = 0; number < count; ++number)
        visuals.append({number / 255, number % 255 + 1});
    return visuals;
}

} // namespace

/// Thousands of commands to a server that breaks connections: no removal, rename or move arrives
/// twice, and each is reported exactly once and in order.
class trust_NeverTwice final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { failOnAnyWarning(); }

    void init()
    {
        fixture = std::make_unique<HandlerFixture>(loopback(1));
        fixture->server.on(executePath, [this](const WireRequest &request) {
            ++received[request.body];
            fixture->server.forgetRequests();
            answerBadly(request, arrivals++);
        });
        received.clear();
        arrivals = 0;
        QVERIFY(fixture->open());
        watch.start();
    }

    void cleanup() { fixture.reset(); }

    void removals()
    {
        const QList<VisualRef> visuals = firstSlots(count);
        fixture->handler.requestRemove(visuals);
        QVERIFY(waitForReports());
        QSet<QByteArray> bodies;
        QStringList ends;
        for (const VisualRef &visual : visuals) {
            bodies.insert(CommandBodies::remove(visual));
            ends.append(u"%1 %2"_s.arg(visual.first).arg(visual.second));
        }
        check(u"removed"_s, u"remove error"_s, ends, bodies);
    }

    void renames()
    {
        QList<FolderRename> renames;
        QSet<QByteArray> bodies;
        QStringList ends;
        for (int number = 0; number < count; ++number) {
            renames.append({number % 256, u"Name %1"_s.arg(number)});
            bodies.insert(CommandBodies::rename(renames.constLast()));
            ends.append(QString::number(number % 256));
        }
        fixture->handler.requestRename(renames);
        QVERIFY(waitForReports());
        check(u"renamed"_s, u"rename error"_s, ends, bodies);
    }

    void moves()
    {
        QSet<QByteArray> bodies;
        for (int number = 0; number < count; ++number) {
            const int folder = number / 255;
            const int slot = number % 255 + 1;
            bodies.insert(CommandBodies::move(folder, slot, 0));
            fixture->handler.requestMove(folder, slot, 0);
            EVENTUALLY_COMPARE(fixture->events.lines.size(), number + 1);
        }
        check(u"moved"_s, u"move error"_s, {}, bodies);
    }

private:
    /// There is one report for each command.
    [[nodiscard]] bool waitForReports() const
    {
        const QStringList &lines = fixture->events.lines;
        while (lines.size() < count) {
            if (!waitFor([&, before = lines.size()] { return lines.size() > before; }))
                return false;
        }
        return true;
    }

    void check(const QString &success, const QString &failure, const QStringList &ends,
               const QSet<QByteArray> &bodies)
    {
        const QStringList &lines = fixture->events.lines;
        QCOMPARE(lines.size(), count);
        qsizetype failed = 0;
        for (qsizetype number = 0; number < count; ++number) {
            const QString &line = lines.at(number);
            const bool isFailure = line.startsWith(failure);
            failed += isFailure;
            QVERIFY2(isFailure || line.startsWith(success), qPrintable(line));
            if (!ends.isEmpty())
                QVERIFY2(line.contains(u' ' + ends.at(number)), qPrintable(line));
        }
        for (auto body = received.cbegin(); body != received.cend(); ++body) {
            QVERIFY2(body.value() == 1, body.key().constData());
            QVERIFY2(bodies.contains(body.key()), body.key().constData());
        }
        QVERIFY(failed > 0);
        Trust::report("NeverTwice",
                      u"%1 %2 commands, %3 received, %4 failed, %5 s"_s.arg(count)
                          .arg(success)
                          .arg(arrivals)
                          .arg(failed)
                          .arg(static_cast<double>(watch.elapsed()) / 1000, 0, 'f', 1));
    }

    const int count = Trust::size(2'000, 65'280);
    std::unique_ptr<HandlerFixture> fixture;
    QHash<QByteArray, int> received;
    int arrivals = 0;
    QElapsedTimer watch;
};

QTEST_GUILESS_MAIN(trust_NeverTwice)
#include "trust_NeverTwice.moc"
