// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ListenerFixture.h"
#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Sends an announcement of the first address and calls a tick inside the first such signal.
template <typename Signal>
void tickWithin(ListenerFixture &fixture, Signal signal)
{
    QObject::connect(
        &fixture.service, signal, &fixture.service,
        [&fixture] {
            Announcer(firstAddress).send(announcement({}));
            fixture.tick();
        },
        Qt::SingleShotConnection);
}

} // namespace

/// When connections and servers are removed, and what the service knows meanwhile.
class tst_ServerListenerExpiry final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void connectionIsRemovedInTick121()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        fixture.tick(60);
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.tick(120);
        QCOMPARE(fixture.take(), QStringList());
        fixture.tick();
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
        fixture.tick(300);
        QCOMPARE(fixture.take(), QStringList());
    }

    /// So a server that lost its stream and restarts quickly is not connected again.
    void serverBackWithin120TicksIsNotNew()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        fixture.tick(119);
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList());
    }

    void lastConnectionsAreRemovedBeforeTheServer()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        Announcer(secondAddress).send(announcement({.mask = mask16}));
        fixture.tick();
        fixture.take();
        fixture.tick(121);
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s,
                              u"lost connection stage " LOOPBACK(2) "/16"_s, u"lost stage"_s}));
    }

    void oneOfTwoConnectionsExpires()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        Announcer(secondAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        fixture.tick(100);
        Announcer(secondAddress).send(announcement({}));
        fixture.tick(21);
        QCOMPARE(fixture.take(), QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s});
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"connection stage " LOOPBACK(1) "/24"_s});
    }

    void changedNetmaskIsIgnored()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        Announcer(firstAddress).send(announcement({.mask = mask16}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList());
        fixture.tick(121);
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
    }

    void invalidNetmaskDoesNotRefresh()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        fixture.tick(120);
        QCOMPARE(fixture.take(), QStringList());
        Announcer(firstAddress).send(announcement({.mask = QByteArray("\xff\xff\xff\0", 4)}));
        fixture.tick();
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
    }

    void lostServerReturnsAsNew()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick(1 + 124);
        fixture.take();
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
    }

    void additionsAreReportedBeforeLosses()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick(1 + 120);
        fixture.take();
        Announcer(secondAddress).send(announcement({}));
        Announcer(loopback(3)).send(announcement({.uuid = hallId, .name = "Hall"}));
        fixture.tick();
        QCOMPARE(fixture.take(), (QStringList{u"connection stage " LOOPBACK(2) "/24"_s,
                                              u"server hall " LOOPBACK(3) "/24 Hall"_s,
                                              u"lost connection stage " LOOPBACK(1) "/24"_s}));
    }

    /// A tick inside a signal shows what the service knows at that moment: it reports nothing for
    /// known connections.
    void newServerIsUnknownWhileItIsReported()
    {
        ListenerFixture fixture;
        tickWithin(fixture, &ServerListenerService::addServer);
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), (QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s,
                                              u"server stage " LOOPBACK(1) "/24 Stage left"_s}));
    }

    void lostConnectionIsKnownWhileItIsReported()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        tickWithin(fixture, &ServerListenerService::removeServerConnection);
        fixture.tick(121);
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
    }

    void lostServerIsKnownWhileItIsReported()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        tickWithin(fixture, &ServerListenerService::removeServer);
        fixture.tick(121);
        QCOMPARE(fixture.take(),
                 (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s,
                              u"connection stage " LOOPBACK(1) "/24"_s}));
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
    }
};

QTEST_GUILESS_MAIN(tst_ServerListenerExpiry)
#include "tst_ServerListenerExpiry.moc"
