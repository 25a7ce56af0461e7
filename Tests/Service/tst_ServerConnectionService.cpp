// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServiceTesting.h"
#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTemporaryDir>

const QHostAddress firstAddress(loopback(1));
const QHostAddress secondAddress(loopback(2));

/// The gate to the servers: what it hands on, what it logs and whom it keeps.
class tst_ServerConnectionService : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        rig = std::make_unique<ServiceRig>();
    }

    void cleanup() { rig.reset(); }

    void handlerBelongsToTheServiceAndConnects()
    {
        LogCapture log;
        rig->service->addHandler(firstAddress, firstId);
        QCOMPARE(log.entries().constFirst(), u"info: Adding handler for " LOOPBACK(1) ""_s);
        QCOMPARE(rig->handlers().size(), 1);
        QCOMPARE(rig->events.lines, QStringList());
        rig->sendFromFirst(Wire::frame(libraryChanged));
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"serverLibraryChanged first"_s}));
    }

    void secondAddressForOneIdIsNotTaken()
    {
        rig->service->addHandler(firstAddress, firstId);
        LogCapture log;
        rig->service->addHandler(secondAddress, firstId);
        QCOMPARE(rig->events.lines, QStringList{u"serverConnected first " LOOPBACK(1) ""_s});
        QCOMPARE(log.texts(), QStringList());
        QCOMPARE(rig->handlers().size(), 1);
        QVERIFY(rig->first.waitForRequests(1, notifierPath));
        QCOMPARE(rig->second.connectionCount(), 0);
    }

    // A receiver may remove the handler before the next one reads the address.
    void knownServerIsReportedWithACopyOfItsAddress()
    {
        rig->service->addHandler(firstAddress, firstId);
        const QHostAddress &field = rig->handlers().constFirst()->serverAddress();
        const QHostAddress *reported = &field;
        connect(rig->service.get(), &ServerConnectionService::serverConnected, rig->service.get(),
                [&](const QUuid &, const QHostAddress &address) { reported = &address; });
        rig->service->addHandler(firstAddress, firstId);
        QVERIFY(reported != &field);
    }

    void twoIdsMayShareAnAddress()
    {
        rig->service->addHandler(firstAddress, firstId);
        rig->service->addHandler(firstAddress, secondId);
        QCOMPARE(rig->handlers().size(), 2);
        QVERIFY(rig->first.waitForRequests(2, notifierPath));
        emit rig->handlers().last()->connectedServerLibraryChanged(firstAddress, secondId);
        QCOMPARE(rig->events.lines, QStringList{u"serverLibraryChanged second"_s});
    }

    void operationsReachTheirHandler()
    {
        QTemporaryDir directory;
        QFile file(directory.filePath(u"a.png"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        rig->second.answer(executePath, successBody);
        rig->second.answer(uploadPath, successBody);
        rig->service->addHandler(firstAddress, firstId);
        rig->service->addHandler(secondAddress, secondId);

        rig->service->requestRemove(secondId, {{1, 2}});
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"visualRemoveFinished second 1 2"_s});
        rig->service->requestMove(secondId, 1, 2, 3);
        EVENTUALLY_COMPARE(rig->events.lines.last(), u"movedFileFinished second"_s);
        rig->service->requestRename(secondId, {{1, u"a"_s}});
        EVENTUALLY_COMPARE(rig->events.lines.last(), u"folderRenameFinished second 1"_s);
        rig->service->requestSync(firstAddress, secondId, {{3, 17}});
        QCOMPARE(rig->events.lines.last(), u"syncProgressUpdate second 3 17 0 0"_s);
        rig->service->requestUpload(secondId, 1, 2, file.fileName());
        EVENTUALLY_COMPARE(rig->events.lines.last(), u"uploadedFileFinished second"_s);
        const QByteArray form = rig->second.requests(uploadPath).constFirst().body;
        QVERIFY2(form.contains("folderIdx\"\r\n\r\n1\r\n"), form.constData());
        QVERIFY2(form.contains("visualIdx\"\r\n\r\n2\r\n"), form.constData());
        QVERIFY(rig->second.waitForRequests(4, executePath));
        const QList<WireRequest> commands = rig->second.requests(executePath);
        QCOMPARE(commands.size(), 4);
        QVERIFY(commands.at(1).body.contains("&folderIdx=1&visualIdx=2&visualToIdx=3&"));
        QVERIFY(commands.last().body.contains("serverURL=http://" LOOPBACK(1) ":"));
        QCOMPARE(rig->first.requests(executePath).size(), 0);
    }

    void cancelledUploadMakesRoomForAnother()
    {
        QTemporaryDir directory;
        QFile file(directory.filePath(u"a.png"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        rig->service->addHandler(firstAddress, firstId);
        rig->service->requestUpload(firstId, 1, 2, file.fileName());
        QVERIFY(rig->first.waitForRequests(1, uploadPath));
        rig->service->cancelUpload(firstId);
        rig->service->requestUpload(firstId, 1, 3, file.fileName());
        QVERIFY(rig->first.waitForRequests(2, uploadPath));
    }

    void removalsCanBeForgotten_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::newRow("cancelRemoves") << Operation(&ServerConnectionService::cancelRemoves);
        QTest::newRow("clearPendingRemoves")
            << Operation(&ServerConnectionService::clearPendingRemoves);
    }

    void removalsCanBeForgotten()
    {
        QFETCH(const Operation, operation);
        rig->service->addHandler(firstAddress, firstId);
        rig->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(rig->first.waitForRequests(1, executePath));
        operation(*rig->service, firstId);
        rig->first.requests(executePath).constFirst().answer(successBody);
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"visualRemoveFinished first 1 1"_s});
        rig->service->requestRename(firstId, {{3, u"Next"_s}});
        QVERIFY(rig->first.waitForRequests(2, executePath));
        QVERIFY(rig->first.requests(executePath).at(1).body.startsWith("req_type=5&"));
        rig->service->removeHandler(firstId);
        QCOMPARE(rig->events.lines.size(), 1);
    }

    void cancelReachesEveryServer()
    {
        rig->service->cancelAllSyncs();
        rig->service->addHandler(firstAddress, firstId);
        rig->service->addHandler(secondAddress, secondId);
        rig->service->cancelAllSyncs();
        for (const WireServer *server : {&rig->first, &rig->second}) {
            QVERIFY(server->waitForRequests(1, executePath));
            QVERIFY(server->requests(executePath).constFirst().body.startsWith("req_type=4&"));
        }
    }

    void serverThatIsLostWhileAllAreCancelledIsPassedOver()
    {
        rig->service->addHandler(firstAddress, firstId);
        rig->service->addHandler(secondAddress, secondId);
        const QPointer<ServerConnectionHandler> lost = rig->handlers().last();
        rig->sendFromFirst(Wire::frame(
            json("{'msg_type':1,'sync':{'ID':'7d444840-9dc0-11d1-b245-5ffdce74fad2'}}")));
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"syncProgressUpdate first 0 0 0 0"_s}));
        connect(rig->service.get(), &ServerConnectionService::syncProgressUpdate,
                rig->service.get(), [&] {
                    rig->service->removeHandler(secondId);
                    QVERIFY(waitFor([&] { return lost.isNull(); }));
                });
        rig->service->cancelAllSyncs();
        QVERIFY(lost.isNull());
        QCOMPARE(rig->events.lines.last(), u"syncProgressUpdate first 0 0 0 4"_s);
        QVERIFY(rig->first.waitForRequests(1, executePath));
        QCOMPARE(rig->second.requests(executePath).size(), 0);
    }

    void removeHandlerTellsQueuedRemovalsFirst()
    {
        rig->service->addHandler(firstAddress, firstId);
        rig->service->addHandler(secondAddress, secondId);
        const QPointer<ServerConnectionHandler> handler = rig->handlers().constFirst();
        rig->service->requestRemove(firstId, {{1, 1}, {1, 2}, {1, 3}});
        QVERIFY(rig->first.waitForRequests(1, executePath));
        LogCapture log;
        rig->service->removeHandler(firstId);
        QCOMPARE(rig->events.lines, (QStringList{u"visualRemoveFinished first 1 2"_s,
                                                 u"visualRemoveFinished first 1 3"_s}));
        QCOMPARE(log.entries().constFirst(),
                 u"info:  Handler removed for server id %1"_s.arg(firstId.toString()));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        EVENTUALLY_COMPARE(rig->first.openConnections(), 0);
        QCOMPARE(rig->events.lines.size(), 2);
        QCOMPARE(rig->handlers().size(), 1);
    }

    void streamThatEndsTakesItsHandlerOut()
    {
        rig->service->addHandler(firstAddress, firstId);
        const QPointer<ServerConnectionHandler> handler = rig->handlers().constFirst();
        LogCapture log;
        // A new handler for the id is a fresh one.
        connect(rig->service.get(), &ServerConnectionService::serverDisconnected,
                rig->service.get(), [this] { rig->service->addHandler(secondAddress, firstId); });
        rig->sendFromFirst(Wire::frame(json("{'msg_type':4}")));
        rig->first.requests(notifierPath).constFirst().send(Wire::lastChunk());
        EVENTUALLY_COMPARE(rig->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"serverDisconnected first 1 "_s}));
        QVERIFY(log.entries().contains(
            u"info: Handler removed for id %1 address " LOOPBACK(1) ""_s.arg(firstId.toString())));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        QVERIFY(rig->second.waitForRequests(1, notifierPath));
        QCOMPARE(rig->handlers().size(), 1);
        QCOMPARE(rig->handlers().constFirst()->serverAddress(), secondAddress);
    }

    void commandsInFlightAtTheEndOfTheStreamGetNoAnswer()
    {
        rig->service->addHandler(firstAddress, firstId);
        rig->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        rig->service->requestMove(firstId, 1, 2, 3);
        QVERIFY(rig->first.waitForRequests(2, executePath));
        QVERIFY(rig->first.waitForRequests(1, notifierPath));
        rig->first.requests(notifierPath).constFirst().send(Wire::lastChunk());
        EVENTUALLY_COMPARE(rig->events.lines, QStringList{u"serverDisconnected first 0 "_s});
        EVENTUALLY_COMPARE(rig->first.openConnections(), 0);
        QCOMPARE(rig->events.lines.size(), 1);
    }

    void removeHandlerFromInsideItsSignals()
    {
        connect(rig->service.get(), &ServerConnectionService::visualRemoveFinished,
                rig->service.get(), [this](const QUuid &id) { rig->service->removeHandler(id); });
        rig->service->addHandler(firstAddress, firstId);
        rig->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(rig->first.waitForRequests(1, executePath));
        rig->first.requests(executePath).constFirst().answer(successBody);
        EVENTUALLY_COMPARE(rig->first.openConnections(), 0);
        QCOMPARE(rig->events.lines, (QStringList{u"visualRemoveFinished first 1 1"_s,
                                                 u"visualRemoveFinished first 1 2"_s}));
        QCOMPARE(rig->handlers().size(), 0);
    }

    void removeHandlerInABoxThatASignalOpened()
    {
        rig->service->addHandler(firstAddress, firstId);
        const QPointer<ServerConnectionHandler> handler = rig->handlers().constFirst();
        bool alive = false;
        connect(rig->service.get(), &ServerConnectionService::serverLibraryChanged,
                rig->service.get(), [&] {
                    QTimer::singleShot(0, rig->service.get(),
                                       [&] { rig->service->removeHandler(firstId); });
                    QVERIFY(waitFor([&] { return rig->first.openConnections() == 0; }));
                    alive = !handler.isNull();
                });
        rig->sendFromFirst(Wire::frame(libraryChanged) + Wire::frame(libraryChanged));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        QVERIFY(alive);
        QCOMPARE(rig->events.lines, (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                                 u"serverLibraryChanged first"_s}));
    }

    void destructionIsSilent()
    {
        rig->service->addHandler(firstAddress, firstId);
        rig->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(rig->first.waitForRequests(1, executePath));
        rig->service.reset();
        EVENTUALLY_COMPARE(rig->first.openConnections(), 0);
        QCOMPARE(rig->events.lines, QStringList());
    }

private:
    std::unique_ptr<ServiceRig> rig;
};

QTEST_GUILESS_MAIN(tst_ServerConnectionService)
#include "tst_ServerConnectionService.moc"
