// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Listener.h"
#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// How connections and servers go, and ticks that a receiver causes meanwhile.
class tst_ServerListenerExpiry final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void connectionStays120TicksAndGoesAtThe121st();
    void lastConnectionsGoBeforeTheirServer();
    void oneOfTwoConnectionsGoes();
    void changedNetmaskIsIgnored();
    void invalidNetmaskDoesNotRefresh();
    void lostServerReturnsAsNew();
    void arrivalsAreToldBeforeLosses();
    void lostServerMayReturnWithinItsLoss();
    void serverHeardWithinTheLossOfAnotherStays();
    void serverHeardWithinTheLossOfItsLastConnectionStays();
    void tickWithinTheLossOfAConnectionIsHarmless();
    void tickWithinANewConnectionIsHarmless();
    void newServerIsToldBeforeItIsKnown();
};

void tst_ServerListenerExpiry::connectionStays120TicksAndGoesAtThe121st()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    listener.tick(60);
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.tick(120);
    QCOMPARE(listener.take(), QStringList());
    listener.tick();
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage 127.10.2.1/24"_s, u"lost stage"_s}));
    listener.tick(300);
    QCOMPARE(listener.take(), QStringList());
}

void tst_ServerListenerExpiry::lastConnectionsGoBeforeTheirServer()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    Announcer(secondAddress).send(announcement({.mask = mask16}));
    listener.tick();
    listener.take();
    listener.tick(121);
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage 127.10.2.1/24"_s,
                          u"lost connection stage 127.10.2.2/16"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::oneOfTwoConnectionsGoes()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    Announcer(secondAddress).send(announcement({}));
    listener.tick();
    listener.take();
    listener.tick(100);
    Announcer(secondAddress).send(announcement({}));
    listener.tick(21);
    QCOMPARE(listener.take(), QStringList{u"lost connection stage 127.10.2.1/24"_s});
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList{u"connection stage 127.10.2.1/24"_s});
}

void tst_ServerListenerExpiry::changedNetmaskIsIgnored()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    Announcer(firstAddress).send(announcement({.mask = mask16}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList());
    listener.tick(121);
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage 127.10.2.1/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::invalidNetmaskDoesNotRefresh()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    listener.tick(120);
    QCOMPARE(listener.take(), QStringList());
    Announcer(firstAddress).send(announcement({.mask = QByteArray("\xff\xff\xff\0", 4)}));
    listener.tick();
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage 127.10.2.1/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::lostServerReturnsAsNew()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick(1 + 124);
    listener.take();
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList{u"server stage 127.10.2.1/24 Stage left"_s});
}

void tst_ServerListenerExpiry::arrivalsAreToldBeforeLosses()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick(1 + 120);
    listener.take();
    Announcer(secondAddress).send(announcement({}));
    Announcer(u"127.10.2.3"_s).send(announcement({.uuid = hallId, .name = "Hall"}));
    listener.tick();
    QCOMPARE(listener.take(),
             (QStringList{u"connection stage 127.10.2.2/24"_s, u"server hall 127.10.2.3/24 Hall"_s,
                          u"lost connection stage 127.10.2.1/24"_s}));
}

void tst_ServerListenerExpiry::lostServerMayReturnWithinItsLoss()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    Announcer(secondAddress).send(announcement({.uuid = hallId, .name = "Hall"}));
    listener.tick();
    listener.take();
    connect(&listener.service, &ServerListenerService::removeServer, &listener.service,
            [&](const QUuid &uuid) {
                if (uuid == stageId)
                    Announcer(firstAddress).send(announcement({.name = "Back"}));
                listener.tick(5);
            });
    listener.tick(121);
    QStringList events = listener.take();
    QCOMPARE(events.removeAll(u"lost connection hall 127.10.2.2/24"_s), 1);
    QCOMPARE(events.removeAll(u"lost hall"_s), 1);
    QCOMPARE(events, (QStringList{u"lost connection stage 127.10.2.1/24"_s, u"lost stage"_s,
                                  u"server stage 127.10.2.1/24 Back"_s}));
}

void tst_ServerListenerExpiry::serverHeardWithinTheLossOfAnotherStays()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    Announcer(secondAddress).send(announcement({.uuid = hallId, .name = "Hall"}));
    listener.tick();
    listener.take();
    const auto other = [](const QUuid &uuid) {
        return uuid == stageId ? qMakePair(hallId, secondAddress)
                               : qMakePair(stageId, firstAddress);
    };
    connect(&listener.service, &ServerListenerService::removeServer, &listener.service,
            [&](const QUuid &uuid) {
                const auto [otherId, address] = other(uuid);
                const QByteArray name = otherId == hallId ? "Hall" : "Stage left";
                Announcer(address).send(announcement({.uuid = otherId, .name = name}));
                listener.tick();
            });
    listener.tick(121);
    const QStringList events = listener.take();
    QCOMPARE(events.size(), 2);
    QVERIFY(events.first().startsWith(u"lost connection "_s));
    QVERIFY(events.last() == u"lost stage"_s || events.last() == u"lost hall"_s);
}

void tst_ServerListenerExpiry::serverHeardWithinTheLossOfItsLastConnectionStays()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    connect(&listener.service, &ServerListenerService::removeServerConnection, &listener.service,
            [&] {
                Announcer(secondAddress).send(announcement({}));
                listener.tick();
            });
    listener.tick(121);
    QCOMPARE(listener.take(), (QStringList{u"lost connection stage 127.10.2.1/24"_s,
                                           u"connection stage 127.10.2.2/24"_s}));
}

void tst_ServerListenerExpiry::tickWithinTheLossOfAConnectionIsHarmless()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    Announcer(secondAddress).send(announcement({}));
    listener.tick();
    listener.take();
    connect(&listener.service, &ServerListenerService::removeServerConnection, &listener.service,
            [&] { listener.tick(); });
    listener.tick(121);
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage 127.10.2.1/24"_s,
                          u"lost connection stage 127.10.2.2/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::tickWithinANewConnectionIsHarmless()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({.name = "Old"}));
    listener.tick();
    listener.take();
    connect(&listener.service, &ServerListenerService::addServerConnection, &listener.service,
            [&] { listener.tick(121); });
    Announcer(secondAddress).send(announcement({.name = "New"}));
    listener.tick();
    QCOMPARE(
        listener.take(),
        (QStringList{u"connection stage 127.10.2.2/24"_s, u"lost connection stage 127.10.2.1/24"_s,
                     u"lost connection stage 127.10.2.2/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::newServerIsToldBeforeItIsKnown()
{
    Listener listener;
    connect(
        &listener.service, &ServerListenerService::addServer, &listener.service,
        [&] {
            Announcer(firstAddress).send(announcement({.name = "Again"}));
            listener.tick();
        },
        Qt::SingleShotConnection);
    Announcer(firstAddress).send(announcement({.name = "First"}));
    listener.tick();
    QCOMPARE(listener.take(), (QStringList{u"server stage 127.10.2.1/24 First"_s,
                                           u"server stage 127.10.2.1/24 Again"_s}));
}

QTEST_GUILESS_MAIN(tst_ServerListenerExpiry)
#include "tst_ServerListenerExpiry.moc"
