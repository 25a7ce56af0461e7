// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/TransferDialog.h"

#include "Dialogs/TransferScreen.h"
#include "Support/FailOnWarning.h"

#include <QHeaderView>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace Brenvoka;

class TestTransferDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void opensWithAnEmptyTable()
    {
        const TransferScreen screen;
        QCOMPARE(screen.dialog.windowTitle(), u"Ongoing Transfers"_s);
        QCOMPARE(screen.dialog.size(), QSize(630, 420));
        QCOMPARE(screen.dialog.minimumSize(), QSize(630, 420));
        QVERIFY(!screen.dialog.finished);
        QVERIFY(screen.dialog.rows.empty());
        QCOMPARE(screen.table->columnCount(), 2);
        QCOMPARE(screen.table->rowCount(), 0);
        QVERIFY(screen.table->horizontalHeader()->isHidden());
        QVERIFY(screen.table->verticalHeader()->isHidden());
        QCOMPARE(screen.table->horizontalHeader()->sectionResizeMode(0), QHeaderView::Stretch);
        QCOMPARE(screen.table->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(screen.table->selectionMode(), QAbstractItemView::NoSelection);
        QCOMPARE(screen.bar->value(), 0);
        QCOMPARE(screen.stateLabel->text(), u"Transfer in progress..."_s);
        QVERIFY(!screen.autoScroll->isChecked());
        QCOMPARE(screen.cancel->text(), u"Cancel"_s);
        QCOMPARE(screen.cancel->minimumSize(), QSize(70, 15));
    }

    void everyStateHasItsText_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("queued") << 0 << u"queued..."_s;
        QTest::newRow("transferring") << 1 << u"uninitialized"_s;
        QTest::newRow("importing") << 2 << u"importing..."_s;
        QTest::newRow("failed") << 3 << u"failed"_s;
        QTest::newRow("canceling") << 4 << u"canceling..."_s;
        QTest::newRow("canceled") << 5 << u"canceled"_s;
        QTest::newRow("finished") << 6 << u"finished"_s;
        QTest::newRow("beyond the last") << 7 << u"uninitialized"_s;
        QTest::newRow("negative") << -1 << u"uninitialized"_s;
    }

    void everyStateHasItsText()
    {
        QFETCH(int, state);
        QTEST(TransferDialog::stateText(static_cast<SyncStates>(state)), "text");
    }

    void reportsShowTheStateOrThePercentage_data() { everyStateHasItsText_data(); }

    void reportsShowTheStateOrThePercentage()
    {
        QFETCH(int, state);
        QFETCH(QString, text);
        TransferScreen screen(2);
        screen.dialog.updateTransfer(0, 2, 42, static_cast<SyncStates>(state));
        QCOMPARE(screen.state(0), u"queued..."_s);
        QCOMPARE(screen.state(1), state == SyncTransferring ? u"42%"_s : text);
        QCOMPARE(screen.row(2).state, static_cast<SyncStates>(state));
        QCOMPARE(screen.row(2).percent, 42);
    }

    void newTransferIsAQueuedRow()
    {
        TransferScreen screen;
        screen.dialog.addTransfer(3, 17, u"Clips - 017: Sunset "_s);
        screen.dialog.addTransfer(2, 200, u"Stills - 200: Fog "_s);
        QCOMPARE(screen.table->rowCount(), 2);
        QCOMPARE(screen.label(0), u"Clips - 017: Sunset "_s);
        QCOMPARE(screen.label(1), u"Stills - 200: Fog "_s);
        QCOMPARE(screen.state(1), u"queued..."_s);
        const auto first = screen.dialog.rows.begin();
        QCOMPARE(first->first, VisualRef(2, 200));
        QCOMPARE(first->second.row, 1);
        QCOMPARE(first->second.state, SyncQueued);
        QCOMPARE(first->second.percent, 0);
    }

    void repeatedTransferChangesNothing()
    {
        TransferScreen screen(3);
        screen.dialog.updateTransfer(0, 2, 60, SyncTransferring);
        screen.dialog.addTransfer(0, 2, u"another label"_s);
        QCOMPARE(screen.table->rowCount(), 3);
        QCOMPARE(screen.dialog.rows.size(), 3U);
        QCOMPARE(screen.label(1), u"Clips - 2 "_s);
        QCOMPARE(screen.state(1), u"60%"_s);
        QCOMPARE(screen.bar->value(), 20);
    }

    void labelsShowWhatAServerSentAsItIs()
    {
        TransferScreen screen;
        const auto hostile = u"%1 <img src=\"/dev/zero\"> - <b>%n</b> "_s;
        screen.dialog.addTransfer(0, 1, hostile);
        QCOMPARE(screen.label(0), hostile);
        QVERIFY(!screen.table->cellWidget(0, 0));
        screen.dialog.setStateText(hostile);
        QCOMPARE(screen.stateLabel->text(), hostile);
        QCOMPARE(screen.stateLabel->textFormat(), Qt::PlainText);
    }

    void percentageIsClamped_data()
    {
        QTest::addColumn<int>("reported");
        QTest::addColumn<int>("stored");
        QTest::newRow("above") << 150 << 100;
        QTest::newRow("below") << -5 << 0;
        QTest::newRow("top") << 100 << 100;
        QTest::newRow("largest") << std::numeric_limits<int>::max() << 100;
        QTest::newRow("smallest") << std::numeric_limits<int>::min() << 0;
    }

    void percentageIsClamped()
    {
        QFETCH(int, reported);
        QFETCH(int, stored);
        TransferScreen screen(1);
        screen.dialog.updateTransfer(0, 1, reported, SyncTransferring);
        QCOMPARE(screen.row(1).percent, stored);
        QCOMPARE(screen.state(0), u"%1%"_s.arg(stored));
        QCOMPARE(screen.bar->value(), stored);
    }

    void reportForAnUnknownVisualChangesNothing()
    {
        TransferScreen screen(1);
        screen.dialog.updateTransfer(1, 1, 100, SyncFinished);
        screen.dialog.finishTransfer(1, 1);
        QCOMPARE(screen.dialog.rows.size(), 1U);
        QCOMPARE(screen.state(0), u"queued..."_s);
        QCOMPARE(screen.bar->value(), 0);
    }

    void cancelingRowIgnoresLaterReports()
    {
        TransferScreen screen(2);
        screen.dialog.updateTransfer(0, 1, 30, SyncTransferring);
        screen.dialog.updateTransfer(0, 1, 30, SyncCanceling);
        QCOMPARE(screen.state(0), u"canceling..."_s);
        QCOMPARE(screen.bar->value(), 15);
        for (const auto state : {SyncTransferring, SyncImporting, SyncFailed, SyncFinished})
            screen.dialog.updateTransfer(0, 1, 90, state);
        QCOMPARE(screen.state(0), u"canceling..."_s);
        QCOMPARE(screen.row(1).state, SyncCanceling);
        QCOMPARE(screen.row(1).percent, 30);
        QCOMPARE(screen.bar->value(), 15);
    }

    void finishedRowReadsFinishedUnlessCanceling_data()
    {
        QTest::addColumn<SyncStates>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("queued") << SyncQueued << u"finished"_s;
        QTest::newRow("transferring") << SyncTransferring << u"finished"_s;
        QTest::newRow("importing") << SyncImporting << u"finished"_s;
        QTest::newRow("failed") << SyncFailed << u"finished"_s;
        QTest::newRow("canceling") << SyncCanceling << u"canceled"_s;
        QTest::newRow("canceled") << SyncCanceled << u"finished"_s;
    }

    void finishedRowReadsFinishedUnlessCanceling()
    {
        QFETCH(SyncStates, state);
        TransferScreen screen(2);
        screen.dialog.updateTransfer(0, 1, 50, state);
        screen.dialog.finishTransfer(0, 1);
        QTEST(screen.state(0), "text");
        QCOMPARE(screen.row(1).state, state);
        QCOMPARE(screen.row(1).percent, 50);
        QCOMPARE(screen.bar->value(), 25);
    }

    void barIsTheMeanRoundedDown_data()
    {
        QTest::addColumn<QList<int>>("percents");
        QTest::addColumn<int>("mean");
        QTest::newRow("just below the end") << QList{100, 100, 99} << 99;
        QTest::newRow("rounded down") << QList{1, 0, 1} << 0;
        QTest::newRow("half") << QList{100, 0} << 50;
        QTest::newRow("all there") << QList{100, 100, 100, 100} << 100;
    }

    void barIsTheMeanRoundedDown()
    {
        QFETCH(QList<int>, percents);
        QFETCH(int, mean);
        TransferScreen screen(static_cast<int>(percents.size()));
        for (int i = 0; i < percents.size(); ++i) {
            screen.dialog.updateTransfer(0, i + 1, 7, SyncTransferring);
            screen.dialog.updateTransfer(0, i + 1, percents[i], SyncTransferring);
        }
        QCOMPARE(screen.bar->value(), mean);
        QCOMPARE(screen.stateLabel->text(),
                 mean == 100 ? u"Importing in progress..."_s : u"Transfer in progress..."_s);
    }

    void labelGoesBackWhenARowFallsBelowTheEnd()
    {
        TransferScreen screen(1);
        screen.dialog.updateTransfer(0, 1, 100, SyncImporting);
        QCOMPARE(screen.stateLabel->text(), u"Importing in progress..."_s);
        screen.dialog.updateTransfer(0, 1, 10, SyncTransferring);
        QCOMPARE(screen.stateLabel->text(), u"Transfer in progress..."_s);
        QCOMPARE(screen.bar->value(), 10);
    }

    void newRowCountsFromTheNextReport()
    {
        TransferScreen screen(1);
        screen.dialog.updateTransfer(0, 1, 100, SyncImporting);
        screen.dialog.addTransfer(0, 2, u"late "_s);
        QCOMPARE(screen.bar->value(), 100);
        screen.dialog.updateTransfer(0, 2, 0, SyncTransferring);
        QCOMPARE(screen.bar->value(), 50);
    }

    void failedRowIsCountedWithThePercentageOfItsReport()
    {
        TransferScreen screen(2);
        screen.dialog.updateTransfer(0, 1, 100, SyncFailed);
        QCOMPARE(screen.bar->value(), 50);
        screen.dialog.updateTransfer(0, 2, 40, SyncFailed);
        QCOMPARE(screen.bar->value(), 70);
    }
};

QTEST_MAIN(TestTransferDialog)
#include "tst_TransferDialog.moc"
