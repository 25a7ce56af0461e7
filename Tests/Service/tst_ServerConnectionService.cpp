// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ConnectionServiceFixture.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTemporaryDir>

/// What the service forwards, what it logs, and which handlers it keeps.
class tst_ServerConnectionService : public ConnectionServiceTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void handlerBelongsToTheServiceAndConnects()
    {
        LogCapture log;
        fixture->service->addHandler(firstAddress, firstId);
        QCOMPARE(log.entries().constFirst(), u"info: Adding handler for " LOOPBACK(1) ""_s);
        QCOMPARE(fixture->handlers().size(), 1);
        QCOMPARE(fixture->events.lines, QStringList());
        fixture->sendFromFirst(Wire::frame(libraryChanged));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"serverLibraryChanged first"_s}));
    }

    void secondAddressOfAnIdIsIgnored()
    {
        fixture->service->addHandler(firstAddress, firstId);
        LogCapture log;
        fixture->service->addHandler(secondAddress, firstId);
        QCOMPARE(fixture->events.lines, QStringList{u"serverConnected first " LOOPBACK(1) ""_s});
        QCOMPARE(log.texts(), QStringList());
        QCOMPARE(fixture->handlers().size(), 1);
        QVERIFY(fixture->first.waitForRequests(1, notifierPath));
        QCOMPARE(fixture->second.connectionCount(), 0);
    }

    // A receiver may remove the handler before the next one reads the address.
    void knownServerIsReportedWithACopyOfItsAddress()
    {
        fixture->service->addHandler(firstAddress, firstId);
        const QHostAddress &field = fixture->handlers().constFirst()->serverAddress();
        const QHostAddress *reported = &field;
        connect(fixture->service.get(), &ServerConnectionService::serverConnected,
                fixture->service.get(),
                [&](const QUuid &, const QHostAddress &address) { reported = &address; });
        fixture->service->addHandler(firstAddress, firstId);
        QVERIFY(reported != &field);
    }

    void twoIdsMayShareAnAddress()
    {
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->addHandler(firstAddress, secondId);
        QCOMPARE(fixture->handlers().size(), 2);
        QVERIFY(fixture->first.waitForRequests(2, notifierPath));
        emit fixture->handlers().last()->connectedServerLibraryChanged(firstAddress, secondId);
        QCOMPARE(fixture->events.lines, QStringList{u"serverLibraryChanged second"_s});
    }

    void operationsReachTheirHandler()
    {
        QTemporaryDir directory;
        QFile file(directory.filePath(u"a.png"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        fixture->second.answer(executePath, successBody);
        fixture->second.answer(uploadPath, successBody);
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->addHandler(secondAddress, secondId);

        fixture->service->requestRemove(secondId, {{1, 2}});
        EVENTUALLY_COMPARE(fixture->events.lines,
                           QStringList{u"visualRemoveFinished second 1 2"_s});
        fixture->service->requestMove(secondId, 1, 2, 3);
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"movedFileFinished second"_s);
        fixture->service->requestRename(secondId, {{1, u"a"_s}});
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"folderRenameFinished second 1"_s);
        fixture->service->requestSync(firstAddress, secondId, {{3, 17}});
        QCOMPARE(fixture->events.lines.last(), u"syncProgressUpdate second 3 17 0 0"_s);
        fixture->service->requestUpload(secondId, 1, 2, file.fileName());
        EVENTUALLY_COMPARE(fixture->events.lines.last(), u"uploadedFileFinished second"_s);
        const QByteArray form = fixture->second.requests(uploadPath).constFirst().body;
        QVERIFY2(form.contains("folderIdx\"\r\n\r\n1\r\n"), form.constData());
        QVERIFY2(form.contains("visualIdx\"\r\n\r\n2\r\n"), form.constData());
        QVERIFY(fixture->second.waitForRequests(4, executePath));
        const QList<WireRequest> commands = fixture->second.requests(executePath);
        QCOMPARE(commands.size(), 4);
        QVERIFY(commands.at(1).body.contains("&folderIdx=1&visualIdx=2&visualToIdx=3&"));
        QVERIFY(commands.last().body.contains("serverURL=http://" LOOPBACK(1) ":"));
        QCOMPARE(fixture->first.requests(executePath).size(), 0);
    }

    void cancelledUploadAllowsAnother()
    {
        QTemporaryDir directory;
        QFile file(directory.filePath(u"a.png"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->requestUpload(firstId, 1, 2, file.fileName());
        QVERIFY(fixture->first.waitForRequests(1, uploadPath));
        fixture->service->cancelUpload(firstId);
        fixture->service->requestUpload(firstId, 1, 3, file.fileName());
        QVERIFY(fixture->first.waitForRequests(2, uploadPath));
    }

    void queuedRemovalsCanBeDropped_data()
    {
        QTest::addColumn<Operation>("operation");
        QTest::newRow("cancelRemoves") << Operation(&ServerConnectionService::cancelRemoves);
        QTest::newRow("clearPendingRemoves")
            << Operation(&ServerConnectionService::clearPendingRemoves);
    }
    void queuedRemovalsCanBeDropped()
    {
        QFETCH(const Operation, operation);
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(fixture->first.waitForRequests(1, executePath));
        operation(*fixture->service, firstId);
        fixture->first.requests(executePath).constFirst().answer(successBody);
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"visualRemoveFinished first 1 1"_s});
        fixture->service->requestRename(firstId, {{3, u"Next"_s}});
        QVERIFY(fixture->first.waitForRequests(2, executePath));
        QVERIFY(fixture->first.requests(executePath).at(1).body.startsWith("req_type=5&"));
        fixture->service->removeHandler(firstId);
        QCOMPARE(fixture->events.lines.size(), 1);
    }

    void cancelReachesEveryServer()
    {
        fixture->service->cancelAllSyncs();
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->addHandler(secondAddress, secondId);
        fixture->service->cancelAllSyncs();
        for (const WireServer *server : {&fixture->first, &fixture->second}) {
            QVERIFY(server->waitForRequests(1, executePath));
            QVERIFY(server->requests(executePath).constFirst().body.startsWith("req_type=4&"));
        }
    }

    void serverLostDuringCancelIsSkipped()
    {
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->addHandler(secondAddress, secondId);
        const QPointer<ServerConnectionHandler> lost = fixture->handlers().last();
        fixture->sendFromFirst(Wire::frame(
            json("{'msg_type':1,'sync':{'ID':'7d444840-9dc0-11d1-b245-5ffdce74fad2'}}")));
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"syncProgressUpdate first 0 0 0 0"_s}));
        connect(fixture->service.get(), &ServerConnectionService::syncProgressUpdate,
                fixture->service.get(), [&] {
                    fixture->service->removeHandler(secondId);
                    QVERIFY(waitFor([&] { return lost.isNull(); }));
                });
        fixture->service->cancelAllSyncs();
        QVERIFY(lost.isNull());
        QCOMPARE(fixture->events.lines.last(), u"syncProgressUpdate first 0 0 0 4"_s);
        QVERIFY(fixture->first.waitForRequests(1, executePath));
        QCOMPARE(fixture->second.requests(executePath).size(), 0);
    }

    void removeHandlerReportsQueuedRemovalsFirst()
    {
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->addHandler(secondAddress, secondId);
        const QPointer<ServerConnectionHandler> handler = fixture->handlers().constFirst();
        fixture->service->requestRemove(firstId, {{1, 1}, {1, 2}, {1, 3}});
        QVERIFY(fixture->first.waitForRequests(1, executePath));
        LogCapture log;
        fixture->service->removeHandler(firstId);
        QCOMPARE(fixture->events.lines, (QStringList{u"visualRemoveFinished first 1 2"_s,
                                                     u"visualRemoveFinished first 1 3"_s}));
        QCOMPARE(log.entries().constFirst(),
                 u"info:  Handler removed for server id %1"_s.arg(firstId.toString()));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        EVENTUALLY_COMPARE(fixture->first.openConnections(), 0);
        QCOMPARE(fixture->events.lines.size(), 2);
        QCOMPARE(fixture->handlers().size(), 1);
    }

    void endOfTheStreamRemovesTheHandler()
    {
        fixture->service->addHandler(firstAddress, firstId);
        const QPointer<ServerConnectionHandler> handler = fixture->handlers().constFirst();
        LogCapture log;
        // A new handler for the id starts without commands.
        connect(fixture->service.get(), &ServerConnectionService::serverDisconnected,
                fixture->service.get(),
                [this] { fixture->service->addHandler(secondAddress, firstId); });
        fixture->sendFromFirst(Wire::frame(json("{'msg_type':4}")));
        fixture->first.requests(notifierPath).constFirst().send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                        u"serverDisconnected first 1 "_s}));
        QVERIFY(log.entries().contains(
            u"info: Handler removed for id %1 address " LOOPBACK(1) ""_s.arg(firstId.toString())));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        QVERIFY(fixture->second.waitForRequests(1, notifierPath));
        QCOMPARE(fixture->handlers().size(), 1);
        QCOMPARE(fixture->handlers().constFirst()->serverAddress(), secondAddress);
    }

    void commandsInFlightAtTheEndAreNotReported()
    {
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        fixture->service->requestMove(firstId, 1, 2, 3);
        QVERIFY(fixture->first.waitForRequests(2, executePath));
        QVERIFY(fixture->first.waitForRequests(1, notifierPath));
        fixture->first.requests(notifierPath).constFirst().send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"serverDisconnected first 0 "_s});
        EVENTUALLY_COMPARE(fixture->first.openConnections(), 0);
        QCOMPARE(fixture->events.lines.size(), 1);
    }

    void removeHandlerFromInsideItsSignals()
    {
        connect(fixture->service.get(), &ServerConnectionService::visualRemoveFinished,
                fixture->service.get(),
                [this](const QUuid &id) { fixture->service->removeHandler(id); });
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(fixture->first.waitForRequests(1, executePath));
        fixture->first.requests(executePath).constFirst().answer(successBody);
        EVENTUALLY_COMPARE(fixture->first.openConnections(), 0);
        QCOMPARE(fixture->events.lines, (QStringList{u"visualRemoveFinished first 1 1"_s,
                                                     u"visualRemoveFinished first 1 2"_s}));
        QCOMPARE(fixture->handlers().size(), 0);
    }

    void removeHandlerInANestedEventLoop()
    {
        fixture->service->addHandler(firstAddress, firstId);
        const QPointer<ServerConnectionHandler> handler = fixture->handlers().constFirst();
        bool alive = false;
        connect(fixture->service.get(), &ServerConnectionService::serverLibraryChanged,
                fixture->service.get(), [&] {
                    QTimer::singleShot(0, fixture->service.get(),
                                       [&] { fixture->service->removeHandler(firstId); });
                    QVERIFY(waitFor([&] { return fixture->first.openConnections() == 0; }));
                    alive = !handler.isNull();
                });
        fixture->sendFromFirst(Wire::frame(libraryChanged) + Wire::frame(libraryChanged));
        EVENTUALLY_COMPARE(handler.isNull(), true);
        QVERIFY(alive);
        QCOMPARE(fixture->events.lines, (QStringList{u"serverConnected first " LOOPBACK(1) ""_s,
                                                     u"serverLibraryChanged first"_s}));
    }

    void destructionIsSilent()
    {
        fixture->service->addHandler(firstAddress, firstId);
        fixture->service->requestRemove(firstId, {{1, 1}, {1, 2}});
        QVERIFY(fixture->first.waitForRequests(1, executePath));
        fixture->service.reset();
        EVENTUALLY_COMPARE(fixture->first.openConnections(), 0);
        QCOMPARE(fixture->events.lines, QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_ServerConnectionService)
#include "tst_ServerConnectionService.moc"
