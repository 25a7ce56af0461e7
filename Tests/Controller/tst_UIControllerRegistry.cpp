// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QList<MediaFolder> library()
{
    return {folder(0, u"Intro"_s, {visual(1, u"Sunset"_s, 1)})};
}

} // namespace

/// Servers that come and change, and which of them the banks offer.
class tst_UIControllerRegistry : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aDiscoveredServerReachesTheScreen();
    void theFirstServerGoesToBankAAndTheSecondToBankB();
    void aBankLeftEmptyIsNotFilledAgain();
    void aServerIsNeverOfferedInBothBanksAtOnce();
    void bankBKeepsItsServerWhenBankAChanges();
    void bankBTakesTheFirstLeftOnlyWhileItNeverHadOne();
    void anEmptyLibraryIsOfferedNowhere();
    void aServerIsOfferedAsSoonAsItHasFolders();
    void aRenameClearsTheSelectionOfBothBanks();
    void aRenameOffersTheWholeListInBothBanks();
    void aNewInterfaceRefreshesTheLibrary();
    void anInterfaceOfAnUnknownServerChangesNothing();
    void aLostInterfaceIsForgottenByAddressAndMask();
    void aServerWithoutInterfacesIsNotAsked();
    void aChangedLibraryIsFetchedAndDrawn();
    void aChangeOfAnUnknownServerFetchesNothing();
    void noServerChosenDisablesTheTransfer();
    void ratesAreShownByTheBankOfTheServer();
    void ratesOfAnUnknownServerAreDropped();
    void theSignHidesOnlyWhileTwoServersAreEqual();
    void theTransferIsEnabledWithTwoServers();
    void aServerThatReachesNobodyDisablesTheTransfer();
    void aServerThatIsBackUnderTheMessageKeepsTheTransfer();
};

void tst_UIControllerRegistry::aDiscoveredServerReachesTheScreen()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    server.setLibrary(library());
    rig.controller().addServer(server.uuid, server.wire.address(), 8, u"Stage left"_s);
    QCOMPARE(rig.model().servers.size(), 1);
    QVERIFY(!rig.isConnected(server));
    QVERIFY(server.wire.waitForRequests(1, "/brenvoka/notifier.html"));
    QCOMPARE(rig.model().servers.first()->folders.size(), 1);
    QCOMPARE(rig.offered(rig.bankA()), QStringList());

    QVERIFY(server.openStream());
    EVENTUALLY_COMPARE(rig.bankA().currentServerUuid(), server.uuid);
    QCOMPARE(rig.offered(rig.bankA()), QStringList{u"Stage left"_s});
    QCOMPARE(listOf(rig.bankA()).count(), 256);
    QCOMPARE(listOf(rig.bankA()).item(0)->text(), u"Intro"_s);
    QVERIFY(rig.bankB().currentServerUuid().isNull());
}

void tst_UIControllerRegistry::theFirstServerGoesToBankAAndTheSecondToBankB()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    PlayedServer three(loopback(3));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QCOMPARE(rig.bankA().currentServerUuid(), one.uuid);
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QCOMPARE(rig.bankA().currentServerUuid(), one.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    QVERIFY(rig.bringUp(three, u"Three"_s, library()));
    QCOMPARE(rig.bankA().currentServerUuid(), one.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    QCOMPARE(rig.offered(rig.bankA()), (QStringList{u"One"_s, u"Two"_s, u"Three"_s}));
    QCOMPARE(rig.offered(rig.bankB()), (QStringList{u"Two"_s, u"Three"_s}));
}

void tst_UIControllerRegistry::aBankLeftEmptyIsNotFilledAgain()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    PlayedServer three(loopback(3));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QVERIFY(rig.bringUp(three, u"Three"_s, library()));
    rig.controller().removeServer(one.uuid);
    QVERIFY(rig.bankA().currentServerUuid().isNull());
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    rig.controller().removeServer(two.uuid);
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bankA().currentServerUuid().isNull());
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    QCOMPARE(rig.offered(rig.bankA()), (QStringList{u"Three"_s, u"One"_s}));
}

void tst_UIControllerRegistry::aServerIsNeverOfferedInBothBanksAtOnce()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QCOMPARE(rig.offered(rig.bankB()), QStringList{u"Two"_s});
    rig.choose(rig.bankA(), u"Two"_s);
    QCOMPARE(rig.bankA().currentServerUuid(), two.uuid);
    QCOMPARE(rig.offered(rig.bankB()), QStringList{u"One"_s});
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    QVERIFY(!rig.isTransferEnabled());
    QVERIFY(rig.isSyncWarningShown());
}

void tst_UIControllerRegistry::bankBKeepsItsServerWhenBankAChanges()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    PlayedServer three(loopback(3));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QVERIFY(rig.bringUp(three, u"Three"_s, library()));
    rig.choose(rig.bankA(), u"Three"_s);
    QCOMPARE(rig.bankA().currentServerUuid(), three.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    QCOMPARE(rig.offered(rig.bankB()), (QStringList{u"One"_s, u"Two"_s}));
    rig.choose(rig.bankB(), u"One"_s);
    QCOMPARE(rig.bankA().currentServerUuid(), three.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), one.uuid);
    QVERIFY(rig.isTransferEnabled());
}

void tst_UIControllerRegistry::bankBTakesTheFirstLeftOnlyWhileItNeverHadOne()
{
    ControllerRig rig;
    const Server one = sampleServer(u"One"_s, loopback(1));
    rig.rig.connectServer(one);
    // A second server that is connected, of which the lists have not heard yet.
    Server two = sampleServer(u"Two"_s, loopback(2));
    two.connected = true;
    rig.model().upsertServer(two);
    rig.controller().serverSelectionChanged(ServerDeckA, one.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
    QCOMPARE(listOf(rig.bankB()).count(), 256);
    // This choice was not the bank's first automatic one: that is still to come.
    rig.controller().removeServer(two.uuid);
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    const Server three = sampleServer(u"Three"_s, loopback(3));
    rig.rig.connectServer(three);
    QCOMPARE(rig.bankB().currentServerUuid(), three.uuid);
}

void tst_UIControllerRegistry::anEmptyLibraryIsOfferedNowhere()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"Empty"_s, {}));
    QCOMPARE(rig.offered(rig.bankA()), QStringList());
    QCOMPARE(rig.offered(rig.bankB()), QStringList());
    QVERIFY(!rig.bankA().isEnabled());
}

void tst_UIControllerRegistry::aServerIsOfferedAsSoonAsItHasFolders()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"Empty"_s, {}));
    server.setLibrary(library());
    server.sendLibraryChanged();
    EVENTUALLY_COMPARE(rig.bankA().currentServerUuid(), server.uuid);
}

void tst_UIControllerRegistry::aRenameClearsTheSelectionOfBothBanks()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QVERIFY(!rig.isSyncWarningShown());
    rig.controller().serverNameChanged(two.uuid, u"Zwei"_s);
    QVERIFY(rig.bankA().currentServerUuid().isNull());
    QVERIFY(rig.bankB().currentServerUuid().isNull());
    QCOMPARE(rig.comboBox(rig.bankA()).currentIndex(), -1);
    QVERIFY(rig.isSyncWarningShown());
}

void tst_UIControllerRegistry::aRenameOffersTheWholeListInBothBanks()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    rig.controller().serverNameChanged(two.uuid, u"Zwei"_s);
    const QStringList all{u"One"_s, u"Zwei"_s};
    QCOMPARE(rig.offered(rig.bankA()), all);
    QCOMPARE(rig.offered(rig.bankB()), all);
}

void tst_UIControllerRegistry::aNewInterfaceRefreshesTheLibrary()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    rig.controller().addServerConnection(server.uuid, QHostAddress(loopback(9)), 16);
    QVERIFY(server.wire.waitForRequests(2, "/brenvoka/library.json"));
    const Server &record = rig.controller().connectedServer(server.uuid);
    QCOMPARE(record.connections.size(), 2);
    QCOMPARE(record.connections.last(), ServerConnection(QHostAddress(loopback(9)), 16));
}

void tst_UIControllerRegistry::anInterfaceOfAnUnknownServerChangesNothing()
{
    ControllerRig rig;
    rig.controller().addServerConnection(QUuid::createUuid(), QHostAddress(loopback(9)), 16);
    rig.controller().removeServerConnection(QUuid::createUuid(), QHostAddress(loopback(9)), 16);
    QVERIFY(rig.model().servers.isEmpty());
}

void tst_UIControllerRegistry::aLostInterfaceIsForgottenByAddressAndMask()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    const Server &record = rig.controller().connectedServer(server.uuid);
    rig.controller().removeServerConnection(server.uuid, server.wire.address(), 24);
    QCOMPARE(record.connections.size(), 1);
    rig.controller().removeServerConnection(server.uuid, server.wire.address(), 8);
    QCOMPARE(record.connections.size(), 0);
    QCOMPARE(rig.bankA().currentServerUuid(), server.uuid);
    // The only request is that for the interface that comes back.
    rig.controller().addServerConnection(server.uuid, server.wire.address(), 8);
    EVENTUALLY(server.libraryRequests() > 1);
    QCOMPARE(server.libraryRequests(), 2);
}

void tst_UIControllerRegistry::aServerWithoutInterfacesIsNotAsked()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    rig.controller().removeServerConnection(server.uuid, server.wire.address(), 8);
    rig.controller().serverLibraryChanged(server.uuid);
    rig.controller().addServerConnection(server.uuid, server.wire.address(), 8);
    QVERIFY(server.wire.waitForRequests(2, "/brenvoka/library.json"));
    QCOMPARE(server.libraryRequests(), 2);
}

void tst_UIControllerRegistry::aChangedLibraryIsFetchedAndDrawn()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    server.setLibrary({folder(0, u"Outro"_s)});
    server.sendLibraryChanged();
    EVENTUALLY_COMPARE(listOf(rig.bankA()).item(0)->text(), u"Outro"_s);
    QCOMPARE(rig.bankA().currentServerUuid(), server.uuid);
    QCOMPARE(server.wire.requests("/brenvoka/notifier.html").size(), 1);
}

void tst_UIControllerRegistry::aChangeOfAnUnknownServerFetchesNothing()
{
    PlayedServer server(loopback(1));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    rig.controller().serverLibraryChanged(QUuid());
    rig.controller().serverLibraryChanged(QUuid::createUuid());
    rig.controller().serverLibraryChanged(server.uuid);
    QVERIFY(server.wire.waitForRequests(2, "/brenvoka/library.json"));
    QCOMPARE(server.libraryRequests(), 2);
}

void tst_UIControllerRegistry::noServerChosenDisablesTheTransfer()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    QVERIFY(rig.isTransferEnabled());
    QVERIFY(!rig.isSyncWarningShown());
    rig.comboBox(rig.bankB()).setCurrentIndex(-1);
    QVERIFY(!rig.isTransferEnabled());
    QVERIFY(rig.isSyncWarningShown());
}

void tst_UIControllerRegistry::ratesAreShownByTheBankOfTheServer()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    const auto label = [](const BVServerBank &bank, const char *name) {
        return childOf<QLabel>(bank, name).text();
    };
    two.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":59.5,"TFPS":60.25,"MFPS":30,"FS":true})"));
    EVENTUALLY_COMPARE(label(rig.bankB(), "serverStatusLabel"), u"Connected"_s);
    QCOMPARE(label(rig.bankB(), "cpuValueLabel"), u"59.50"_s);
    QCOMPARE(label(rig.bankB(), "gpuValueLabel"), u"60.25"_s);
    QCOMPARE(label(rig.bankA(), "serverStatusLabel"), u"Disconnected"_s);
    const Server &record = rig.controller().connectedServer(two.uuid);
    QVERIFY(record.hasFpsStats && record.isFullScreen);
    QCOMPARE(record.monitorFps, 30.0F);

    one.stream.send(Wire::frame(R"({"msg_type":5,"GFPS":24.5,"TFPS":25.25})"));
    EVENTUALLY_COMPARE(label(rig.bankA(), "cpuValueLabel"), u"24.50"_s);
    QCOMPARE(label(rig.bankA(), "gpuValueLabel"), u"25.25"_s);
    QCOMPARE(label(rig.bankB(), "cpuValueLabel"), u"59.50"_s);

    rig.controller().removeServer(two.uuid);
    QCOMPARE(label(rig.bankB(), "serverStatusLabel"), u"Disconnected"_s);
    QCOMPARE(label(rig.bankB(), "cpuValueLabel"), u"0.00"_s);
}

void tst_UIControllerRegistry::ratesOfAnUnknownServerAreDropped()
{
    ControllerRig rig;
    rig.controller().serverUpdateFpsStats(QUuid(), 1, 2, 3, true);
    rig.controller().serverUpdateFpsStats(QUuid::createUuid(), 1, 2, 3, true);
    QCOMPARE(childOf<QLabel>(rig.bankA(), "serverStatusLabel").text(), u"Disconnected"_s);
}

void tst_UIControllerRegistry::theSignHidesOnlyWhileTwoServersAreEqual()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.isSyncWarningShown());
    one.setLibrary(library());
    QVERIFY(rig.discover(one, u"One"_s));
    QVERIFY(rig.isSyncWarningShown());
    two.setLibrary(library());
    QVERIFY(rig.discover(two, u"Two"_s));
    QVERIFY(!rig.isSyncWarningShown());

    two.setLibrary({folder(0, u"Outro"_s)});
    two.sendLibraryChanged();
    EVENTUALLY(rig.isSyncWarningShown());
    two.setLibrary(library());
    two.sendLibraryChanged();
    EVENTUALLY(!rig.isSyncWarningShown());

    rig.controller().removeServer(two.uuid);
    QVERIFY(rig.isSyncWarningShown());
    rig.controller().removeServer(one.uuid);
    QVERIFY(rig.isSyncWarningShown());
}

void tst_UIControllerRegistry::theTransferIsEnabledWithTwoServers()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(!rig.isTransferEnabled());
    QVERIFY(rig.bringUp(one, u"One"_s, library(), 32));
    QVERIFY(!rig.isTransferEnabled());
    // Whether the two reach each other doesn't matter here.
    QVERIFY(rig.bringUp(two, u"Two"_s, library(), 32));
    QVERIFY(rig.isTransferEnabled());
    rig.controller().removeServer(one.uuid);
    QVERIFY(!rig.isTransferEnabled());
}

void tst_UIControllerRegistry::aServerThatReachesNobodyDisablesTheTransfer()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    LogCapture log;
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    rig.controller().removeServerConnection(one.uuid, one.wire.address(), 8);
    ModalDriver modals;
    bool isLoggedInTheDialog = false;
    bool isEnabledInTheDialog = false;
    modals.answer([&](QDialog &dialog) {
        isLoggedInTheDialog = log.texts().contains(u"Server don't share a subnet"_s);
        isEnabledInTheDialog = rig.isTransferEnabled();
        dialog.accept();
    });
    rig.controller().serverConnected(two.uuid, two.wire.address());
    QCOMPARE(modals.seen().value(0).text, u"The servers don't share a subnet"_s);
    QVERIFY(isLoggedInTheDialog);
    QVERIFY(isEnabledInTheDialog);
    QVERIFY(!rig.isTransferEnabled());
}

void tst_UIControllerRegistry::aServerThatIsBackUnderTheMessageKeepsTheTransfer()
{
    PlayedServer one(loopback(1));
    PlayedServer two(loopback(2));
    ControllerRig rig;
    QVERIFY(rig.bringUp(one, u"One"_s, library()));
    QVERIFY(rig.bringUp(two, u"Two"_s, library()));
    rig.controller().removeServerConnection(one.uuid, one.wire.address(), 8);
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        rig.controller().addServerConnection(one.uuid, one.wire.address(), 8);
        rig.controller().serverConnected(two.uuid, two.wire.address());
        dialog.accept();
    });
    rig.controller().serverConnected(two.uuid, two.wire.address());
    QCOMPARE(modals.seen().size(), 1);
    QVERIFY(rig.isTransferEnabled());
}

QTEST_MAIN(tst_UIControllerRegistry)
#include "tst_UIControllerRegistry.moc"
