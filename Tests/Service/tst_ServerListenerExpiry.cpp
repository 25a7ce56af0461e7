// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Listener.h"
#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The first address is heard, and a tick done, within the first signal of that kind.
template <typename Signal>
void tickWithin(Listener &listener, Signal signal)
{
    QObject::connect(
        &listener.service, signal, &listener.service,
        [&listener] {
            Announcer(firstAddress).send(announcement({}));
            listener.tick();
        },
        Qt::SingleShotConnection);
}

} // namespace

/// How connections and servers go, and what is known in the meantime.
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
    void newServerIsUnknownWhileItIsReported();
    void lostConnectionIsKnownWhileItIsReported();
    void lostServerIsKnownWhileItIsReported();
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
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
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
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s,
                          u"lost connection stage " LOOPBACK(2) "/16"_s, u"lost stage"_s}));
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
    QCOMPARE(listener.take(), QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s});
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList{u"connection stage " LOOPBACK(1) "/24"_s});
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
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
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
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::lostServerReturnsAsNew()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick(1 + 124);
    listener.take();
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
}

void tst_ServerListenerExpiry::arrivalsAreToldBeforeLosses()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick(1 + 120);
    listener.take();
    Announcer(secondAddress).send(announcement({}));
    Announcer(loopback(3)).send(announcement({.uuid = hallId, .name = "Hall"}));
    listener.tick();
    QCOMPARE(listener.take(), (QStringList{u"connection stage " LOOPBACK(2) "/24"_s,
                                           u"server hall " LOOPBACK(3) "/24 Hall"_s,
                                           u"lost connection stage " LOOPBACK(1) "/24"_s}));
}

/// A tick by hand within a signal shows what the service knows at that moment: what it knows is
/// only heard again.
void tst_ServerListenerExpiry::newServerIsUnknownWhileItIsReported()
{
    Listener listener;
    tickWithin(listener, &ServerListenerService::addServer);
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), (QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s,
                                           u"server stage " LOOPBACK(1) "/24 Stage left"_s}));
}

void tst_ServerListenerExpiry::lostConnectionIsKnownWhileItIsReported()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    tickWithin(listener, &ServerListenerService::removeServerConnection);
    listener.tick(121);
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s}));
}

void tst_ServerListenerExpiry::lostServerIsKnownWhileItIsReported()
{
    Listener listener;
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    listener.take();
    tickWithin(listener, &ServerListenerService::removeServer);
    listener.tick(121);
    QCOMPARE(listener.take(),
             (QStringList{u"lost connection stage " LOOPBACK(1) "/24"_s, u"lost stage"_s,
                          u"connection stage " LOOPBACK(1) "/24"_s}));
    Announcer(firstAddress).send(announcement({}));
    listener.tick();
    QCOMPARE(listener.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
}

QTEST_GUILESS_MAIN(tst_ServerListenerExpiry)
#include "tst_ServerListenerExpiry.moc"
