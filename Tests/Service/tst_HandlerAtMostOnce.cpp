// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTesting.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <memory>

namespace {

const QString address = loopback(1);
using Order = std::function<void(ServerConnectionHandler &)>;
using Break = std::function<void(const WireRequest &)>;

} // namespace

/// Connections that break under a command whose effect must not come twice.
class tst_HandlerAtMostOnce : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<HandlerRig>(address);
        QVERIFY(rig->open());
    }

    void cleanup() { rig.reset(); }

    void brokenConnectionIsAnErrorAndNoSecondSending_data()
    {
        const QList<std::pair<const char *, Order>> orders{
            {"remove",
             [](auto &handler) {
                 handler.requestRemove({{3, 17}});
             }},
            {"rename",
             [](auto &handler) {
                 handler.requestRename({{3, u"a"_s}});
             }},
            {"move", [](auto &handler) { handler.requestMove(3, 7, 12); }}};
        const QList<std::pair<const char *, Break>> breaks{
            {"closed", [](const WireRequest &request) { request.close(); }},
            {"reset", [](const WireRequest &request) { request.reset(); }},
            {"half a head", [](const WireRequest &request) {
                 request.send("HTTP/1.1 200 OK\r\nContent-");
                 request.close();
             }}};
        QTest::addColumn<Order>("order");
        QTest::addColumn<Break>("breakIt");
        QTest::addColumn<bool>("keptAlive");
        for (const auto &[command, order] : orders) {
            for (const auto &[how, breakIt] : breaks) {
                QTest::addRow("%s, fresh connection %s", command, how) << order << breakIt << false;
                QTest::addRow("%s, kept alive, %s", command, how) << order << breakIt << true;
            }
        }
    }

    void brokenConnectionIsAnErrorAndNoSecondSending()
    {
        QFETCH(const Order, order);
        QFETCH(const Break, breakIt);
        QFETCH(const bool, keptAlive);
        if (keptAlive) {
            rig->server.answer(executePath, successBody);
            order(rig->handler);
            EVENTUALLY_COMPARE(rig->events.lines.size(), 1);
            rig->events.lines.clear();
        }
        rig->server.on(executePath, breakIt);
        order(rig->handler);
        EVENTUALLY_COMPARE(rig->events.lines.size(), 1);
        QVERIFY2(rig->events.lines.constFirst().contains(u" error "_s),
                 qPrintable(rig->events.lines.constFirst()));
        QVERIFY(!rig->events.lines.constFirst().contains(u"\"\""_s));
        if (keptAlive)
            QCOMPARE(rig->commands().at(1).connection, rig->commands().at(0).connection);

        // What comes next shows that nothing was sent again before it.
        const int count = keptAlive ? 2 : 1;
        rig->server.answer(executePath, successBody);
        rig->handler.requestSync(rig->server.address(), {{1, 1}});
        QVERIFY(rig->waitForCommands(count + 1));
        QCOMPARE(rig->commands().size(), count + 1);
        QVERIFY(rig->commands().last().body.startsWith("req_type=1&"));
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
    }

    void removalsGoOnAfterABrokenConnection()
    {
        rig->server.on(executePath, [](const WireRequest &request) {
            if (request.body.contains("visualIdx=17&"))
                request.close();
            else
                request.answer(successBody);
        });
        rig->handler.requestRemove({{3, 16}, {3, 17}, {3, 18}});
        EVENTUALLY_COMPARE(rig->events.lines.size(), 3);
        QCOMPARE(rig->events.lines.first(), u"removed 3 16"_s);
        QVERIFY(rig->events.lines.at(1).startsWith(u"remove error 3 17 \""_s));
        QCOMPARE(rig->events.lines.last(), u"removed 3 18"_s);
        QCOMPARE(rig->commands().size(), 3);
    }

    // The counterpart: what makes the tests above worth something.
    void syncMayBeSentAgain()
    {
        rig->server.on(executePath, [this](const WireRequest &request) {
            if (rig->commands().size() == 2)
                request.close();
            else
                request.answer(successBody);
        });
        rig->handler.requestSync(rig->server.address(), {{1, 1}});
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        rig->handler.requestSync(rig->server.address(), {{1, 2}});
        EVENTUALLY_COMPARE(rig->probe.pendingRequests(), 0);
        QCOMPARE(rig->commands().size(), 3);
        QCOMPARE(rig->commands().at(1).bytes(), rig->commands().at(2).bytes());
    }

private:
    std::unique_ptr<HandlerRig> rig;
};

QTEST_GUILESS_MAIN(tst_HandlerAtMostOnce)
#include "tst_HandlerAtMostOnce.moc"
