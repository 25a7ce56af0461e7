// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/TaskRig.h"
#include "Support/Wait.h"
#include "Tasks/MoveTask.h"
#include "Tasks/RemoveTask.h"
#include "Tasks/UploadTask.h"

#include <QTemporaryDir>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Start = std::function<void(TaskRig &, const QString &file)>;
using Loss = std::function<void(TaskRig &)>;

const QList<std::pair<const char *, Start>> operations{
    {"remove",
     [](TaskRig &rig, const QString &) {
         rig.start<RemoveTask>(QList<VisualRef>{{3, 1}, {3, 2}, {3, 3}});
     }},
    {"move", [](TaskRig &rig, const QString &) { rig.start<MoveTask>(3, 7, 12); }},
    {"upload", [](TaskRig &rig, const QString &file) { rig.start<UploadTask>(3, 17, file); }}};

const QList<std::pair<const char *, Loss>> losses{
    {"the stream ends", [](TaskRig &rig) { rig.server.stream.close(); }},
    {"the stream is reset", [](TaskRig &rig) { rig.server.stream.reset(); }},
    {"the server says goodbye",
     [](TaskRig &rig) {
         rig.server.stream.send(Wire::frame(R"({"msg_type":4})"));
         rig.server.stream.close();
     }},
    {"the machine is gone",
     [](TaskRig &rig) {
         rig.server.wire.stopListening();
         rig.server.wire.resetAll();
     }},
    // What the controller does with a server that has fallen silent.
    {"its announcements end", [](TaskRig &rig) {
         rig.service.removeHandler(rig.server.uuid);
         rig.task->abort();
     }}};

} // namespace

/// A server that goes away in the middle of an operation, after which the controller aborts the
/// task.
class tst_TaskLosses : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aLostServerEndsTheTaskWithoutAnError_data();
    void aLostServerEndsTheTaskWithoutAnError();
    void removalsThatWaitedAreToldAsDoneAndFillNoBar();
    void aLostServerTakesTheUploadAlong();
};

void tst_TaskLosses::aLostServerEndsTheTaskWithoutAnError_data()
{
    QTest::addColumn<Start>("start");
    QTest::addColumn<Loss>("lose");
    for (const auto &[operation, start] : operations) {
        for (const auto &[way, lose] : losses)
            QTest::addRow("%s, %s", operation, way) << start << lose;
    }
}

void tst_TaskLosses::aLostServerEndsTheTaskWithoutAnError()
{
    QFETCH(const Start, start);
    QFETCH(const Loss, lose);
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"sunset.png"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(100));

    TaskRig rig(loopback(1));
    QVERIFY(rig.connectServer());
    rig.server.wire.hold(TaskRig::execute);
    start(rig, file.fileName());
    connect(&rig.service, &ServerConnectionService::serverDisconnected, rig.task.get(),
            [&rig] { rig.task->abort(); });
    QVERIFY(rig.server.wire.waitForRequests(2));
    const WireRequest onTheWire = rig.server.wire.requests().last();
    rig.dialog()->showIfUnfinished();
    QVERIFY(rig.dialog()->isVisible());
    QCOMPARE(rig.finished->size(), 0);
    // Looked at when the task ends: the dialog's own delay may still be running, and the controller
    // has deleted the task before that is over.
    bool visibleAtTheEnd = true;
    connect(rig.task.get(), &TaskBase::taskFinished, this,
            [&] { visibleAtTheEnd = rig.dialog()->isVisible(); });

    lose(rig);
    EVENTUALLY(rig.finished->size() > 0);
    QVERIFY(!visibleAtTheEnd);
    EVENTUALLY(!rig.task->hasErrors());
    QCOMPARE(rig.task->errorDetails(), QStringList());
    // The connections end with the handler.
    EVENTUALLY_COMPARE(rig.server.wire.openConnections(), 0);
    QVERIFY(!onTheWire.isOpen());
    QVERIFY(!rig.task->hasErrors());
    QCOMPARE(rig.server.wire.requests().size(), 2);
}

void tst_TaskLosses::removalsThatWaitedAreToldAsDoneAndFillNoBar()
{
    TaskRig rig(loopback(1));
    QVERIFY(rig.connectServer());
    rig.server.wire.hold(TaskRig::execute);
    rig.start<RemoveTask>(QList<VisualRef>{{3, 1}, {3, 2}, {3, 3}});
    QVERIFY(rig.server.wire.waitForRequests(2));
    rig.service.removeHandler(rig.server.uuid);
    QCOMPARE(rig.dialog()->progress(), 2);
    QCOMPARE(rig.finished->size(), 0);
    rig.task->abort();
    QCOMPARE(rig.finished->size(), 1);
}

void tst_TaskLosses::aLostServerTakesTheUploadAlong()
{
    const QTemporaryDir directory;
    QFile file(directory.filePath(u"sunset.mov"_s));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(64 << 20));

    TaskRig rig(loopback(1));
    QVERIFY(rig.connectServer());
    QSignalSpy progress(&rig.service, &ServerConnectionService::uploadedFileProgress);
    rig.server.wire.setReading(false);
    rig.start<UploadTask>(3, 17, file.fileName());
    connect(&rig.service, &ServerConnectionService::serverDisconnected, rig.task.get(),
            [&rig] { rig.task->abort(); });
    QVERIFY(progress.wait(patience));
    rig.server.stream.close();
    EVENTUALLY_COMPARE(rig.finished->size(), 1);
    QVERIFY(!rig.dialog()->isVisible());
    QVERIFY(!rig.task->hasErrors());
    rig.server.wire.setReading(true);
    EVENTUALLY_COMPARE(rig.server.wire.openConnections(), 0);
    QCOMPARE(rig.server.wire.requests("/brenvoka/upload.html").size(), 0);
}

QTEST_MAIN(tst_TaskLosses)
#include "tst_TaskLosses.moc"
