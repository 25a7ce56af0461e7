// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTest.h"
#include "Service/Http/OneShotBody.h"
#include "Support/Wait.h"

#include <QPointer>
#include <QTemporaryFile>

using Order = std::function<void(ServerConnectionHandler &)>;

/// Finished requests are deleted: a synchronisation has tens of thousands of them.
class tst_HandlerMemory : public HandlerTest
{
    Q_OBJECT

private slots:
    void init()
    {
        setUp();
        fixture->server.answer(executePath, successBody);
        fixture->server.answer(uploadPath, successBody);
        QVERIFY(upload.open());
    }

    void cleanup() { tearDown(); }

    void replyIsDeletedOnceItHasFinished_data()
    {
        QTest::addColumn<Order>("order");
        const auto row = [](const char *name, const Order &order) { QTest::newRow(name) << order; };
        row("sync", [](auto &handler) { handler.requestSync(handler.serverAddress(), {{1, 2}}); });
        row("cancel", [](auto &handler) { handler.cancelSyncs(); });
        row("remove", [](auto &handler) { handler.requestRemove({{1, 2}}); });
        row("rename", [](auto &handler) { handler.requestRename({{1, u"a"_s}}); });
        row("move", [](auto &handler) { handler.requestMove(1, 2, 3); });
        row("upload", [this](auto &handler) { handler.requestUpload(1, 2, upload.fileName()); });
        row("cancelled upload", [this](auto &handler) {
            handler.requestUpload(1, 2, upload.fileName());
            handler.cancelUpload();
        });
    }
    void replyIsDeletedOnceItHasFinished()
    {
        QFETCH(const Order, order);
        order(fixture->handler);
        QCOMPARE(fixture->probe.replies().size(), 2);
        EVENTUALLY_COMPARE(fixture->probe.replies(), QList{fixture->probe.streamReply()});
    }

    void streamIsDeletedOnceItHasFinished()
    {
        fixture->stream.send(Wire::lastChunk());
        EVENTUALLY_COMPARE(fixture->probe.replies().size(), 0);
    }

    void stoppedStreamIsDeleted()
    {
        fixture->handler.stop();
        EVENTUALLY_COMPARE(fixture->probe.replies().size(), 0);
    }

    void bodyIsDeletedWithItsReply_data()
    {
        QTest::addColumn<Order>("order");
        QTest::newRow("remove") << Order([](auto &handler) { handler.requestRemove({{1, 2}}); });
        QTest::newRow("rename") << Order([](auto &handler) {
            handler.requestRename({{1, u"a"_s}});
        });
        QTest::newRow("move") << Order([](auto &handler) { handler.requestMove(1, 2, 3); });
    }
    void bodyIsDeletedWithItsReply()
    {
        QFETCH(const Order, order);
        order(fixture->handler);
        const QPointer<OneShotBody> body =
            fixture->probe.replies().constLast()->findChild<OneShotBody *>();
        QVERIFY(body);
        EVENTUALLY_COMPARE(body.isNull(), true);
    }

private:
    QTemporaryFile upload;
};

QTEST_GUILESS_MAIN(tst_HandlerMemory)
#include "tst_HandlerMemory.moc"
