// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/TaskFixture.h"
#include "Support/Wait.h"
#include "Tasks/MoveTask.h"
#include "Tasks/RemoveTask.h"
#include "Tasks/UploadTask.h"

#include <QTemporaryDir>

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Start = std::function<void(TaskFixture &, const QString &file)>;
using Loss = std::function<void(TaskFixture &)>;

const QList<std::pair<const char *, Start>> operations{
    {"remove",
     [](TaskFixture &fixture, const QString &) {
         fixture.start<RemoveTask>(QList<VisualRef>{{3, 1}, {3, 2}, {3, 3}});
     }},
    {"move", [](TaskFixture &fixture, const QString &) { fixture.start<MoveTask>(3, 7, 12); }},
    {"upload",
     [](TaskFixture &fixture, const QString &file) { fixture.start<UploadTask>(3, 17, file); }}};

const QList<std::pair<const char *, Loss>> losses{
    {"the stream ends", [](TaskFixture &fixture) { fixture.server.stream.close(); }},
    {"the stream is reset", [](TaskFixture &fixture) { fixture.server.stream.reset(); }},
    {"the server announces its shutdown",
     [](TaskFixture &fixture) {
         fixture.server.stream.send(Wire::frame(R"({"msg_type":4})"));
         fixture.server.stream.close();
     }},
    {"the machine is lost",
     [](TaskFixture &fixture) {
         fixture.server.wire.stopListening();
         fixture.server.wire.resetAll();
     }},
    // What the controller does with a server that no longer announces itself.
    {"its announcements end", [](TaskFixture &fixture) {
         fixture.service.removeHandler(fixture.server.uuid);
         fixture.task->abort();
     }}};

} // namespace

/// A server is lost during an operation, and the controller then aborts the task.
class tst_TaskLosses : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void lostServerFinishesTheTaskWithoutErrors_data()
    {
        QTest::addColumn<Start>("start");
        QTest::addColumn<Loss>("lose");
        for (const auto &[operation, start] : operations) {
            for (const auto &[way, lose] : losses)
                QTest::addRow("%s, %s", operation, way) << start << lose;
        }
    }
    void lostServerFinishesTheTaskWithoutErrors()
    {
        QFETCH(const Start, start);
        QFETCH(const Loss, lose);
        const QTemporaryDir directory;
        QFile file(directory.filePath(u"sunset.png"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(100));

        TaskFixture fixture(loopback(1));
        QVERIFY(fixture.connectServer());
        fixture.server.hold();
        start(fixture, file.fileName());
        connect(&fixture.service, &ServerConnectionService::serverDisconnected, fixture.task.get(),
                [&fixture] { fixture.task->abort(); });
        QVERIFY(fixture.server.wire.waitForRequests(2));
        const WireRequest onTheWire = fixture.server.wire.requests().last();
        fixture.dialog()->showIfUnfinished();
        QVERIFY(fixture.dialog()->isVisible());
        QCOMPARE(fixture.finished->size(), 0);
        // Read when the task ends: the delay of the dialog may still be running, and the controller
        // deletes the task before its end.
        bool visibleAtTheEnd = true;
        connect(fixture.task.get(), &TaskBase::taskFinished, this,
                [&] { visibleAtTheEnd = fixture.dialog()->isVisible(); });

        lose(fixture);
        EVENTUALLY(fixture.finished->size() > 0);
        QVERIFY(!visibleAtTheEnd);
        EVENTUALLY(!fixture.task->hasErrors());
        QCOMPARE(fixture.task->errorDetails(), QStringList());
        // The connections end with the handler.
        EVENTUALLY_COMPARE(fixture.server.wire.openConnections(), 0);
        QVERIFY(!onTheWire.isOpen());
        QVERIFY(!fixture.task->hasErrors());
        // On a busy machine Qt may request the stream again before the handler is deleted.
        const QList<WireRequest> requests = fixture.server.wire.requests();
        QCOMPARE(std::ranges::count(requests, "POST"_ba, &WireRequest::method), 1);
    }

    void lostServerReportsQueuedRemovalsAsDone()
    {
        TaskFixture fixture(loopback(1));
        QVERIFY(fixture.connectServer());
        fixture.server.hold();
        fixture.start<RemoveTask>(QList<VisualRef>{{3, 1}, {3, 2}, {3, 3}});
        QVERIFY(fixture.server.wire.waitForRequests(2));
        fixture.service.removeHandler(fixture.server.uuid);
        QCOMPARE(fixture.dialog()->progress(), 2);
        QCOMPARE(fixture.finished->size(), 0);
        fixture.task->abort();
        QCOMPARE(fixture.finished->size(), 1);
    }

    void lostServerAbortsTheUpload()
    {
        const QTemporaryDir directory;
        QFile file(directory.filePath(u"sunset.mov"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(64 << 20));

        TaskFixture fixture(loopback(1));
        QVERIFY(fixture.connectServer());
        QSignalSpy progress(&fixture.service, &ServerConnectionService::uploadedFileProgress);
        fixture.server.wire.setReading(false);
        fixture.start<UploadTask>(3, 17, file.fileName());
        connect(&fixture.service, &ServerConnectionService::serverDisconnected, fixture.task.get(),
                [&fixture] { fixture.task->abort(); });
        QVERIFY(progress.wait(patience));
        fixture.server.stream.close();
        EVENTUALLY_COMPARE(fixture.finished->size(), 1);
        QVERIFY(!fixture.dialog()->isVisible());
        QVERIFY(!fixture.task->hasErrors());
        fixture.server.wire.setReading(true);
        EVENTUALLY_COMPARE(fixture.server.wire.openConnections(), 0);
        QCOMPARE(fixture.server.wire.requests("/brenvoka/upload.html").size(), 0);
    }
};

QTEST_MAIN(tst_TaskLosses)
#include "tst_TaskLosses.moc"
