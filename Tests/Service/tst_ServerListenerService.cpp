// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ListenerFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Wait.h"
#include "Support/WireFile.h"

#include <QDir>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

} // namespace

class tst_ServerListenerService final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void announcementFilesAreRead_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::addColumn<QStringList>("events");
        const QJsonObject files =
            QJsonDocument::fromJson(wireFile(u"announcements.json"_s)).object();
        QVERIFY(!files.isEmpty());
        for (auto file = files.begin(); file != files.end(); ++file) {
            const QJsonObject fields = file->toObject();
            QStringList events;
            if (fields["listed"_L1].toBool()) {
                QCOMPARE(QUuid(fields["uuid"_L1].toString()), stageId);
                events << u"server stage " LOOPBACK(1) "/%1 %2"_s.arg(
                    QString::number(fields["prefixLength"_L1].toInt()),
                    fields["name"_L1].toString());
            }
            QTest::newRow(qPrintable(file.key())) << wireFile(file.key()) << events;
        }
    }
    void announcementFilesAreRead()
    {
        QFETCH(const QByteArray, datagram);
        ListenerFixture fixture;
        QVERIFY(datagram.size() >= 128);
        QVERIFY(Announcer(firstAddress).send(datagram));
        fixture.tick();
        QTEST(fixture.take(), "events");
    }

    void everyAnnouncementFileIsDescribed()
    {
        const QJsonObject described =
            QJsonDocument::fromJson(wireFile(u"announcements.json"_s)).object();
        QCOMPARE(wireFiles().entryList({u"announcement*.bin"_s}, QDir::Files, QDir::Name),
                 described.keys());
    }

    void netmasks_data()
    {
        QTest::addColumn<QByteArray>("mask");
        QTest::addColumn<int>("netmask");
        const auto row = [](const char *name, const char *bytes, int netmask) {
            QTest::newRow(name) << QByteArray(bytes, 4) << netmask;
        };
        row("255.255.255.255", "\xff\xff\xff\xff", 32);
        row("255.255.255.254", "\xfe\xff\xff\xff", 31);
        row("255.255.255.0", "\x00\xff\xff\xff", 24);
        row("255.255.240.0", "\x00\xf0\xff\xff", 20);
        row("255.0.0.0", "\x00\x00\x00\xff", 8);
        row("128.0.0.0", "\x00\x00\x00\x80", 1);
        row("0.0.0.0", "\x00\x00\x00\x00", 0);
        row("0.255.255.255, network order", "\xff\xff\xff\x00", -1);
        row("255.0.255.0, a hole", "\x00\xff\x00\xff", -1);
        row("255.255.255.1", "\x01\xff\xff\xff", -1);
        row("0.0.0.1", "\x01\x00\x00\x00", -1);
    }
    void netmasks()
    {
        QFETCH(const QByteArray, mask);
        QFETCH(const int, netmask);
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.mask = mask}));
        fixture.tick();
        const QStringList expected{u"server stage " LOOPBACK(1) "/%1 Stage left"_s.arg(netmask)};
        QCOMPARE(fixture.take(), netmask < 0 ? QStringList() : expected);
    }

    void firstAnnouncementAddsOneServer()
    {
        ListenerFixture fixture;
        const Announcer sender(firstAddress);
        fixture.tick();
        sender.send(announcement({}));
        QCOMPARE(fixture.take(), QStringList());
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
    }

    void nameIsReadAsUtf8()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.name = "B\xc3\xbchne \xff"}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Bühne \uFFFD"_s});
    }

    void nullUuidIsNeverListed()
    {
        LogCapture log;
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.uuid = QUuid()}));
        fixture.tick(200);
        QCOMPARE(fixture.take(), QStringList());
        QCOMPARE(log.lines(), QStringList());
    }

    void repeatedAnnouncementIsSilent()
    {
        ListenerFixture fixture;
        const Announcer sender(firstAddress);
        sender.send(announcement({}));
        fixture.tick();
        fixture.take();
        for (int i = 0; i < 5; ++i) {
            sender.send(announcement({}));
            sender.send(announcement({}));
            fixture.tick();
        }
        QCOMPARE(fixture.take(), QStringList());
    }

    void secondAddressIsAConnection()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        fixture.take();
        Announcer(secondAddress).send(announcement({.mask = mask16}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"connection stage " LOOPBACK(2) "/16"_s});
    }

    void addressesOfOneTickAreReportedInTableOrder()
    {
        ListenerFixture fixture;
        Announcer(secondAddress).send(announcement({}));
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), (QStringList{u"server stage " LOOPBACK(2) "/24 Stage left"_s,
                                              u"connection stage " LOOPBACK(1) "/24"_s}));
    }

    void changedNameIsReported()
    {
        LogCapture log;
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.name = "Old"}));
        fixture.tick();
        fixture.take();
        for (int i = 0; i < 2; ++i) {
            Announcer(firstAddress).send(announcement({.name = "New"}));
            fixture.tick();
        }
        QCOMPARE(fixture.take(), QStringList{u"name stage New"_s});
        QCOMPARE(log.entries().last(), u"info: server name changed from New to New"_s);
    }

    void newConnectionIsReportedBeforeTheChangedName()
    {
        LogCapture log;
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.name = "Old"}));
        fixture.tick();
        fixture.take();
        Announcer(secondAddress).send(announcement({.name = "New"}));
        fixture.tick();
        QCOMPARE(fixture.take(),
                 (QStringList{u"connection stage " LOOPBACK(2) "/24"_s, u"name stage New"_s}));
        QVERIFY(log.entries().contains(u"info: Found new server connection: %1 | " LOOPBACK(
                                           2) " | 24 | Old"_s.arg(stageId.toString())));
    }

    void twoServersBehindOneAddress()
    {
        ListenerFixture fixture;
        const Announcer sender(firstAddress);
        sender.send(announcement({}));
        fixture.tick();
        sender.send(announcement({.uuid = hallId, .name = "Hall"}));
        fixture.tick();
        QCOMPARE(fixture.take(), (QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s,
                                              u"server hall " LOOPBACK(1) "/24 Hall"_s}));
    }

    void eleventhSenderIsReportedInALaterTick()
    {
        ListenerFixture fixture;
        for (int i = 1; i <= 11; ++i)
            Announcer(loopback(i)).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take().size(), 10);
        Announcer(loopback(11)).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"connection stage " LOOPBACK(11) "/24"_s});
    }

    void otherTypeEndsTheTick()
    {
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.type = 2}));
        Announcer(firstAddress).send(announcement({}));
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList());
        fixture.tick();
        QCOMPARE(fixture.take(), QStringList{u"server stage " LOOPBACK(1) "/24 Stage left"_s});
    }

    void logsNewServersAndConnections()
    {
        LogCapture log;
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({.name = "B\xc3\xbchne %s"}));
        Announcer(secondAddress).send(announcement({.name = "B\xc3\xbchne %s"}));
        fixture.tick();
        const QString form =
            u"info: %1: {1b4e28ba-2fa1-11d2-883f-0016d3cca427} | %2 | 24 | Bühne %s"_s;
        QCOMPARE(log.entries(),
                 (QStringList{form.arg(u"Found new server"_s, firstAddress),
                              form.arg(u"Found new server connection"_s, secondAddress)}));
        for (const QString &line : log.lines())
            QVERIFY2(line.startsWith(u"[ServerListenerService:"_s), qPrintable(line));
    }

    void logsBeforeItEmits()
    {
        LogCapture log;
        ListenerFixture fixture;
        const auto note = [] { ZOR_LOG(info, "emitted"); };
        connect(&fixture.service, &ServerListenerService::addServer, this, note);
        connect(&fixture.service, &ServerListenerService::addServerConnection, this, note);
        connect(&fixture.service, &ServerListenerService::serverNameChanged, this, note);
        Announcer(firstAddress).send(announcement({.name = "Old"}));
        Announcer(secondAddress).send(announcement({.name = "New"}));
        fixture.tick();
        const QString form = u"%1: {1b4e28ba-2fa1-11d2-883f-0016d3cca427} | %2 | 24 | Old"_s;
        QCOMPARE(
            log.texts(),
            (QStringList{form.arg(u"Found new server"_s, firstAddress), u"emitted"_s,
                         form.arg(u"Found new server connection"_s, secondAddress), u"emitted"_s,
                         u"server name changed from New to New"_s, u"emitted"_s}));
    }

    void timerCallsTheTicks()
    {
        const ServerListenerService service;
        QSignalSpy added(&service, &ServerListenerService::addServer);
        Announcer(firstAddress).send(announcement({}));
        QVERIFY(added.wait(patience));
        const auto *timer = service.findChild<QTimer *>();
        QVERIFY(timer);
        QCOMPARE(timer->interval(), 250);
    }

    void ticksPauseWhileAReceiverRunsAnEventLoop()
    {
        const ServerListenerService service;
        QSignalSpy added(&service, &ServerListenerService::addServer);
        qsizetype addedMeanwhile = 0;
        connect(&service, &ServerListenerService::addServer, this, [&](const QUuid &uuid) {
            if (uuid != stageId)
                return;
            Announcer(secondAddress).send(announcement({.uuid = hallId}));
            QEventLoop box;
            QTimer::singleShot(600, &box, &QEventLoop::quit);
            box.exec();
            addedMeanwhile = added.size();
        });
        Announcer(firstAddress).send(announcement({}));
        EVENTUALLY_COMPARE(added.size(), 2);
        QCOMPARE(addedMeanwhile, 1);
    }

    void withoutThePortNothingIsReported()
    {
        LogCapture log;
        const Announcer holder(u"0.0.0.0"_s, 3001);
        QVERIFY(holder.isBound());
        ListenerFixture fixture;
        Announcer(firstAddress).send(announcement({}));
        fixture.tick(3);
        QCOMPARE(fixture.take(), QStringList());
        QCOMPARE(log.lines(), QStringList());
    }

    void destructionIsSilentAndFreesThePort()
    {
        QStringList events;
        {
            ServerListenerService service;
            connect(&service, &ServerListenerService::removeServer, this,
                    [&events] { events << u"lost"_s; });
            Announcer(firstAddress).send(announcement({}));
            QMetaObject::invokeMethod(&service, "listServers");
        }
        QCOMPARE(events, QStringList());
        QVERIFY(Announcer(u"0.0.0.0"_s, 3001).isBound());
    }
};

QTEST_GUILESS_MAIN(tst_ServerListenerService)
#include "tst_ServerListenerService.moc"
