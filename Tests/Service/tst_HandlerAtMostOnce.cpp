// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTest.h"
#include "Support/Wait.h"

namespace {

using Order = std::function<void(ServerConnectionHandler &)>;
using Break = std::function<void(const WireRequest &)>;

} // namespace

/// Connections that break during a command that must not be executed twice.
class tst_HandlerAtMostOnce : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void brokenConnectionIsAnErrorAndSendsNothingAgain_data()
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
    void brokenConnectionIsAnErrorAndSendsNothingAgain()
    {
        QFETCH(const Order, order);
        QFETCH(const Break, breakIt);
        QFETCH(const bool, keptAlive);
        if (keptAlive) {
            fixture->server.answer(executePath, successBody);
            order(fixture->handler);
            EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
            fixture->events.lines.clear();
        }
        fixture->server.on(executePath, breakIt);
        order(fixture->handler);
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 1);
        QVERIFY2(fixture->events.lines.constFirst().contains(u" error "_s),
                 qPrintable(fixture->events.lines.constFirst()));
        QVERIFY(!fixture->events.lines.constFirst().contains(u"\"\""_s));
        if (keptAlive)
            QCOMPARE(fixture->commands().at(1).connection, fixture->commands().at(0).connection);

        // The next request shows that nothing was sent again before it.
        const int count = keptAlive ? 2 : 1;
        fixture->server.answer(executePath, successBody);
        fixture->handler.requestSync(fixture->server.address(), {{1, 1}});
        QVERIFY(fixture->waitForCommands(count + 1));
        QCOMPARE(fixture->commands().size(), count + 1);
        QVERIFY(fixture->commands().last().body.startsWith("req_type=1&"));
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
    }

    void removalsContinueAfterABrokenConnection()
    {
        fixture->server.on(executePath, [](const WireRequest &request) {
            if (request.body.contains("visualIdx=17&"))
                request.close();
            else
                request.answer(successBody);
        });
        fixture->handler.requestRemove({{3, 16}, {3, 17}, {3, 18}});
        EVENTUALLY_COMPARE(fixture->events.lines.size(), 3);
        QCOMPARE(fixture->events.lines.first(), u"removed 3 16"_s);
        QVERIFY(fixture->events.lines.at(1).startsWith(u"remove error 3 17 \""_s));
        QCOMPARE(fixture->events.lines.last(), u"removed 3 18"_s);
        QCOMPARE(fixture->commands().size(), 3);
    }

    // The opposite case: Qt does send a sync again.
    void syncMayBeSentAgain()
    {
        fixture->server.on(executePath, [this](const WireRequest &request) {
            if (fixture->commands().size() == 2)
                request.close();
            else
                request.answer(successBody);
        });
        fixture->handler.requestSync(fixture->server.address(), {{1, 1}});
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        fixture->handler.requestSync(fixture->server.address(), {{1, 2}});
        EVENTUALLY_COMPARE(fixture->probe.pendingRequests(), 0);
        QCOMPARE(fixture->commands().size(), 3);
        QCOMPARE(fixture->commands().at(1).bytes(), fixture->commands().at(2).bytes());
    }
};

QTEST_GUILESS_MAIN(tst_HandlerAtMostOnce)
#include "tst_HandlerAtMostOnce.moc"
