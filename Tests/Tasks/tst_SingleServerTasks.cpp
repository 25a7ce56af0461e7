// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/LogCapture.h"
#include "Support/TaskFixture.h"
#include "Tasks/MoveTask.h"
#include "Tasks/RemoveTask.h"
#include "Tasks/UploadTask.h"

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

using Service = ServerConnectionService;

/// A task on one server, and what the service reports for it.
struct Operation
{
    std::function<void(TaskFixture &)> create;
    std::function<void(Service &, const QUuid &, const QString &text)> fail;
    /// Emits everything else that the task listens to.
    std::function<void(Service &, const QUuid &)> succeed;
    int signalCount = 0; ///< of `fail` and `succeed` together
    QString errorLine;   ///< with places for the name of the server and the text
};

const Operation move{[](TaskFixture &fixture) { fixture.create<MoveTask>(3, 7, 12); },
                     [](Service &service, const QUuid &id, const QString &text) {
                         emit service.movedFileError(id, text);
                     },
                     [](Service &service, const QUuid &id) { emit service.movedFileFinished(id); },
                     2, u"Move from 007 to 012 in folder 003 on server \"%1\" failed: %2."_s};

const Operation removal{
    [](TaskFixture &fixture) {
        fixture.create<RemoveTask>(QList<VisualRef>{{3, 17}});
    },
    [](Service &service, const QUuid &id, const QString &text) {
        emit service.visualRemoveError(id, 3, 17, text);
    },
    [](Service &service, const QUuid &id) { emit service.visualRemoveFinished(id, 3, 17); }, 2,
    u"Remove visual 017 in folder 003 on server \"%1\" failed: %2."_s};

const Operation upload{
    [](TaskFixture &fixture) { fixture.create<UploadTask>(0, 255, u"/missing"_s); },
    [](Service &service, const QUuid &id, const QString &text) {
        emit service.uploadedFileError(id, text);
    },
    [](Service &service, const QUuid &id) {
        emit service.uploadedFileProgress(id, 100);
        emit service.uploadedFileFinished(id);
    },
    3, u"Upload for visual 255 in folder 000 to server \"%1\" failed: %2."_s};

void addOperationRows()
{
    QTest::addColumn<Operation>("operation");
    QTest::newRow("move") << move;
    QTest::newRow("remove") << removal;
    QTest::newRow("upload") << upload;
}

} // namespace

/// What moves, removals and uploads have in common.
class tst_SingleServerTasks : public TaskTest
{
    Q_OBJECT

private slots:
    void init()
    {
        setUp();
        fixture->server.hold();
    }
    void cleanup() { tearDown(); }

    void taskKnowsItsServer_data() { addOperationRows(); }
    void taskKnowsItsServer()
    {
        QFETCH(const Operation, operation);
        start(operation);
        QCOMPARE(fixture->task->affectedServer(), fixture->server.uuid);
        QVERIFY(fixture->task->involvesServer(fixture->server.uuid));
        QVERIFY(!fixture->task->involvesServer(QUuid::createUuid()));
        QVERIFY(!fixture->task->involvesServer(QUuid()));
    }

    void errorLineTakesNamesLiterally_data() { addOperationRows(); }
    void errorLineTakesNamesLiterally()
    {
        QFETCH(const Operation, operation);
        fixture->model.setServerName(fixture->server.uuid, u"%4\n<b>%1</b>"_s);
        start(operation);
        const QString text = u"%2\n%%%"_s.repeated(1000);
        operation.fail(fixture->service, fixture->server.uuid, text);
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{operation.errorLine.arg(u"%4 <b>%1</b>"_s, text.left(4096) + u'…')});
    }

    void errorLineOfARemovedServerHasNoName_data() { addOperationRows(); }
    void errorLineOfARemovedServerHasNoName()
    {
        QFETCH(const Operation, operation);
        start(operation);
        operation.fail(fixture->service, fixture->server.uuid, u"no"_s);
        QVERIFY(fixture->model.removeServer(fixture->server.uuid));
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{operation.errorLine.arg(QString(), u"no"_s)});
    }

    void abortBeforeTheStartFinishesTheTask_data() { addOperationRows(); }
    void abortBeforeTheStartFinishesTheTask()
    {
        QFETCH(const Operation, operation);
        operation.create(*fixture);
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 1);
    }

    void abortHidesTheDialogAndClearsErrors_data() { addOperationRows(); }
    void abortHidesTheDialogAndClearsErrors()
    {
        QFETCH(const Operation, operation);
        start(operation);
        operation.fail(fixture->service, fixture->server.uuid, u"no"_s);
        QVERIFY(fixture->task->hasErrors());
        fixture->dialog()->show();
        fixture->task->abort();
        QCOMPARE(fixture->finished->size(), 2);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
    }

    void resultOfAnotherServerIsLoggedAndIgnored_data() { addOperationRows(); }
    void resultOfAnotherServerIsLoggedAndIgnored()
    {
        QFETCH(const Operation, operation);
        start(operation);
        const QString label = fixture->label();
        const QUuid other = QUuid::createUuid();
        LogCapture log;
        operation.succeed(fixture->service, other);
        operation.fail(fixture->service, other, u"no"_s);
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->label(), label);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(
            log.entries().count(u"info: Invalid server id in notification "_s + other.toString()),
            operation.signalCount);
    }

private:
    void start(const Operation &operation)
    {
        operation.create(*fixture);
        QVERIFY(fixture->task->start());
    }
};

QTEST_MAIN(tst_SingleServerTasks)
#include "tst_SingleServerTasks.moc"
