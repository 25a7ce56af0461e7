// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ConnectionServiceFixture.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QPointer>

namespace {

using Emission =
    std::function<void(ServerConnectionHandler &, const QHostAddress &, const QUuid &)>;

} // namespace

/// The 17 signals of a handler and those of the service that they become.
class tst_ServerConnectionForwarding : public ConnectionServiceTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void forwarding_data()
    {
        using H = ServerConnectionHandler;
        using A = QHostAddress;
        QTest::addColumn<QString>("check");
        QTest::addColumn<Emission>("emission");
        const auto row = [](const char *line, const QString &check, const Emission &emission) {
            QTest::newRow(line) << check << emission;
        };
        row("syncProgressUpdate first 1 2 3 4", u"none"_s, [](H &h, const A &, const QUuid &id) {
            emit h.handlerSyncProgressUpdate(id, 1, 2, 3, Brenvoka::SyncCanceling);
        });
        row("syncError first 1 2 3 error url", u"none"_s, [](H &h, const A &, const QUuid &id) {
            emit h.handlerSyncError(id, 1, 2, Brenvoka::SyncFailed, u"error"_s, u"url"_s);
        });
        row("syncFinished first 1 2", u"none"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerSyncRequestFinished(id, 1, 2); });
        row("syncOperationFinished first", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerSyncOperationFinished(id); });
        row("serverDisconnected first 3 error", u"id"_s,
            [](H &h, const A &address, const QUuid &id) {
                emit h.handlerServerDisconnected(address, id, Brenvoka::DisconnectNetworkError,
                                                 u"error"_s);
            });
        row("serverConnected first " LOOPBACK(1), u"id"_s,
            [](H &h, const A &address, const QUuid &id) {
                emit h.handlerServerConnected(id, address);
            });
        row("uploadedFileProgress first 42", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.uploadedFileProgress(id, 42); });
        row("uploadedFileError first error", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.uploadedFileError(id, u"error"_s); });
        row("uploadedFileFinished first", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.uploadedFileFinished(id); });
        row("movedFileError first error", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerMoveFileError(id, u"error"_s); });
        row("movedFileFinished first", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerMoveFileFinished(id); });
        row("serverLibraryChanged first", u"address"_s,
            [](H &h, const A &address, const QUuid &id) {
                emit h.connectedServerLibraryChanged(address, id);
            });
        row("serverUpdateStats first 1.5 2.5 3.5 true", u"address"_s,
            [](H &h, const A &address, const QUuid &id) {
                emit h.connectedServerUpdateStats(address, id, 1.5F, 2.5F, 3.5F, true);
            });
        row("visualRemoveError first 1 2 error", u"id"_s, [](H &h, const A &, const QUuid &id) {
            emit h.handlerRemoveError(id, 1, 2, u"error"_s);
        });
        row("visualRemoveFinished first 1 2", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerRemoveFinished(id, 1, 2); });
        row("folderRenameError first 1 error", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerRenameError(id, 1, u"error"_s); });
        row("folderRenameFinished first 1", u"id"_s,
            [](H &h, const A &, const QUuid &id) { emit h.handlerRenameFinished(id, 1); });
    }
    void forwarding()
    {
        QFETCH(const QString, check);
        QFETCH(const Emission, emission);
        const QString line = QString::fromLatin1(QTest::currentDataTag());
        fixture->service->addHandler(firstAddress, firstId);
        const QPointer<ServerConnectionHandler> handler = fixture->handlers().constFirst();

        // From an unknown server: logged and dropped, unless nothing is checked.
        LogCapture log;
        emission(*handler, secondAddress, unknownId);
        if (check == "none"_L1) {
            QCOMPARE(fixture->events.lines,
                     QStringList{QString(line).replace(u"first"_s, unknownId.toString())});
            QCOMPARE(log.texts(), QStringList());
        } else {
            QCOMPARE(fixture->events.lines, QStringList());
            QCOMPARE(
                log.entries(),
                QStringList{check == "id"_L1
                                ? u"info: Handler not found for id %1"_s.arg(unknownId.toString())
                                : u"info: Handler not found for address " LOOPBACK(2) ""_s});
        }
        fixture->events.lines.clear();

        emission(*handler, firstAddress, firstId);
        QCOMPARE(fixture->events.lines, QStringList{line});

        // Disconnected: the slot is not called. A lost server was removed before.
        fixture->service->removeHandler(firstId);
        emission(*handler, firstAddress, firstId);
        QCOMPARE(fixture->events.lines.size(), 1);
        QCOMPARE(log.texts().filter(u"not found"_s).size(),
                 (check == "none"_L1 ? 0 : 1) + (line.startsWith(u"serverDisconnected"_s) ? 1 : 0));
        EVENTUALLY_COMPARE(handler.isNull(), true);
    }
};

QTEST_GUILESS_MAIN(tst_ServerConnectionForwarding)
#include "tst_ServerConnectionForwarding.moc"
