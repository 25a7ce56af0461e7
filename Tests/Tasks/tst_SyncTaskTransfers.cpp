// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/Libraries.h"
#include "Support/LogCapture.h"
#include "Support/SyncTaskFixture.h"
#include "Support/Wait.h"

#include <QProgressBar>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The number of rows that the transfer dialog has when it appears; -1 before.
class RowsAtShow final : public QObject
{
public:
    RowsAtShow() { qApp->installEventFilter(this); }
    int count = -1;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && qobject_cast<TransferDialog *>(watched))
            count = int(SyncTaskFixture::transferTexts(1).size());
        return false;
    }
};

} // namespace

/// The transfer phase: its rows, its errors, its cancel and its end.
class tst_SyncTaskTransfers : public SyncTaskTest
{
    Q_OBJECT

private slots:
    void init()
    {
        setUp();
        QVERIFY(fixture->connectDestination());
    }
    void cleanup() { tearDown(); }

    void rowsHaveTheNamesOfTheSource_data()
    {
        QTest::addColumn<VisualRef>("ref");
        QTest::addColumn<QString>("label");
        QTest::newRow("folder and visual") << VisualRef(3, 7) << u"Three - 007: clip "_s;
        QTest::newRow("names with markers") << VisualRef(4, 7) << u"%2 %1 - %1 "_s;
        QTest::newRow("long names of many lines")
            << VisualRef(5, 7) << u"W "_s.repeated(2048) + u"… - 007: a b "_s;
        QTest::newRow("unknown visual") << VisualRef(3, 8) << u"Three -  "_s;
        QTest::newRow("unknown folder") << VisualRef(9, 7) << u" -  "_s;
        QTest::newRow("no such number") << VisualRef(-1, 256) << u" -  "_s;
    }
    void rowsHaveTheNamesOfTheSource()
    {
        QFETCH(const VisualRef, ref);
        fixture->addServer(
            fixture->sourceUuid, fixture->sourceAddress, u"Stage left"_s,
            {folder(4, u"%2 %1"_s, {{QString(32, u'0'), u"%1"_s, 7}}),
             folder(5, u"W\n"_s.repeated(9000), {{QString(32, u'0'), u"007: a\nb"_s, 7}}),
             folder(3, u"Three"_s, {visual(7), visual(1)})});
        fixture->start({}, {}, {ref});
        QTEST(fixture->transferTexts(0).value(0), "label");
        QCOMPARE(fixture->transferTexts(1), QStringList{u"queued..."_s});
    }

    void dialogAppearsWithAllRows()
    {
        const RowsAtShow rows;
        fixture->start({}, {}, {{3, 1}, {3, 2}, {3, 3}});
        QCOMPARE(rows.count, 3);
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Sync).size(), 3);
    }

    void visualThatIsGivenTwiceHasOneRow()
    {
        fixture->start({}, {}, {{3, 1}, {3, 1}, {3, 2}});
        QCOMPARE(fixture->transferTexts(1), QStringList({u"queued..."_s, u"queued..."_s}));
    }

    void transferThatTheServerAddsHasTheNamesOfThatMoment()
    {
        const auto rename = [&](const QString &name) {
            fixture->addServer(fixture->sourceUuid, fixture->sourceAddress, u"Stage left"_s,
                               {folder(3, name, {visual(1), visual(2)})});
        };
        rename(u"Before"_s);
        fixture->start({}, {}, {{3, 1}});
        rename(u"After"_s);
        fixture->destination.sendStarted({3, 2});
        EVENTUALLY_COMPARE(fixture->transferTexts(0),
                           QStringList({u"Before - 001: clip "_s, u"After - 002: clip "_s}));
    }

    void rowsShowTheMessagesOfTheStream()
    {
        fixture->start({}, {}, {{3, 1}});
        fixture->destination.sendStarted({3, 1});
        fixture->destination.sendProgress({3, 1}, Brenvoka::SyncTransferring, 40);
        EVENTUALLY_COMPARE(fixture->transferTexts(1), QStringList{u"40%"_s});
        fixture->destination.sendProgress({3, 1}, Brenvoka::SyncImporting, 100);
        EVENTUALLY_COMPARE(fixture->transferTexts(1), QStringList{u"importing..."_s});
        fixture->destination.sendEnded({3, 1}, Brenvoka::SyncFinished);
        QVERIFY(fixture->finished->wait(patience));
        QCOMPARE(fixture->transferTexts(1), QStringList{u"finished"_s});
        QVERIFY(!fixture->dialog<TransferDialog>()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
    }

    void syncOperationFinishedFinishesTheTask()
    {
        fixture->start({}, {}, {{3, 1}, {3, 2}});
        emit fixture->service.syncFinished(fixture->destinationUuid, 3, 1);
        emit fixture->service.syncFinished(fixture->destinationUuid, 3, 2);
        QCOMPARE(fixture->transferTexts(1), (QStringList{u"finished"_s, u"finished"_s}));
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
        emit fixture->service.syncOperationFinished(fixture->destinationUuid);
        QCOMPARE(fixture->finished->size(), 1);
        QVERIFY(fixture->dialog<TransferDialog>()->finished);
        QVERIFY(!fixture->dialog<TransferDialog>()->isVisible());
    }

    void syncOperationFinishedOfAnyServerFinishesTheTask()
    {
        fixture->start({}, {}, {{3, 1}});
        emit fixture->service.syncOperationFinished(QUuid::createUuid());
        QCOMPARE(fixture->finished->size(), 1);
    }

    void failedImportIsOneRowAndOneErrorLine()
    {
        QList<VisualRef> refs;
        for (int slot = 1; slot <= 5; ++slot)
            refs.append({3, slot});
        fixture->start({}, {}, refs);
        for (const VisualRef &ref : std::as_const(refs))
            fixture->destination.sendStarted(ref);
        for (const VisualRef &ref : std::as_const(refs)) {
            const bool fails = ref.second == 2;
            fixture->destination.sendEnded(ref, fails ? Brenvoka::SyncImporting
                                                      : Brenvoka::SyncFinished);
            if (fails)
                EVENTUALLY_COMPARE(fixture->transferTexts(1).at(1), u"failed"_s);
        }
        QVERIFY(fixture->finished->wait(patience));
        const QString good = u"finished"_s;
        QCOMPARE(fixture->transferTexts(1), (QStringList{good, u"failed"_s, good, good, good}));
        QVERIFY(!fixture->dialog<TransferDialog>()->isVisible());
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(
            fixture->task->errorDetails(),
            QStringList{u"Visual sync from \"Stage left\" on server \"Stage right\" in folder 003 "
                        "at index 002 failed: Import failure."_s});
    }

    void failedTransferCountsAs100Percent()
    {
        fixture->start({}, {}, {{3, 1}, {3, 2}});
        emit fixture->service.syncError(fixture->destinationUuid, 3, 1, Brenvoka::SyncTransferring,
                                        {}, {});
        const TransferRow &row = fixture->dialog<TransferDialog>()->rows.at({3, 1});
        QCOMPARE(row.percent, 100);
        QCOMPARE(row.state, Brenvoka::SyncFailed);
        QCOMPARE(fixture->dialog<TransferDialog>()->findChild<QProgressBar *>()->value(), 50);
    }

    void errorLines_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("line");
        QTest::newRow("queued") << 0
                                << u"Visual sync from Left %2 failed while queued on server "
                                   "\"Right %1\": no %1 space."_s;
        QTest::newRow("transferring")
            << 1 << u"Server Right %1 failed to download URL \"Right %1\"."_s;
        QTest::newRow("importing")
            << 2
            << u"Visual sync from \"Left %2\" on server \"Right %1\" in folder "
               "003 at index 017 failed: Import failure."_s;
        QTest::newRow("failed")
            << 3
            << u"Visual sync from \"Left %2\" on server \"Right %1\" in folder 003 "
               "at index 017 failed: no %1 space."_s;
        const QString unexpected =
            u"Unexpected failure message for sync op on sever \"Right %1\" from "
            "\"http://%1/\"."_s;
        QTest::newRow("canceling") << 4 << unexpected;
        QTest::newRow("finished") << 6 << unexpected;
        QTest::newRow("unknown state") << 99 << unexpected;
    }
    void errorLines()
    {
        QFETCH(const int, state);
        QFETCH(const QString, line);
        LogCapture log;
        fixture->addServer(fixture->sourceUuid, fixture->sourceAddress, u"Left %2"_s);
        fixture->addServer(fixture->destinationUuid, fixture->destination.wire.address(),
                           u"Right %1"_s);
        fixture->start({}, {}, {{3, 17}});
        emit fixture->service.syncError(fixture->destinationUuid, 3, 17,
                                        static_cast<Brenvoka::SyncStates>(state), u"no %1 space"_s,
                                        u"http://%1/"_s);
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList{line});
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(log.texts().contains(line.left(127)));
    }

    void errorLinesShortenNamesAndTheLogDoesNot()
    {
        LogCapture log;
        fixture->addServer(fixture->sourceUuid, fixture->sourceAddress, u"Left\u202E"_s);
        fixture->addServer(fixture->destinationUuid, fixture->destination.wire.address(),
                           u"Ri\nght"_s);
        fixture->start({}, {}, {{3, 17}});
        const QString error = u"W"_s.repeated(5000);
        emit fixture->service.syncError(fixture->destinationUuid, 3, 17, Brenvoka::SyncFailed,
                                        error, {});
        const auto line = u"Visual sync from \"%1\" on server \"%2\" in folder 003 at index 017 "
                          "failed: %3."_s;
        QCOMPARE(fixture->task->errorDetails(),
                 QStringList{line.arg(u"Left "_s, u"Ri ght"_s, error.left(4096) + u'…')});
        QVERIFY(log.texts().contains(line.arg(u"Left\\u202E"_s, u"Ri\\nght"_s, error)));
    }

    void failureOfAnUnknownServerHasNoErrorLine()
    {
        fixture->start({}, {}, {{3, 1}});
        emit fixture->service.syncError(QUuid::createUuid(), 3, 1, Brenvoka::SyncFailed, u"x"_s,
                                        {});
        QCOMPARE(fixture->transferTexts(1), QStringList{u"failed"_s});
        QVERIFY(fixture->task->hasErrors());
        QCOMPARE(fixture->task->errorDetails(), QStringList());
    }

    void cancelIsSentToEveryServer()
    {
        ScriptedServer other(loopback(3));
        fixture->service.addHandler(other.wire.address(), QUuid::createUuid());
        QVERIFY(other.openStream());
        fixture->start({}, {}, {{3, 1}});
        QTest::mouseClick(
            fixture->dialog<TransferDialog>()->findChild<QPushButton *>(u"cancelSync"_s),
            Qt::LeftButton);
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Cancel).size(), 1);
        EVENTUALLY_COMPARE(other.commands(ScriptedServer::Cancel).size(), 1);
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
    }

    void cancelWithoutARunningTransferDoesNotEndTheTask()
    {
        fixture->start({}, {}, {{3, 1}});
        QTest::mouseClick(
            fixture->dialog<TransferDialog>()->findChild<QPushButton *>(u"cancelSync"_s),
            Qt::LeftButton);
        EVENTUALLY_COMPARE(fixture->destination.commands(ScriptedServer::Cancel).size(), 1);
        QVERIFY(fixture->settle()); // that cancel has been answered
        QCOMPARE(fixture->transferTexts(1), QStringList{u"queued..."_s});
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->dialog<TransferDialog>()->isVisible());
    }

    void cancelDoesNotStopAnImport()
    {
        const QList<VisualRef> refs{{3, 1}, {3, 2}, {3, 3}};
        fixture->start({}, {}, refs);
        for (const VisualRef &ref : refs)
            fixture->destination.sendStarted(ref);
        fixture->destination.sendProgress({3, 1}, Brenvoka::SyncTransferring, 40);
        fixture->destination.sendProgress({3, 3}, Brenvoka::SyncImporting, 100);
        EVENTUALLY_COMPARE(fixture->transferTexts(1),
                           (QStringList{u"40%"_s, u"queued..."_s, u"importing..."_s}));

        QTest::mouseClick(
            fixture->dialog<TransferDialog>()->findChild<QPushButton *>(u"cancelSync"_s),
            Qt::LeftButton);
        QCOMPARE(fixture->transferTexts(1),
                 (QStringList{u"canceling..."_s, u"canceling..."_s, u"importing..."_s}));

        for (const VisualRef &ref : refs)
            fixture->destination.sendEnded(ref, Brenvoka::SyncFinished);
        QVERIFY(fixture->finished->wait(patience));
        QCOMPARE(fixture->transferTexts(1),
                 (QStringList{u"canceled"_s, u"canceled"_s, u"finished"_s}));
        QVERIFY(!fixture->task->hasErrors());
    }

    void abortHidesTheDialogAndClearsErrors()
    {
        fixture->start({}, {}, {{3, 1}, {3, 2}});
        emit fixture->service.syncError(fixture->destinationUuid, 3, 1, Brenvoka::SyncFailed,
                                        u"x"_s, {});
        QVERIFY(fixture->task->hasErrors());
        fixture->task->abort();
        QVERIFY(!fixture->dialog<TransferDialog>()->isVisible());
        QVERIFY(!fixture->task->hasErrors());
        QCOMPARE(fixture->finished->size(), 1);
    }

    void closingTheDialogOnlyHidesIt()
    {
        fixture->start({}, {}, {{3, 1}});
        fixture->dialog<TransferDialog>()->close();
        QVERIFY(!fixture->dialog<TransferDialog>()->isVisible());
        QCOMPARE(fixture->finished->size(), 0);
        QVERIFY(fixture->settle());
        QCOMPARE(fixture->destination.commands(ScriptedServer::Cancel).size(), 1);
        fixture->destination.sendStarted({3, 1});
        fixture->destination.sendEnded({3, 1}, Brenvoka::SyncFinished);
        QVERIFY(fixture->finished->wait(patience));
    }
};

QTEST_MAIN(tst_SyncTaskTransfers)
#include "tst_SyncTaskTransfers.moc"
