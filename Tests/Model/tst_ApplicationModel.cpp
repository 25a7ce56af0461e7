// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/ApplicationModel.h"

#include "Model/Brenvoka.h"
#include "Model/ServerDeck.h"
#include "Support/FailOnWarning.h"

#include <QNetworkReply>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

const QUuid stageId(u"00000000-0000-0000-0000-000000000001"_s);
const QUuid hallId(u"00000000-0000-0000-0000-000000000002"_s);
const QUuid unknownId(u"00000000-0000-0000-0000-000000000003"_s);
const QHostAddress stageAddress(u"10.0.0.1"_s);
const QHostAddress hallAddress(u"10.0.0.2"_s);
const QHostAddress otherAddress(u"10.0.0.3"_s);

} // namespace

class tst_ApplicationModel final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        model = std::make_unique<ApplicationModel>();
        model->upsertServer(Server(stageId, stageAddress, 24, u"Stage"_s));
        model->upsertServer(Server(hallId, hallAddress, 24, u"Hall"_s));
    }

    void cleanup() { model.reset(); }

    void defaults()
    {
        const ApplicationModel fresh;
        QVERIFY(fresh.servers.isEmpty());
        QCOMPARE(fresh.selectedFolder, -1);
        QCOMPARE(fresh.selectedViewMode, false);
        QCOMPARE(fresh.selectedIconSize, 1);
        QCOMPARE(fresh.warningLevel, 0xFFFFFFFFU);
        QCOMPARE(fresh.protocolInfo.protocolVersion, 281474976710656ULL);
        QCOMPARE(fresh.protocolInfo.featureList.to_ulong(), 1UL);
    }

    void enumeratorsHaveTheirNumbers()
    {
        QCOMPARE(int(ServerDeckA), 0);
        QCOMPARE(int(ServerDeckB), 1);
        QCOMPARE(int(Brenvoka::DisconnectNone), 0);
        QCOMPARE(int(Brenvoka::DisconnectServerShutdown), 1);
        QCOMPARE(int(Brenvoka::DisconnectOtherClient), 2);
        QCOMPARE(int(Brenvoka::DisconnectNetworkError), 3);
    }

    void signalTypesAreRegistered_data()
    {
        QTest::addColumn<QMetaType>("type");
        QTest::newRow("ServerDeck") << QMetaType::fromType<ServerDeck>();
        QTest::newRow("MediaFolder") << QMetaType::fromType<MediaFolder>();
        QTest::newRow("QNetworkReply::NetworkError")
            << QMetaType::fromType<QNetworkReply::NetworkError>();
    }
    void signalTypesAreRegistered()
    {
        QFETCH(const QMetaType, type);
        QCOMPARE(QMetaType::fromName(QTest::currentDataTag()), type);
    }

    void upsertAppendsACopy()
    {
        QCOMPARE(model->servers.size(), 2);
        QCOMPARE(stage().uuid, stageId);
        QCOMPARE(hall().name, u"Hall"_s);
    }

    void upsertReplacesTheWholeRecord()
    {
        model->markConnected(stageId, stageAddress);
        const Server *record = &stage();
        Server update(stageId, otherAddress, 16, u"Renamed"_s);
        update.hash = u"hash"_s;
        update.folders.resize(3);
        model->upsertServer(update);
        QCOMPARE(model->servers.size(), 2);
        QCOMPARE(&stage(), record);
        QCOMPARE(stage().name, u"Renamed"_s);
        QCOMPARE(stage().hash, u"hash"_s);
        QCOMPARE(stage().folders.size(), 3);
        QCOMPARE(stage().connections, QList<ServerConnection>({{otherAddress, 16}}));
        QVERIFY(!stage().connected);
    }

    void upsertReplacesTheActiveConnection()
    {
        model->addConnection(stageId, otherAddress, 16);
        model->markConnected(stageId, otherAddress);
        QCOMPARE(stage().activeConnection, 1);
        model->upsertServer(Server(stageId, stageAddress, 24, u"Stage"_s));
        QCOMPARE(stage().activeConnection, 0);
        QCOMPARE(stage().currentAddress(), stageAddress);
    }

    void nameIsSetOnAnyServer()
    {
        model->setServerName(hallId, u"Foyer"_s);
        QCOMPARE(hall().name, u"Foyer"_s);
        QCOMPARE(stage().name, u"Stage"_s);
    }

    void connectionIsAddedToAnyServer()
    {
        const Server &server = model->addConnection(hallId, otherAddress, 16);
        QCOMPARE(&server, &hall());
        QCOMPARE(server.connections,
                 QList<ServerConnection>({{hallAddress, 24}, {otherAddress, 16}}));
        QCOMPARE(&model->addConnection(unknownId, otherAddress, 16), &Server::invalid());
        QVERIFY(Server::invalid().connections.isEmpty());
    }

    void markConnectedSetsTheAddress()
    {
        model->addConnection(hallId, otherAddress, 16);
        model->markConnected(hallId, otherAddress);
        QVERIFY(hall().connected);
        QCOMPARE(hall().currentAddress(), otherAddress);
        QVERIFY(!stage().connected);
    }

    void markConnectedWithAnUnknownAddressStillConnects()
    {
        model->addConnection(hallId, otherAddress, 16);
        model->markConnected(hallId, otherAddress);
        model->markConnected(hallId, stageAddress);
        QVERIFY(hall().connected);
        QCOMPARE(hall().activeConnection, 1);
    }

    void connectionIsRemovedFromConnectedServersOnly()
    {
        model->removeConnection(hallId, hallAddress, 24);
        QCOMPARE(hall().connections.size(), 1);
        model->markConnected(hallId, hallAddress);
        model->removeConnection(hallId, hallAddress, 16);
        QCOMPARE(hall().connections.size(), 1);
        model->removeConnection(hallId, hallAddress, 24);
        QCOMPARE(hall().connections.size(), 0);
    }

    void serverIsRemovedInAnyState()
    {
        model->markConnected(stageId, stageAddress);
        QVERIFY(model->removeServer(stageId));
        QCOMPARE(model->servers.size(), 1);
        QCOMPARE(stage().uuid, hallId);
        QVERIFY(model->removeServer(hallId));
        QVERIFY(!model->removeServer(hallId));
        QVERIFY(model->servers.isEmpty());
    }

    void lookupOfAnUnconnectedServerIsInvalid()
    {
        QCOMPARE(&model->connectedServer(stageId), &Server::invalid());
        QCOMPARE(&model->connectedServerByAddress(stageAddress), &Server::invalid());
        model->markConnected(stageId, stageAddress);
        QCOMPARE(&model->connectedServer(stageId), &stage());
        QCOMPARE(&model->connectedServerByAddress(stageAddress), &stage());
        QCOMPARE(&model->connectedServer(unknownId), &Server::invalid());
        QVERIFY(model->connectedServer(unknownId).uuid.isNull());
    }

    void lookupByAddressFindsTheFirstConnected()
    {
        model->addConnection(stageId, otherAddress, 24);
        model->addConnection(hallId, otherAddress, 24);
        model->markConnected(hallId, hallAddress);
        QCOMPARE(&model->connectedServerByAddress(otherAddress), &hall());
        model->markConnected(stageId, stageAddress);
        QCOMPARE(&model->connectedServerByAddress(otherAddress), &stage());
        QCOMPARE(&model->connectedServerByAddress(QHostAddress(u"10.0.0.9"_s)), &Server::invalid());
    }

    void listsConnectedServersWithALibrary()
    {
        const auto withFolders = [](const QUuid &uuid, qsizetype folders, bool connected) {
            Server server(uuid, otherAddress, 24, u"Name"_s);
            server.folders.resize(folders);
            server.connected = connected;
            return server;
        };
        QCOMPARE(model->connectedServersWithLibrary(), QList<QUuid>());
        model->upsertServer(withFolders(stageId, 1, true));
        model->upsertServer(withFolders(hallId, 2, true));
        model->upsertServer(withFolders(unknownId, 0, true));
        QCOMPARE(model->connectedServersWithLibrary(), (QList<QUuid>{stageId, hallId}));
        model->upsertServer(withFolders(stageId, 1, false));
        QCOMPARE(model->connectedServersWithLibrary(), QList<QUuid>{hallId});
    }

    void namesListConnectedServersOnly()
    {
        using Names = QHash<QUuid, QString>;
        QCOMPARE(model->connectedServerNames(), Names());
        model->markConnected(hallId, hallAddress);
        QCOMPARE(model->connectedServerNames(), (Names{{hallId, u"Hall"_s}}));
        model->servers.append(new Server(hallId, otherAddress, 24, u"Twin"_s));
        model->markConnected(hallId, otherAddress);
        QCOMPARE(model->connectedServerNames(), (Names{{hallId, u"Hall"_s}}));
    }

    void frameRatesReachConnectedServersOnly()
    {
        model->setFpsStats(stageId, 1.5F, 2.5F, 3.5F, true);
        QVERIFY(!stage().hasFpsStats);
        model->markConnected(stageId, stageAddress);
        model->setFpsStats(stageId, 1.5F, 2.5F, 3.5F, true);
        QVERIFY(stage().hasFpsStats);
        QVERIFY(stage().isFullScreen);
        QCOMPARE(stage().graphFps, 1.5F);
        QCOMPARE(stage().totalFps, 2.5F);
        QCOMPARE(stage().monitorFps, 3.5F);
        QVERIFY(!hall().hasFpsStats);
    }

    void serverLeavesFullScreen()
    {
        model->markConnected(stageId, stageAddress);
        model->setFpsStats(stageId, 1, 2, 3, true);
        model->setFpsStats(stageId, 1, 2, 3, false);
        QVERIFY(!stage().isFullScreen);
        QVERIFY(stage().hasFpsStats);
    }

    void everyMatchIsMarkedAndTheFirstIsChanged()
    {
        model->servers.append(new Server(stageId, otherAddress, 24, u"Twin"_s));
        const Server &twin = *model->servers[2];
        model->markConnected(stageId, otherAddress);
        QVERIFY(stage().connected && twin.connected && !hall().connected);
        model->setServerName(stageId, u"Renamed"_s);
        model->setFpsStats(stageId, 1, 2, 3, true);
        model->removeConnection(stageId, otherAddress, 24);
        QCOMPARE(&model->addConnection(stageId, hallAddress, 16), &stage());
        QCOMPARE(stage().name, u"Renamed"_s);
        QCOMPARE(twin.name, u"Twin"_s);
        QVERIFY(stage().hasFpsStats && !twin.hasFpsStats);
        QCOMPARE(twin.connections, QList<ServerConnection>({{otherAddress, 24}}));
        QVERIFY(model->removeServer(stageId));
        QCOMPARE(&model->connectedServer(stageId), &twin);
    }

    void unknownServersChangeNothing()
    {
        model->setServerName(unknownId, u"Nobody"_s);
        model->markConnected(unknownId, otherAddress);
        model->removeConnection(unknownId, stageAddress, 24);
        model->setFpsStats(unknownId, 1, 2, 3, true);
        QVERIFY(!model->removeServer(unknownId));
        QCOMPARE(model->servers.size(), 2);
        QVERIFY(!stage().connected && !hall().connected);
        QVERIFY(Server::invalid().name.isNull());
        QVERIFY(!Server::invalid().connected && !Server::invalid().hasFpsStats);
    }

private:
    [[nodiscard]] const Server &stage() const { return *model->servers[0]; }
    [[nodiscard]] const Server &hall() const { return *model->servers[1]; }

    std::unique_ptr<ApplicationModel> model;
};

QTEST_GUILESS_MAIN(tst_ApplicationModel)
#include "tst_ApplicationModel.moc"
