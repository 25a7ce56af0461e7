// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ConnectionServiceFixture.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"

/// Calls for a server that is not connected.
class tst_MissingHandler : public ConnectionServiceTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void isLoggedAndDropped_data()
    {
        using S = ServerConnectionService;
        QTest::addColumn<QString>("entry");
        QTest::addColumn<Operation>("operation");
        const QString text = u"info: Handler not found for id %1"_s.arg(unknownId.toString());
        const QString textWithColon =
            u"info: Handler not found for id: %1"_s.arg(unknownId.toString());
        const QString error = u"error: Handler not found for id: %1"_s.arg(unknownId.toString());
        const auto row = [](const char *name, const QString &logged, const Operation &operation) {
            QTest::newRow(name) << logged << operation;
        };
        row("removeHandler", text, [](S &s, const QUuid &id) { s.removeHandler(id); });
        row("requestRemove", text, [](S &s, const QUuid &id) { s.requestRemove(id, {{1, 2}}); });
        row("cancelRemoves", text, [](S &s, const QUuid &id) { s.cancelRemoves(id); });
        row("requestMove", textWithColon,
            [](S &s, const QUuid &id) { s.requestMove(id, 1, 2, 3); });
        row("requestUpload", textWithColon,
            [](S &s, const QUuid &id) { s.requestUpload(id, 1, 2, u"/dev/null"_s); });
        row("cancelUpload", textWithColon, [](S &s, const QUuid &id) { s.cancelUpload(id); });
        row("requestSync", error, [](S &s, const QUuid &id) {
            s.requestSync(secondAddress, id, {{1, 2}});
        });
        row("requestRename", textWithColon, [](S &s, const QUuid &id) {
            s.requestRename(id, {{1, u"a"_s}});
        });
        row("clearPendingRemoves", textWithColon,
            [](S &s, const QUuid &id) { s.clearPendingRemoves(id); });
    }
    void isLoggedAndDropped()
    {
        QFETCH(const QString, entry);
        QFETCH(const Operation, operation);
        fixture->service->addHandler(firstAddress, firstId);
        QVERIFY(fixture->first.waitForRequests(1, notifierPath));
        LogCapture log;
        operation(*fixture->service, unknownId);
        QCOMPARE(log.entries(), QStringList{entry});
        QCOMPARE(fixture->events.lines, QStringList());
        QCOMPARE(fixture->handlers().size(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_MissingHandler)
#include "tst_MissingHandler.moc"
