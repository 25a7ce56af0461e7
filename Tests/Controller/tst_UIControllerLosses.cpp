// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "SyncClickFixture.h"

#include "Dialogs/ErrorMessageDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"

#include <functional>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QList<MediaFolder> library(int hashNumber = 1)
{
    return {folder(0, u"Intro"_s, {cachedVisual(1, u"Sunset"_s, hashNumber)})};
}

/// Calls a function once, when a dialog is hidden.
class OnHide final : public QObject
{
public:
    OnHide(QDialog *dialog, std::function<void()> callback)
        : function(std::move(callback))
    {
        dialog->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Hide)
            std::exchange(function, [] {})();
        return false;
    }

private:
    std::function<void()> function;
};

} // namespace

/// Lost servers, with and without a task, and the messages about them.
class tst_UIControllerLosses : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void disconnectMessageShowsTheReason_data()
    {
        QTest::addColumn<Brenvoka::ServerDisconnectReason>("reason");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("detail");
        QTest::newRow("no reason") << Brenvoka::DisconnectNone << u"unused"_s << QString();
        QTest::newRow("shutdown") << Brenvoka::DisconnectServerShutdown << u"unused"_s
                                  << u"Server \"One\" was shut down."_s;
        QTest::newRow("network error") << Brenvoka::DisconnectNetworkError << u"Connection closed"_s
                                       << u"Network error: Connection closed."_s;
        QTest::newRow("no such reason")
            << static_cast<Brenvoka::ServerDisconnectReason>(7) << u"unused"_s << QString();
    }
    void disconnectMessageShowsTheReason()
    {
        QFETCH(const Brenvoka::ServerDisconnectReason, reason);
        QFETCH(const QString, error);
        ControllerFixture fixture;
        const Server server = sampleServer(u"One"_s, loopback(109));
        fixture.connectServer(server);
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.controller().serverDisconnected(server.uuid, reason, error);
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().type, u"ErrorMessageDialog"_s);
        QCOMPARE(modals.seen().first().text, u"Server \"One\" disconnected."_s);
        QTEST(modals.seen().first().details, "detail");
        QVERIFY(fixture.model.servers.isEmpty());
    }

    void disconnectByAnotherClientHasEmptyDetails()
    {
        ControllerFixture fixture;
        const Server server = sampleServer(u"One"_s, loopback(109));
        fixture.connectServer(server);
        ModalDriver modals;
        modals.answer([](QDialog &dialog) {
            const auto *const details = dialog.findChild<QPushButton *>(u"errorDetails"_s);
            QVERIFY(details->isVisible() && details->isEnabled());
            dialog.accept();
        });
        fixture.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectOtherClient,
                                                u"unused"_s);
        QCOMPARE(modals.seen().value(0).text, u"Server \"One\" disconnected."_s);
        QCOMPARE(modals.seen().value(0).details, QString());
    }

    void namesAndErrorsAreShownAsPlainText_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shownName");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("shownError");
        const QString w = u"W"_s;
        QTest::newRow("markup and markers")
            << u"<b>%1</b>"_s << u"<b>%1</b>"_s << u"<i>%1</i>"_s << u"<i>%1</i>"_s;
        QTest::newRow("lines") << u"a\nb\u202E"_s << u"a b "_s << u"first\nsecond"_s
                               << u"first\nsecond"_s;
        QTest::newRow("enormous") << w.repeated(300'000) << w.repeated(4096) + u'…'
                                  << w.repeated(300'000) << w.repeated(4096) + u'…';
    }
    void namesAndErrorsAreShownAsPlainText()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, shownName);
        QFETCH(const QString, error);
        QFETCH(const QString, shownError);
        ControllerFixture fixture;
        const Server server = sampleServer(name, loopback(109));
        fixture.connectServer(server);
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNetworkError,
                                                error);
        QCOMPARE(modals.seen().value(0).text, u"Server \""_s + shownName + u"\" disconnected."_s);
        QCOMPARE(modals.seen().value(0).details, u"Network error: "_s + shownError + u'.');
    }

    void lostServerInNeitherBankShowsNoMessage()
    {
        ControllerFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(109));
        const Server two = sampleServer(u"Two"_s, loopback(108));
        const Server three = sampleServer(u"Three"_s, loopback(107));
        for (const Server &server : {one, two, three})
            fixture.connectServer(server);
        ModalDriver modals;
        fixture.controller().serverDisconnected(three.uuid, Brenvoka::DisconnectServerShutdown, {});
        QVERIFY(modals.seen().isEmpty());
        QCOMPARE(fixture.offered(fixture.bankA()), (QStringList{u"One"_s, u"Two"_s}));
        QCOMPARE(fixture.bankA().currentServerUuid(), one.uuid);
        QCOMPARE(fixture.bankB().currentServerUuid(), two.uuid);
    }

    void aDisconnectOfAnUnknownServerIsLogged()
    {
        LogCapture log;
        ControllerFixture fixture;
        fixture.controller().serverDisconnected(QUuid::createUuid(), Brenvoka::DisconnectNone, {});
        QVERIFY(log.entries().contains(
            u"info: Disconnect notification received for an invalid server"_s));
    }

    void aDisconnectBeforeTheFirstConnectionKeepsTheServer()
    {
        LogCapture log;
        ControllerFixture fixture;
        Server server = sampleServer(u"One"_s, loopback(109));
        fixture.model.upsertServer(server);
        fixture.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNetworkError,
                                                u"x"_s);
        QCOMPARE(fixture.model.servers.size(), 1);
        QVERIFY(log.entries().contains(
            u"info: Disconnect notification received for an invalid server"_s));
    }

    void serverIsRemovedBeforeItsMessageOpens()
    {
        ControllerFixture fixture;
        const Server server = sampleServer(u"One"_s, loopback(109));
        fixture.connectServer(server);
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            QVERIFY(fixture.model.servers.isEmpty());
            QVERIFY(fixture.bankA().currentServerUuid().isNull());
            QVERIFY(!fixture.bankA().isEnabled());
            dialog.accept();
        });
        fixture.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNone, {});
        QCOMPARE(modals.seen().size(), 1);
    }

    void serverLostByDiscoveryShowsNoMessage()
    {
        ControllerFixture fixture;
        const Server server = sampleServer(u"One"_s, loopback(109));
        fixture.connectServer(server);
        ModalDriver modals;
        fixture.controller().removeServer(server.uuid);
        QVERIFY(modals.seen().isEmpty());
        QVERIFY(fixture.model.servers.isEmpty());
        QVERIFY(fixture.bankA().currentServerUuid().isNull());
    }

    void unknownServerLostByDiscoveryIsIgnored()
    {
        LogCapture log;
        ControllerFixture fixture;
        const QUuid uuid = QUuid::createUuid();
        fixture.controller().removeServer(uuid);
        QVERIFY(!log.texts().contains(u"Handler not found for id "_s + uuid.toString()));
    }

    void aRemovedServerIsDisconnectedFromTheService()
    {
        LogCapture log;
        ScriptedServer server(loopback(101));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"One"_s, library()));
        fixture.controller().removeServer(server.uuid);
        QVERIFY(
            log.texts().contains(u" Handler removed for server id "_s + server.uuid.toString()));
        EVENTUALLY(!server.stream.isOpen());
    }

    void aServerThatReturnsIsOfferedAgain()
    {
        ScriptedServer server(loopback(101));
        ControllerFixture fixture;
        QVERIFY(fixture.connectServer(server, u"One"_s, library()));
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        server.stream.close();
        EVENTUALLY(!modals.pending() && !fixture.isConnected(server));
        QVERIFY(fixture.connectServer(server, u"One again"_s, library()));
        QCOMPARE(fixture.offered(fixture.bankA()), QStringList{u"One again"_s});
    }

    void lostDestinationDuringATransferShowsOneMessage()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        fixture.two.sendStarted({0, 1});
        fixture.two.sendProgress({0, 1}, Brenvoka::SyncFailed, 10);
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.two.stream.close();
        EVENTUALLY(!modals.pending() && !fixture.transferDialog());
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(modals.seen().first().text,
                 u"Server \"Two\" disconnected while an operation was in progress."_s);
    }

    void lostSourceAbortsTheTask()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        const qsizetype fetched = fixture.two.libraryRequests();
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        fixture.one.stream.send(Wire::frame(R"({"msg_type":4})"));
        fixture.one.stream.close();
        EVENTUALLY(!modals.pending() && !fixture.transferDialog());
        QCOMPARE(modals.seen().first().text,
                 u"Server \"One\" disconnected while an operation was in progress."_s);
        QCOMPARE(modals.seen().first().details, u"Server \"One\" was shut down."_s);
        // The destination may have changed.
        EVENTUALLY_COMPARE(fixture.two.libraryRequests(), fetched + 1);
    }

    void lostThirdServerDoesNotAffectTheTask()
    {
        ScriptedServer three(loopback(103));
        SyncClickFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(fixture.connectServer(three, u"Three"_s, library()));
        QVERIFY(fixture.start());
        fixture.controller().removeServer(three.uuid);
        QCoreApplication::processEvents();
        QVERIFY(fixture.transferDialog() && fixture.transferDialog()->isVisible());
    }

    void taskServerLostByDiscoveryShowsAMessage()
    {
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        Server record = fixture.controller().connectedServer(fixture.two.uuid);
        record.hash = fixture.controller().connectedServer(fixture.one.uuid).hash;
        record.name = u"Two\nservers"_s;
        fixture.model.upsertServer(record);
        fixture.controller().serverConnected(record.uuid, fixture.two.wire.address());
        QVERIFY(!fixture.isSyncWarningShown());
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            // The record is removed already, the lists are not updated yet.
            QVERIFY(!fixture.isConnected(fixture.two));
            QCOMPARE(fixture.bankB().currentServerUuid(), fixture.two.uuid);
            QVERIFY(fixture.isSyncWarningShown());
            QVERIFY(!dialog.findChild<QPushButton *>(u"errorDetails"_s)->isVisible());
            dialog.accept();
        });
        fixture.controller().removeServer(fixture.two.uuid);
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(
            modals.seen().first().text,
            u"Server \"Two servers\" became unresponsive while an operation was in progress."_s);
        QVERIFY(fixture.bankB().currentServerUuid().isNull());
        EVENTUALLY(!fixture.transferDialog());
    }

    void lostTaskServerInNeitherBankShowsNoMessage()
    {
        ScriptedServer three(loopback(103));
        SyncClickFixture fixture;
        QVERIFY(fixture.open());
        QVERIFY(fixture.connectServer(three, u"Three"_s, library()));
        QVERIFY(fixture.start());
        fixture.bankB().selectServer(three.uuid);
        ModalDriver modals;
        fixture.controller().removeServer(fixture.two.uuid);
        QVERIFY(modals.seen().isEmpty());
        EVENTUALLY(!fixture.transferDialog());
    }

    void abortAfterTheEndOfTheTaskIsIgnored()
    {
        LogCapture log;
        SyncClickFixture fixture;
        QVERIFY(fixture.open() && fixture.start());
        ModalDriver modals;
        modals.press(QMessageBox::Ok);
        // The server is lost after the task posted its end and before that event is handled.
        OnHide onHide(fixture.transferDialog(), [&fixture] {
            QMetaObject::invokeMethod(
                &fixture.controller(),
                [&fixture] {
                    fixture.controller().serverDisconnected(fixture.two.uuid,
                                                            Brenvoka::DisconnectNone, {});
                },
                Qt::QueuedConnection);
        });
        fixture.two.sendStarted({0, 1});
        fixture.two.sendEnded({0, 1}, Brenvoka::SyncImporting);
        EVENTUALLY(!modals.pending() && !fixture.transferDialog());
        EVENTUALLY_COMPARE(log.texts().count(u"Finish notification received from invalid task"_s),
                           1);
        QCOMPARE(modals.seen().size(), 1);
    }

    void messageStaysOpenWhileServersComeAndGo()
    {
        ScriptedServer two(loopback(102));
        ControllerFixture fixture;
        const Server one = sampleServer(u"One"_s, loopback(109));
        fixture.connectServer(one);
        ModalDriver modals;
        modals.answer([&](QDialog &dialog) {
            QVERIFY(fixture.connectServer(two, u"Two"_s, library()));
            fixture.controller().removeServer(two.uuid);
            dialog.accept();
        });
        fixture.controller().serverDisconnected(one.uuid, Brenvoka::DisconnectNone, {});
        QVERIFY(fixture.model.servers.isEmpty());
    }

    void messageIsDeletedWithItsWindow()
    {
        ControllerFixture fixture;
        ModalDriver modals;
        modals.answer([&](QDialog &) { fixture.window.reset(); });
        fixture.controller().showErrorMessage(u"Too late"_s);
        QVERIFY(!fixture.window);
    }
};

QTEST_MAIN(tst_UIControllerLosses)
#include "tst_UIControllerLosses.moc"
