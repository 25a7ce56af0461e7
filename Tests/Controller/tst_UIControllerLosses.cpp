// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ControllerRig.h"

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
    return {folder(0, u"Intro"_s, {visual(1, u"Sunset"_s, hashNumber)})};
}

/// Calls a function when a dialog is hidden, once.
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

/// Servers that go away, with and without a task, and what the operator is told.
class tst_UIControllerLosses : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void theOperatorIsToldWhy_data();
    void theOperatorIsToldWhy();
    void anotherClientIsNotNamedAndDetailsStayOpen();
    void namesAndErrorsAreShownAsTheyAre_data();
    void namesAndErrorsAreShownAsTheyAre();
    void aServerInNeitherBankDisappearsWithoutAWord();
    void aDisconnectOfAnUnknownServerIsLogged();
    void aDisconnectBeforeTheFirstConnectionKeepsTheServer();
    void theServerIsGoneBeforeItsMessageOpens();
    void discoveryLosesAServerWithoutAWord();
    void discoveryLosesAnUnknownServer();
    void aDroppedServerIsDisconnectedFromTheService();
    void aServerThatCameBackIsDrawnAnew();
    void losingTheDestinationDuringATransferIsTheOnlyMessage();
    void losingTheSourceAbortsTheTaskToo();
    void losingABystanderLeavesTheTaskAlone();
    void discoveryLosesAServerOfTheTask();
    void discoveryLosesAServerOfTheTaskThatIsInNeitherBank();
    void theEndOfATaskAndItsAbortAreOneEnd();
    void aMessageSurvivesTheServersThatComeAndGoUnderIt();
    void aMessageGoesWithItsWindow();
};

void tst_UIControllerLosses::theOperatorIsToldWhy_data()
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

void tst_UIControllerLosses::theOperatorIsToldWhy()
{
    QFETCH(const Brenvoka::ServerDisconnectReason, reason);
    QFETCH(const QString, error);
    ControllerRig rig;
    const Server server = sampleServer(u"One"_s, loopback(109));
    rig.rig.connectServer(server);
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    rig.controller().serverDisconnected(server.uuid, reason, error);
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().type, u"ErrorMessageDialog"_s);
    QCOMPARE(modals.seen().first().text, u"Server \"One\" disconnected."_s);
    QTEST(modals.seen().first().details, "detail");
    QVERIFY(rig.model().servers.isEmpty());
}

void tst_UIControllerLosses::anotherClientIsNotNamedAndDetailsStayOpen()
{
    ControllerRig rig;
    const Server server = sampleServer(u"One"_s, loopback(109));
    rig.rig.connectServer(server);
    ModalDriver modals;
    modals.answer([](QDialog &dialog) {
        const auto *const details = dialog.findChild<QPushButton *>(u"errorDetails"_s);
        QVERIFY(details->isVisible() && details->isEnabled());
        dialog.accept();
    });
    rig.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectOtherClient, u"unused"_s);
    QCOMPARE(modals.seen().value(0).text, u"Server \"One\" disconnected."_s);
    QCOMPARE(modals.seen().value(0).details, QString());
}

void tst_UIControllerLosses::namesAndErrorsAreShownAsTheyAre_data()
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

void tst_UIControllerLosses::namesAndErrorsAreShownAsTheyAre()
{
    QFETCH(const QString, name);
    QFETCH(const QString, shownName);
    QFETCH(const QString, error);
    QFETCH(const QString, shownError);
    ControllerRig rig;
    const Server server = sampleServer(name, loopback(109));
    rig.rig.connectServer(server);
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    rig.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNetworkError, error);
    QCOMPARE(modals.seen().value(0).text, u"Server \""_s + shownName + u"\" disconnected."_s);
    QCOMPARE(modals.seen().value(0).details, u"Network error: "_s + shownError + u'.');
}

void tst_UIControllerLosses::aServerInNeitherBankDisappearsWithoutAWord()
{
    ControllerRig rig;
    const Server one = sampleServer(u"One"_s, loopback(109));
    const Server two = sampleServer(u"Two"_s, loopback(108));
    const Server three = sampleServer(u"Three"_s, loopback(107));
    for (const Server &server : {one, two, three})
        rig.rig.connectServer(server);
    ModalDriver modals;
    rig.controller().serverDisconnected(three.uuid, Brenvoka::DisconnectServerShutdown, {});
    QVERIFY(modals.seen().isEmpty());
    QCOMPARE(rig.offered(rig.bankA()), (QStringList{u"One"_s, u"Two"_s}));
    QCOMPARE(rig.bankA().currentServerUuid(), one.uuid);
    QCOMPARE(rig.bankB().currentServerUuid(), two.uuid);
}

void tst_UIControllerLosses::aDisconnectOfAnUnknownServerIsLogged()
{
    LogCapture log;
    ControllerRig rig;
    rig.controller().serverDisconnected(QUuid::createUuid(), Brenvoka::DisconnectNone, {});
    QVERIFY(log.texts().contains(u"Disconnect notification received for an invalid server"_s));
}

void tst_UIControllerLosses::aDisconnectBeforeTheFirstConnectionKeepsTheServer()
{
    LogCapture log;
    ControllerRig rig;
    Server server = sampleServer(u"One"_s, loopback(109));
    rig.model().upsertServer(server);
    rig.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNetworkError, u"x"_s);
    QCOMPARE(rig.model().servers.size(), 1);
    QVERIFY(log.texts().contains(u"Disconnect notification received for an invalid server"_s));
}

void tst_UIControllerLosses::theServerIsGoneBeforeItsMessageOpens()
{
    ControllerRig rig;
    const Server server = sampleServer(u"One"_s, loopback(109));
    rig.rig.connectServer(server);
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        QVERIFY(rig.model().servers.isEmpty());
        QVERIFY(rig.bankA().currentServerUuid().isNull());
        QVERIFY(!rig.bankA().isEnabled());
        dialog.accept();
    });
    rig.controller().serverDisconnected(server.uuid, Brenvoka::DisconnectNone, {});
    QCOMPARE(modals.seen().size(), 1);
}

void tst_UIControllerLosses::discoveryLosesAServerWithoutAWord()
{
    ControllerRig rig;
    const Server server = sampleServer(u"One"_s, loopback(109));
    rig.rig.connectServer(server);
    ModalDriver modals;
    rig.controller().removeServer(server.uuid);
    QVERIFY(modals.seen().isEmpty());
    QVERIFY(rig.model().servers.isEmpty());
    QVERIFY(rig.bankA().currentServerUuid().isNull());
}

void tst_UIControllerLosses::discoveryLosesAnUnknownServer()
{
    LogCapture log;
    ControllerRig rig;
    const QUuid uuid = QUuid::createUuid();
    rig.controller().removeServer(uuid);
    QVERIFY(!log.texts().contains(u"Handler not found for id "_s + uuid.toString()));
}

void tst_UIControllerLosses::aDroppedServerIsDisconnectedFromTheService()
{
    LogCapture log;
    PlayedServer server(loopback(101));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    rig.controller().removeServer(server.uuid);
    QVERIFY(log.texts().contains(u" Handler removed for server id "_s + server.uuid.toString()));
    EVENTUALLY(!server.stream.isOpen());
}

void tst_UIControllerLosses::aServerThatCameBackIsDrawnAnew()
{
    PlayedServer server(loopback(101));
    ControllerRig rig;
    QVERIFY(rig.bringUp(server, u"One"_s, library()));
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    server.stream.close();
    EVENTUALLY(!modals.pending() && !rig.isConnected(server));
    QVERIFY(rig.bringUp(server, u"One again"_s, library()));
    QCOMPARE(rig.offered(rig.bankA()), QStringList{u"One again"_s});
}

void tst_UIControllerLosses::losingTheDestinationDuringATransferIsTheOnlyMessage()
{
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    stage.two.sendStarted({0, 1});
    stage.two.sendProgress({0, 1}, Brenvoka::SyncFailed, 10);
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    stage.two.stream.close();
    EVENTUALLY(!modals.pending() && !stage.transferDialog());
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().text,
             u"Server \"Two\" disconnected while an operation was in progress."_s);
}

void tst_UIControllerLosses::losingTheSourceAbortsTheTaskToo()
{
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    const qsizetype fetched = stage.two.libraryRequests();
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    stage.one.stream.send(Wire::frame(R"({"msg_type":4})"));
    stage.one.stream.close();
    EVENTUALLY(!modals.pending() && !stage.transferDialog());
    QCOMPARE(modals.seen().first().text,
             u"Server \"One\" disconnected while an operation was in progress."_s);
    QCOMPARE(modals.seen().first().details, u"Server \"One\" was shut down."_s);
    // The destination may have changed.
    EVENTUALLY_COMPARE(stage.two.libraryRequests(), fetched + 1);
}

void tst_UIControllerLosses::losingABystanderLeavesTheTaskAlone()
{
    PlayedServer three(loopback(103));
    SyncStage stage;
    QVERIFY(stage.open());
    QVERIFY(stage.rig.bringUp(three, u"Three"_s, library()));
    QVERIFY(stage.start());
    stage.rig.controller().removeServer(three.uuid);
    QCoreApplication::processEvents();
    QVERIFY(stage.transferDialog() && stage.transferDialog()->isVisible());
}

void tst_UIControllerLosses::discoveryLosesAServerOfTheTask()
{
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    Server record = stage.rig.controller().connectedServer(stage.two.uuid);
    record.hash = stage.rig.controller().connectedServer(stage.one.uuid).hash;
    record.name = u"Two\nservers"_s;
    stage.rig.model().upsertServer(record);
    stage.rig.controller().serverConnected(record.uuid, stage.two.wire.address());
    QVERIFY(!stage.rig.isSyncWarningShown());
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        // The record has gone already, the lists have not been told.
        QVERIFY(!stage.rig.isConnected(stage.two));
        QCOMPARE(stage.rig.bankB().currentServerUuid(), stage.two.uuid);
        QVERIFY(stage.rig.isSyncWarningShown());
        QVERIFY(!dialog.findChild<QPushButton *>(u"errorDetails"_s)->isVisible());
        dialog.accept();
    });
    stage.rig.controller().removeServer(stage.two.uuid);
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(modals.seen().first().text,
             u"Server \"Two servers\" became unresponsive while an operation was in progress."_s);
    QVERIFY(stage.rig.bankB().currentServerUuid().isNull());
    EVENTUALLY(!stage.transferDialog());
}

void tst_UIControllerLosses::discoveryLosesAServerOfTheTaskThatIsInNeitherBank()
{
    PlayedServer three(loopback(103));
    SyncStage stage;
    QVERIFY(stage.open());
    QVERIFY(stage.rig.bringUp(three, u"Three"_s, library()));
    QVERIFY(stage.start());
    stage.rig.bankB().selectServer(three.uuid);
    ModalDriver modals;
    stage.rig.controller().removeServer(stage.two.uuid);
    QVERIFY(modals.seen().isEmpty());
    EVENTUALLY(!stage.transferDialog());
}

void tst_UIControllerLosses::theEndOfATaskAndItsAbortAreOneEnd()
{
    LogCapture log;
    SyncStage stage;
    QVERIFY(stage.open() && stage.start());
    ModalDriver modals;
    modals.press(QMessageBox::Ok);
    // The server is lost after the task's end was posted and before that is received.
    OnHide onHide(stage.transferDialog(), [&stage] {
        QMetaObject::invokeMethod(
            &stage.rig.controller(),
            [&stage] {
                stage.rig.controller().serverDisconnected(stage.two.uuid, Brenvoka::DisconnectNone,
                                                          {});
            },
            Qt::QueuedConnection);
    });
    stage.two.sendStarted({0, 1});
    stage.two.sendEnded({0, 1}, Brenvoka::SyncImporting);
    EVENTUALLY(!modals.pending() && !stage.transferDialog());
    EVENTUALLY_COMPARE(log.texts().count(u"Finish notification received from invalid task"_s), 1);
    QCOMPARE(modals.seen().size(), 1);
}

void tst_UIControllerLosses::aMessageSurvivesTheServersThatComeAndGoUnderIt()
{
    PlayedServer two(loopback(102));
    ControllerRig rig;
    const Server one = sampleServer(u"One"_s, loopback(109));
    rig.rig.connectServer(one);
    ModalDriver modals;
    modals.answer([&](QDialog &dialog) {
        QVERIFY(rig.bringUp(two, u"Two"_s, library()));
        rig.controller().removeServer(two.uuid);
        dialog.accept();
    });
    rig.controller().serverDisconnected(one.uuid, Brenvoka::DisconnectNone, {});
    QVERIFY(rig.model().servers.isEmpty());
}

void tst_UIControllerLosses::aMessageGoesWithItsWindow()
{
    ControllerRig rig;
    ModalDriver modals;
    modals.answer([&](QDialog &) { rig.rig.window.reset(); });
    rig.controller().showErrorMessage(u"Too late"_s);
    QVERIFY(!rig.rig.window);
}

QTEST_MAIN(tst_UIControllerLosses)
#include "tst_UIControllerLosses.moc"
