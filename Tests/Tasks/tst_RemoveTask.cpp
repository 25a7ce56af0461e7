// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveTask.h"

#include "Support/TaskFixture.h"
#include "Support/Wait.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

using Visuals = QList<VisualRef>;
const Visuals five{{3, 1}, {3, 2}, {3, 3}, {4, 1}, {4, 2}};

} // namespace

/// Removals that complete.
class tst_RemoveTask : public TaskTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void dialogIsModalAndHasItsTexts()
    {
        fixture->start<RemoveTask>(five);
        QVERIFY(fixture->dialog()->isModal());
        QCOMPARE(fixture->dialog()->windowTitle(), u"Removing..."_s);
        QCOMPARE(fixture->label(), u"Removing visuals"_s);
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->dialog()->maximum(), 5);
    }

    void shortRemovalShowsNoDialog()
    {
        const ShownDialogs shown;
        fixture->server.hold();
        fixture->start<RemoveTask>(Visuals{{3, 1}, {3, 2}});
        emit fixture->service.visualRemoveFinished(fixture->server.uuid, 3, 1);
        QCOMPARE(fixture->finished->size(), 0);
        emit fixture->service.visualRemoveFinished(fixture->server.uuid, 3, 2);
        QCOMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->finished->first().first().value<TaskBase *>(), fixture->task.get());
        waitPastTheDelay();
        QCOMPARE(shown.count, 0);
    }

    void longRemovalShowsTheDialog()
    {
        const ShownDialogs shown;
        fixture->server.hold();
        fixture->start<RemoveTask>(Visuals{{3, 1}, {3, 2}});
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(fixture->answer(0));
        EVENTUALLY_COMPARE(fixture->dialog()->progress(), 1);
        EVENTUALLY(fixture->dialog()->isVisible());
        QVERIFY(fixture->answer(1));
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QCOMPARE(shown.count, 1);
    }

    void removalsAreSentOneAtATime()
    {
        int onTheWire = 0;
        fixture->server.onCommand([&onTheWire](const WireRequest &request) {
            QCOMPARE(++onTheWire, 1);
            QTimer::singleShot(5, [&onTheWire, request] {
                --onTheWire;
                request.answer(ScriptedServer::success);
            });
        });
        fixture->start<RemoveTask>(five);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove), five);
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
    }

    void oneFailureOfFiveIsReported()
    {
        fixture->server.onCommand([](const WireRequest &request) {
            request.answer(request.body.contains("visualIdx=3&") ? TaskFixture::inUse
                                                                 : ScriptedServer::success);
        });
        fixture->start<RemoveTask>(five);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove), five);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 1 visuals from a total of 5."_s);
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{u"Remove visual 003 in folder 003 on server \"Stage left\" failed: "
                             "Visual is in use."_s});
    }

    void resultCodes_data() { addResultRows(); }
    void resultCodes()
    {
        QFETCH(const QByteArray, result);
        QFETCH(const QString, text);
        fixture->server.answer(result);
        fixture->start<RemoveTask>(Visuals{{3, 17}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 1 visuals from a total of 1."_s);
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Remove visual 017 in folder 003 on server \"Stage left\" failed: "_s +
                        text + u'.'});
    }

    void aLongReasonIsCut()
    {
        fixture->server.refuse(QByteArray(5000, 'x'));
        fixture->start<RemoveTask>(Visuals{{3, 17}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Remove visual 017 in folder 003 on server \"Stage left\" failed: "_s +
                        u"x"_s.repeated(4096) + u"\u2026."_s});
    }

    void failuresAreListedInTheOrderGiven()
    {
        fixture->server.refuse("no");
        fixture->start<RemoveTask>(Visuals{{200, 9}, {4, 255}, {0, 0}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 3 visuals from a total of 3."_s);
        QCOMPARE(fixture->task->errorDetails(),
                 (QStringList{
                     u"Remove visual 009 in folder 200 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 255 in folder 004 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 000 in folder 000 on server \"Stage left\" failed: no."_s}));
    }

    void brokenConnectionFailsOneRemovalWithoutARepeat()
    {
        fixture->server.onCommand([](const WireRequest &request) {
            if (request.body.contains("visualIdx=2&"))
                request.close();
            else
                request.answer(ScriptedServer::success);
        });
        const Visuals three{{3, 1}, {3, 2}, {3, 3}};
        const QSignalSpy refused(&fixture->service, &ServerConnectionService::visualRemoveError);
        fixture->start<RemoveTask>(three);
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove), three);
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 1 visuals from a total of 3."_s);
        const QString text = refused.first().last().toString();
        QVERIFY(!text.isEmpty());
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Remove visual 002 in folder 003 on server \"Stage left\" failed: "_s +
                        text + u'.'});
    }

    void resultOfAnUnlistedSlotIsIgnored()
    {
        fixture->server.hold();
        fixture->start<RemoveTask>(Visuals{{3, 17}, {3, 18}});
        emit fixture->service.visualRemoveFinished(fixture->server.uuid, 17, 3);
        emit fixture->service.visualRemoveError(fixture->server.uuid, 3, 19, u"no"_s);
        QCOMPARE(fixture->dialog()->progress(), 0);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(!fixture->task->hasErrors());
        QVERIFY(fixture->answer(0));
        EVENTUALLY_COMPARE(fixture->dialog()->progress(), 1);
        QCOMPARE(fixture->finished->size(), 0);
    }

    void resultOfAnUnlistedSlotAfterTheEndFinishesAgain()
    {
        fixture->start<RemoveTask>(Visuals{{3, 17}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        emit fixture->service.visualRemoveFinished(fixture->server.uuid, 3, 18);
        QCOMPARE(fixture->finished->size(), 2);
        QVERIFY(!fixture->task->hasErrors());
    }

    void repeatedResultAfterTheEndIsIgnored()
    {
        fixture->start<RemoveTask>(Visuals{{3, 17}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        emit fixture->service.visualRemoveFinished(fixture->server.uuid, 3, 17);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(!fixture->dialog()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
    }

    // There are as many results as visuals, so the bar reaches its end and the task finishes once.
    void duplicateVisualRemovesTheNextOneTwice()
    {
        fixture->server.hold();
        fixture->start<RemoveTask>(Visuals{{3, 1}, {3, 1}, {3, 2}});
        QCOMPARE(fixture->dialog()->maximum(), 3);
        QVERIFY(fixture->answer(0));
        QVERIFY(fixture->answer(1));
        EVENTUALLY_COMPARE(fixture->dialog()->progress(), 2);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->answer(2));
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->server.visuals(ScriptedServer::Remove),
                 (Visuals{{3, 1}, {3, 2}, {3, 2}}));
        QCOMPARE(fixture->finished->size(), 1);
    }

    void resultsCountForTheFirstOfTwoEqualEntries()
    {
        fixture->server.refuse("no");
        fixture->start<RemoveTask>(Visuals{{3, 1}, {3, 2}, {3, 1}});
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 2 visuals from a total of 3."_s);
        QCOMPARE(fixture->task->errorDetails(),
                 (QStringList{
                     u"Remove visual 001 in folder 003 on server \"Stage left\" failed: no."_s,
                     u"Remove visual 002 in folder 003 on server \"Stage left\" failed: no."_s}));
    }

    void laterSuccessDoesNotClearAFailure()
    {
        fixture->server.hold();
        fixture->start<RemoveTask>(Visuals{{3, 1}, {3, 1}, {3, 2}});
        QVERIFY(fixture->answer(0));
        QVERIFY(fixture->answer(1, TaskFixture::inUse));
        QVERIFY(fixture->answer(2));
        EVENTUALLY_COMPARE(fixture->finished->size(), 1);
        QCOMPARE(fixture->task->errorMessage(), u"Failed to remove 1 visuals from a total of 3."_s);
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{u"Remove visual 002 in folder 003 on server \"Stage left\" failed: "
                             "Visual is in use."_s});
    }
};

QTEST_MAIN(tst_RemoveTask)
#include "tst_RemoveTask.moc"
