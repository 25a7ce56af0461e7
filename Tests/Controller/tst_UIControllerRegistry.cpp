// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerFixture.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QList<MediaFolder> library()
{
    return {folder(0, u"Intro"_s, {cachedVisual(1, u"Sunset"_s, 1)})};
}

/// Three scripted servers with the same library.
class RegistryFixture final : public ControllerFixture
{
public:
    /// Connects the first `count` of them in their order.
    [[nodiscard]] bool open(int count)
    {
        return connectServer(one, u"One"_s, library()) &&
               (count < 2 || connectServer(two, u"Two"_s, library())) &&
               (count < 3 || connectServer(three, u"Three"_s, library()));
    }
    /// The interface of server One, as discovery reports it.
    void removeInterface(int netmask = 8) const
    {
        controller().removeServerConnection(one.uuid, one.wire.address(), netmask);
    }
    void addInterface() const { controller().addServerConnection(one.uuid, one.wire.address(), 8); }

    ScriptedServer one{loopback(1)};
    ScriptedServer two{loopback(2)};
    ScriptedServer three{loopback(3)};
};

} // namespace

/// Servers that appear and change, and which of them the banks offer.
class tst_UIControllerRegistry : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aDiscoveredServerIsShownInBankA()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        server.setLibrary(library());
        fixture.controller().addServer(server.uuid, server.wire.address(), 8, u"Stage left"_s);
        QCOMPARE(fixture.model.servers.size(), 1);
        QVERIFY(!fixture.isConnected(server));
        QVERIFY(server.wire.waitForRequests(1, "/brenvoka/notifier.html"));
        QCOMPARE(fixture.model.servers.first()->folders.size(), 1);
        QCOMPARE(fixture.offered(fixture.bankA()), QStringList());

        QVERIFY(server.openStream());
        EVENTUALLY_COMPARE(fixture.bankA().currentServerUuid(), server.uuid);
        QCOMPARE(fixture.offered(fixture.bankA()), QStringList{u"Stage left"_s});
        QCOMPARE(listOf(fixture.bankA()).count(), 256);
        QCOMPARE(listOf(fixture.bankA()).item(0)->text(), u"Intro"_s);
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
    }

    void theFirstServerGoesToBankAAndTheSecondToBankB()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QVERIFY(fixture.connectServer(fixture.two, u"Two"_s, library()));
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.two.uuid);
        QVERIFY(fixture.connectServer(fixture.three, u"Three"_s, library()));
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.two.uuid);
        QCOMPARE(fixture.offered(fixture.bankA()), (QStringList{u"One"_s, u"Two"_s, u"Three"_s}));
        QCOMPARE(fixture.offered(fixture.bankB()), (QStringList{u"Two"_s, u"Three"_s}));
    }

    void aBankThatLostItsServerIsNotFilledAgain()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(3));
        fixture.controller().removeServer(fixture.one.uuid);
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.two.uuid);
        fixture.controller().removeServer(fixture.two.uuid);
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QVERIFY(fixture.connectServer(fixture.one, u"One"_s, library()));
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QCOMPARE(fixture.offered(fixture.bankA()), (QStringList{u"Three"_s, u"One"_s}));
    }

    void aServerIsNeverOfferedInBothBanksAtOnce()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        QCOMPARE(fixture.offered(fixture.bankB()), QStringList{u"Two"_s});
        fixture.choose(fixture.bankA(), u"Two"_s);
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.two.uuid);
        QCOMPARE(fixture.offered(fixture.bankB()), QStringList{u"One"_s});
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QVERIFY(!fixture.isTransferEnabled());
        QVERIFY(fixture.isSyncWarningShown());
    }

    void bankBKeepsItsServerWhenBankAChanges()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(3));
        fixture.choose(fixture.bankA(), u"Three"_s);
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.three.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.two.uuid);
        QCOMPARE(fixture.offered(fixture.bankB()), (QStringList{u"One"_s, u"Two"_s}));
        fixture.choose(fixture.bankB(), u"One"_s);
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.three.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), fixture.one.uuid);
        QVERIFY(fixture.isTransferEnabled());
    }

    void bankBSelectsTheFirstServerOnlyOnce()
    {
        ControllerFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(1));
        fixture.connectServer(one);
        // A second server is connected, but the lists are not updated yet.
        Server two = sampleServer(u"Two"_s, loopback(2));
        two.connected = true;
        fixture.model.upsertServer(two);
        fixture.controller().serverSelectionChanged(ServerDeckA, one.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), two.uuid);
        QCOMPARE(listOf(fixture.bankB()).count(), 256);
        // This was not the bank's automatic first choice: that is still to come.
        fixture.controller().removeServer(two.uuid);
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        const Server three = sampleServer(u"Three"_s, loopback(3));
        fixture.connectServer(three);
        QCOMPARE(fixture.bankB().currentServerUuid(), three.uuid);
    }

    void aServerWithAnEmptyLibraryIsNotOffered()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"Empty"_s, {}));
        QCOMPARE(fixture.offered(fixture.bankA()), QStringList());
        QCOMPARE(fixture.offered(fixture.bankB()), QStringList());
        QVERIFY(!fixture.bankA().isEnabled());
    }

    void aServerIsOfferedAsSoonAsItHasFolders()
    {
        ScriptedServer server(loopback(1));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"Empty"_s, {}));
        server.setLibrary(library());
        server.sendLibraryChanged();
        EVENTUALLY_COMPARE(fixture.bankA().currentServerUuid(), server.uuid);
    }

    void aRenameClearsTheSelectionOfBothBanks()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        QVERIFY(!fixture.isSyncWarningShown());
        fixture.controller().serverNameChanged(fixture.two.uuid, u"Zwei"_s);
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        QCOMPARE(fixture.comboBox(fixture.bankA()).currentIndex(), -1);
        QVERIFY(fixture.isSyncWarningShown());
    }

    void aRenameOffersTheWholeListInBothBanks()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        fixture.controller().serverNameChanged(fixture.two.uuid, u"Zwei"_s);
        const QStringList all{u"One"_s, u"Zwei"_s};
        QCOMPARE(fixture.offered(fixture.bankA()), all);
        QCOMPARE(fixture.offered(fixture.bankB()), all);
    }

    void aNewInterfaceRefreshesTheLibrary()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        fixture.controller().addServerConnection(fixture.one.uuid, QHostAddress(loopback(9)), 16);
        QVERIFY(fixture.one.wire.waitForRequests(2, "/brenvoka/library.json"));
        const Server &record = fixture.controller().connectedServer(fixture.one.uuid);
        QCOMPARE(record.connections.size(), 2);
        QCOMPARE(record.connections.last(), ServerConnection(QHostAddress(loopback(9)), 16));
    }

    void anInterfaceOfAnUnknownServerChangesNothing()
    {
        ControllerFixture fixture;
        fixture.controller().addServerConnection(QUuid::createUuid(), QHostAddress(loopback(9)),
                                                 16);
        fixture.controller().removeServerConnection(QUuid::createUuid(), QHostAddress(loopback(9)),
                                                    16);
        QVERIFY(fixture.model.servers.isEmpty());
    }

    void aLostInterfaceIsRemovedByAddressAndMask()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        const Server &record = fixture.controller().connectedServer(fixture.one.uuid);
        fixture.removeInterface(24);
        QCOMPARE(record.connections.size(), 1);
        fixture.removeInterface();
        QCOMPARE(record.connections.size(), 0);
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
        // The only request is the one for the interface that returns.
        fixture.addInterface();
        EVENTUALLY(fixture.one.libraryRequests() > 1);
        QCOMPARE(fixture.one.libraryRequests(), 2);
    }

    void aServerWithoutInterfacesGetsNoRequest()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        fixture.removeInterface();
        fixture.controller().serverLibraryChanged(fixture.one.uuid);
        fixture.addInterface();
        QVERIFY(fixture.one.wire.waitForRequests(2, "/brenvoka/library.json"));
        QCOMPARE(fixture.one.libraryRequests(), 2);
    }

    void aChangedLibraryIsDownloadedAndShown()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        fixture.one.setLibrary({folder(0, u"Outro"_s)});
        fixture.one.sendLibraryChanged();
        EVENTUALLY_COMPARE(listOf(fixture.bankA()).item(0)->text(), u"Outro"_s);
        QCOMPARE(fixture.bankA().currentServerUuid(), fixture.one.uuid);
        QCOMPARE(fixture.one.wire.requests("/brenvoka/notifier.html").size(), 1);
    }

    void aChangeOfAnUnknownServerDownloadsNothing()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(1));
        fixture.controller().serverLibraryChanged(QUuid());
        fixture.controller().serverLibraryChanged(QUuid::createUuid());
        fixture.controller().serverLibraryChanged(fixture.one.uuid);
        QVERIFY(fixture.one.wire.waitForRequests(2, "/brenvoka/library.json"));
        QCOMPARE(fixture.one.libraryRequests(), 2);
    }

    void noServerChosenDisablesTheTransfer()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        QVERIFY(fixture.isTransferEnabled());
        QVERIFY(!fixture.isSyncWarningShown());
        fixture.comboBox(fixture.bankB()).setCurrentIndex(-1);
        QVERIFY(!fixture.isTransferEnabled());
        QVERIFY(fixture.isSyncWarningShown());
    }

    void ratesAreShownByTheBankOfTheServer()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        const auto label = [](const BVServerBank &bank, const char *name) {
            return childOf<QLabel>(bank, name).text();
        };
        fixture.two.stream.send(
            Wire::frame(R"({"msg_type":5,"GFPS":59.5,"TFPS":60.25,"MFPS":30,"FS":true})"));
        EVENTUALLY_COMPARE(label(fixture.bankB(), "serverStatusLabel"), u"Connected"_s);
        QCOMPARE(label(fixture.bankB(), "cpuValueLabel"), u"59.50"_s);
        QCOMPARE(label(fixture.bankB(), "gpuValueLabel"), u"60.25"_s);
        QCOMPARE(label(fixture.bankA(), "serverStatusLabel"), u"Disconnected"_s);
        const Server &record = fixture.controller().connectedServer(fixture.two.uuid);
        QVERIFY(record.hasFpsStats && record.isFullScreen);
        QCOMPARE(record.monitorFps, 30.0F);

        fixture.one.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":24.5,"TFPS":25.25})"));
        EVENTUALLY_COMPARE(label(fixture.bankA(), "cpuValueLabel"), u"24.50"_s);
        QCOMPARE(label(fixture.bankA(), "gpuValueLabel"), u"25.25"_s);
        QCOMPARE(label(fixture.bankB(), "cpuValueLabel"), u"59.50"_s);

        fixture.controller().removeServer(fixture.two.uuid);
        QCOMPARE(label(fixture.bankB(), "serverStatusLabel"), u"Disconnected"_s);
        QCOMPARE(label(fixture.bankB(), "cpuValueLabel"), u"0.00"_s);
    }

    void ratesOfAnUnknownServerAreDropped()
    {
        ControllerFixture fixture;
        fixture.controller().serverUpdateFpsStats(QUuid(), 1, 2, 3, true);
        fixture.controller().serverUpdateFpsStats(QUuid::createUuid(), 1, 2, 3, true);
        QCOMPARE(childOf<QLabel>(fixture.bankA(), "serverStatusLabel").text(), u"Disconnected"_s);
    }

    void syncSignIsHiddenOnlyWhileTwoServersAreEqual()
    {
        ScriptedServer one(loopback(1));
        ScriptedServer two(loopback(2));
        ControllerFixture fixture;
        QVERIFY(fixture.isSyncWarningShown());
        one.setLibrary(library());
        QVERIFY(fixture.discover(one, u"One"_s));
        QVERIFY(fixture.isSyncWarningShown());
        two.setLibrary(library());
        QVERIFY(fixture.discover(two, u"Two"_s));
        QVERIFY(!fixture.isSyncWarningShown());

        two.setLibrary({folder(0, u"Outro"_s)});
        two.sendLibraryChanged();
        EVENTUALLY(fixture.isSyncWarningShown());
        two.setLibrary(library());
        two.sendLibraryChanged();
        EVENTUALLY(!fixture.isSyncWarningShown());

        fixture.controller().removeServer(two.uuid);
        QVERIFY(fixture.isSyncWarningShown());
        fixture.controller().removeServer(one.uuid);
        QVERIFY(fixture.isSyncWarningShown());
    }

    void theTransferIsEnabledWithTwoServers()
    {
        ScriptedServer one(loopback(1));
        ScriptedServer two(loopback(2));
        ControllerFixture fixture;
        QVERIFY(!fixture.isTransferEnabled());
        QVERIFY(fixture.connectServer(one, u"One"_s, library(), 32));
        QVERIFY(!fixture.isTransferEnabled());
        // Whether the two share a subnet doesn't matter here.
        QVERIFY(fixture.connectServer(two, u"Two"_s, library(), 32));
        QVERIFY(fixture.isTransferEnabled());
        fixture.controller().removeServer(one.uuid);
        QVERIFY(!fixture.isTransferEnabled());
    }

    void aServerWithoutACommonSubnetDisablesTheTransfer()
    {
        LogCapture log;
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        fixture.removeInterface();
        ModalDriver modals;
        bool isLoggedInTheDialog = false;
        bool isEnabledInTheDialog = false;
        modals.answer([&](QDialog &dialog) {
            isLoggedInTheDialog = log.entries().contains(u"info: Server don't share a subnet"_s);
            isEnabledInTheDialog = fixture.isTransferEnabled();
            dialog.accept();
        });
        fixture.controller().serverConnected(fixture.two.uuid, fixture.two.wire.address());
        QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
        QVERIFY(isLoggedInTheDialog);
        QVERIFY(isEnabledInTheDialog);
        QVERIFY(!fixture.isTransferEnabled());
    }

    void aServerBackDuringTheMessageKeepsTheTransferEnabled()
    {
        RegistryFixture fixture;
        QVERIFY(fixture.open(2));
        fixture.removeInterface();
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            fixture.addInterface();
            fixture.controller().serverConnected(fixture.two.uuid, fixture.two.wire.address());
            dialog.accept();
        });
        fixture.controller().serverConnected(fixture.two.uuid, fixture.two.wire.address());
        QCOMPARE(modals.seen().size(), 1);
        QVERIFY(fixture.isTransferEnabled());
    }
};

QTEST_MAIN(tst_UIControllerRegistry)
#include "tst_UIControllerRegistry.moc"
