// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/MoveTask.h"

#include "Support/TaskFixture.h"
#include "Support/Wait.h"

#include <QPointer>

using namespace Qt::Literals::StringLiterals;

/// The move of one visual within its folder: from slot 7 to slot 12 of folder 3.
class tst_MoveTask : public TaskTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void moveSendsOneRequest()
    {
        start();
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->finished->first().first().value<TaskBase *>(), fixture->task.get());
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
        QCOMPARE(fixture->server.requests().size(), 1);
        const Command command = fixture->server.commands(ScriptedServer::Move).constFirst();
        QCOMPARE(command.visual(), VisualRef(3, 7));
        QCOMPARE(command.field("visualToIdx"), u"12"_s);
    }

    void dialogIsModalAndHasItsTexts()
    {
        fixture->server.hold();
        start();
        QVERIFY(fixture->dialog()->isModal());
        QCOMPARE(fixture->dialog()->windowTitle(), u"Moving..."_s);
        QCOMPARE(fixture->label(), u"Moving visuals"_s);
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->dialog()->maximum(), 1);
    }

    void shortMoveShowsNoDialog()
    {
        const ShownDialogs shown;
        fixture->server.hold();
        start();
        emit fixture->service.movedFileFinished(fixture->server.uuid);
        QCOMPARE(fixture->finished->size(), 1);
        waitPastTheDelay();
        QCOMPARE(shown.count, 0);
    }

    void longMoveShowsTheDialog()
    {
        fixture->server.hold();
        start();
        QVERIFY(!fixture->dialog()->isVisible());
        EVENTUALLY(fixture->dialog()->isVisible());
        QVERIFY(fixture->answer(0));
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
    }

    void resultCodes_data() { addResultRows(); }
    void resultCodes()
    {
        QFETCH(const QByteArray, result);
        QFETCH(const QString, text);
        fixture->server.answer(result);
        start();
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Visual could not be moved"_s);
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Move from 007 to 012 in folder 003 on server \"Stage left\" failed: "_s +
                        text + u'.'});
    }

    void errorLineHasNumbersOfThreeDigits()
    {
        fixture->model.setServerName(fixture->server.uuid, u"%5 %1"_s);
        fixture->server.refuse("%2");
        fixture->start<MoveTask>(255, 100, 0);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Move from 100 to 000 in folder 255 on server \"%5 %1\" failed: %2."_s});
    }

    void brokenConnectionFailsTheMoveWithoutARepeat()
    {
        start();
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);

        // Qt would repeat a request on the connection that the first move has left open.
        fixture->server.onCommand([](const WireRequest &request) { request.close(); });
        const QSignalSpy refused(&fixture->service, &ServerConnectionService::movedFileError);
        start();
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->server.requests().at(1).connection,
                 fixture->server.requests().at(0).connection);
        const QString text = refused.first().last().toString();
        QVERIFY(!text.isEmpty());
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Move from 007 to 012 in folder 003 on server \"Stage left\" failed: "_s +
                        text + u'.'});
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->server.commands(ScriptedServer::Move).size(), 2);
    }

    void cancelDoesNotStopTheRequest()
    {
        fixture->server.hold();
        start();
        EVENTUALLY(fixture->dialog()->isVisible());
        pressCancel(*fixture->dialog());
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->task->hasErrors());
        QVERIFY(!fixture->dialog()->isVisible());

        // No cancel is sent, and the request continues.
        QSignalSpy moved(&fixture->service, &ServerConnectionService::movedFileFinished);
        QVERIFY(fixture->answer(0));
        QVERIFY(moved.wait(patience));
        QCOMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->server.requests().size(), 1);
    }

    void failureAfterCancelIsKept()
    {
        fixture->server.hold();
        start();
        QVERIFY(fixture->server.waitForCommands(1));
        fixture->dialog()->reject();
        QCOMPARE(fixture->finished->size(), 1);
        QSignalSpy refused(&fixture->service, &ServerConnectionService::movedFileError);
        QVERIFY(fixture->answer(0, TaskFixture::inUse));
        QVERIFY(refused.wait(patience));
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->finished->size(), 1);
    }

    void cancelAfterTheResultFinishesTwice()
    {
        fixture->server.answer(TaskFixture::inUse);
        start();
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        fixture->dialog()->reject();
        QCOMPARE(fixture->finished->size(), 2);
        QVERIFY(fixture->task->hasErrors());
    }

    void deletionRemovesTheDialogAndConnections()
    {
        fixture->server.hold();
        start();
        EVENTUALLY(fixture->dialog()->isVisible());
        const QPointer<BVProgressDialog> dialog = fixture->dialog();
        fixture->task.reset();
        QVERIFY(!dialog);
        QSignalSpy moved(&fixture->service, &ServerConnectionService::movedFileFinished);
        QVERIFY(fixture->answer(0));
        QVERIFY(moved.wait(patience));
        QCOMPARE(fixture->finished->size(), 0);
    }

private:
    void start() { fixture->start<MoveTask>(3, 7, 12); }
};

QTEST_MAIN(tst_MoveTask)
#include "tst_MoveTask.moc"
