// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerFixture.h"

#include "Service/ServerListenerService.h"
#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

/// The signals that the controller handles, and those that it emits.
class tst_UIControllerSignals : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void discoverySignalsReachTheRegistry()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        server.setLibrary({folder(0, u"Intro"_s)});
        auto *const listener = fixture.controller().findChild<ServerListenerService *>();
        QVERIFY(listener);
        emit listener->addServer(server.uuid, server.wire.address(), 8, u"One"_s);
        QVERIFY(server.openStream());
        EVENTUALLY(fixture.isConnected(server));

        const Server &record = fixture.controller().connectedServer(server.uuid);
        const ServerConnection first(server.wire.address(), 8);
        const ServerConnection second(QHostAddress(loopback(9)), 16);
        QCOMPARE(record.connections, QList<ServerConnection>{first});
        emit listener->addServerConnection(server.uuid, second.first, second.second);
        QCOMPARE(record.connections, (QList<ServerConnection>{first, second}));
        emit listener->removeServerConnection(server.uuid, first.first, first.second);
        QCOMPARE(record.connections, QList<ServerConnection>{second});
        emit listener->serverNameChanged(server.uuid, u"Uno"_s);
        QCOMPARE(fixture.offered(fixture.bankA()), QStringList{u"Uno"_s});
        emit listener->removeServer(server.uuid);
        QVERIFY(fixture.model.servers.isEmpty());
    }

    void aRefreshReportsBankABeforeBankB()
    {
        WindowFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(1));
        const Server two = sampleServer(u"Two"_s, loopback(2));
        const Server three = sampleServer(u"Three"_s, loopback(3));
        fixture.connectServer(one);
        fixture.connectServer(two);
        const QSignalSpy changed(&fixture.controller(), &UIController::serverContentChanged);
        fixture.connectServer(three);
        QCOMPARE(changed, (QList<QVariantList>{{one.uuid}, {two.uuid}}));
    }

    void aRefreshReportsAnEmptyBankToo()
    {
        WindowFixture fixture;
        const QSignalSpy changed(&fixture.controller(), &UIController::serverContentChanged);
        const Server one = sampleServer(u"One"_s, loopback(1));
        fixture.connectServer(one);
        QCOMPARE(changed, (QList<QVariantList>{{one.uuid}, {QUuid()}}));
    }

    void aChoiceRedrawsTheBanksWithoutASignal()
    {
        // It accepts the stream's connection and sends nothing.
        const WireServer silent(loopback(3));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"One"_s, loopback(1)));
        fixture.connectServer(sampleServer(u"Two"_s, loopback(2)));
        fixture.connectServer(sampleServer(u"Three"_s, loopback(3)));
        const QSignalSpy changed(&fixture.controller(), &UIController::serverContentChanged);
        const QSignalSpy redrawnA(listOf(fixture.bankA()).model(), &QAbstractItemModel::modelReset);
        const QSignalSpy redrawnB(listOf(fixture.bankB()).model(), &QAbstractItemModel::modelReset);
        ControllerFixture::choose(fixture.bankB(), u"Three"_s);
        QVERIFY(!redrawnA.isEmpty());
        QVERIFY(!redrawnB.isEmpty());
        QCOMPARE(changed.size(), 0);
    }

    void aChoiceOpensTheStreamOfAServerWithoutOne()
    {
        const WireServer silent(loopback(2));
        WindowFixture fixture;
        fixture.connectServer(sampleServer(u"One"_s, loopback(1)));
        fixture.connectServer(sampleServer(u"Two"_s, loopback(2)));
        QVERIFY(silent.requests().isEmpty());
        ControllerFixture::choose(fixture.bankA(), u"Two"_s);
        QVERIFY(silent.waitForRequests(1, "/brenvoka/notifier.html"));
    }
};

QTEST_MAIN(tst_UIControllerSignals)
#include "tst_UIControllerSignals.moc"
