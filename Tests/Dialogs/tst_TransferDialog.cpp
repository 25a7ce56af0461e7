// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/TransferDialog.h"

#include "Dialogs/TransferFixture.h"
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
        const TransferFixture fixture;
        QCOMPARE(fixture.dialog.windowTitle(), u"Ongoing Transfers"_s);
        QCOMPARE(fixture.dialog.size(), QSize(630, 420));
        QCOMPARE(fixture.dialog.minimumSize(), QSize(630, 420));
        QVERIFY(!fixture.dialog.finished);
        QVERIFY(fixture.dialog.rows.empty());
        QCOMPARE(fixture.table->columnCount(), 2);
        QCOMPARE(fixture.table->rowCount(), 0);
        QVERIFY(fixture.table->horizontalHeader()->isHidden());
        QVERIFY(fixture.table->verticalHeader()->isHidden());
        QCOMPARE(fixture.table->horizontalHeader()->sectionResizeMode(0), QHeaderView::Stretch);
        QCOMPARE(fixture.table->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(fixture.table->selectionMode(), QAbstractItemView::NoSelection);
        QCOMPARE(fixture.bar->value(), 0);
        QCOMPARE(fixture.stateLabel->text(), u"Transfer in progress..."_s);
        QVERIFY(!fixture.autoScroll->isChecked());
        QCOMPARE(fixture.cancel->text(), u"Cancel"_s);
        QCOMPARE(fixture.cancel->minimumSize(), QSize(70, 15));
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
        TransferFixture fixture(2);
        fixture.dialog.updateTransfer(0, 2, 42, static_cast<SyncStates>(state));
        QCOMPARE(fixture.state(0), u"queued..."_s);
        QCOMPARE(fixture.state(1), state == SyncTransferring ? u"42%"_s : text);
        QCOMPARE(fixture.row(2).state, static_cast<SyncStates>(state));
        QCOMPARE(fixture.row(2).percent, 42);
    }

    void newTransferIsAQueuedRow()
    {
        TransferFixture fixture;
        fixture.dialog.addTransfer(3, 17, u"Clips - 017: Sunset "_s);
        fixture.dialog.addTransfer(2, 200, u"Stills - 200: Fog "_s);
        QCOMPARE(fixture.table->rowCount(), 2);
        QCOMPARE(fixture.label(0), u"Clips - 017: Sunset "_s);
        QCOMPARE(fixture.label(1), u"Stills - 200: Fog "_s);
        QCOMPARE(fixture.state(1), u"queued..."_s);
        const auto first = fixture.dialog.rows.begin();
        QCOMPARE(first->first, VisualRef(2, 200));
        QCOMPARE(first->second.row, 1);
        QCOMPARE(first->second.state, SyncQueued);
        QCOMPARE(first->second.percent, 0);
    }

    void repeatedTransferChangesNothing()
    {
        TransferFixture fixture(3);
        fixture.dialog.updateTransfer(0, 2, 60, SyncTransferring);
        fixture.dialog.addTransfer(0, 2, u"another label"_s);
        QCOMPARE(fixture.table->rowCount(), 3);
        QCOMPARE(fixture.dialog.rows.size(), 3U);
        QCOMPARE(fixture.label(1), u"Clips - 2 "_s);
        QCOMPARE(fixture.state(1), u"60%"_s);
        QCOMPARE(fixture.bar->value(), 20);
    }

    void labelsShowServerTextAsPlainText()
    {
        TransferFixture fixture;
        const auto hostile = u"%1 <img src=\"/dev/zero\"> - <b>%n</b> "_s;
        fixture.dialog.addTransfer(0, 1, hostile);
        QCOMPARE(fixture.label(0), hostile);
        QVERIFY(!fixture.table->cellWidget(0, 0));
        fixture.dialog.setStateText(hostile);
        QCOMPARE(fixture.stateLabel->text(), hostile);
        QCOMPARE(fixture.stateLabel->textFormat(), Qt::PlainText);
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
        TransferFixture fixture(1);
        fixture.dialog.updateTransfer(0, 1, reported, SyncTransferring);
        QCOMPARE(fixture.row(1).percent, stored);
        QCOMPARE(fixture.state(0), u"%1%"_s.arg(stored));
        QCOMPARE(fixture.bar->value(), stored);
    }

    void reportForAnUnknownVisualChangesNothing()
    {
        TransferFixture fixture(1);
        fixture.dialog.updateTransfer(1, 1, 100, SyncFinished);
        fixture.dialog.finishTransfer(1, 1);
        QCOMPARE(fixture.dialog.rows.size(), 1U);
        QCOMPARE(fixture.state(0), u"queued..."_s);
        QCOMPARE(fixture.bar->value(), 0);
    }

    void cancelingRowIgnoresLaterReports()
    {
        TransferFixture fixture(2);
        fixture.dialog.updateTransfer(0, 1, 30, SyncTransferring);
        fixture.dialog.updateTransfer(0, 1, 30, SyncCanceling);
        QCOMPARE(fixture.state(0), u"canceling..."_s);
        QCOMPARE(fixture.bar->value(), 15);
        for (const auto state : {SyncTransferring, SyncImporting, SyncFailed, SyncFinished})
            fixture.dialog.updateTransfer(0, 1, 90, state);
        QCOMPARE(fixture.state(0), u"canceling..."_s);
        QCOMPARE(fixture.row(1).state, SyncCanceling);
        QCOMPARE(fixture.row(1).percent, 30);
        QCOMPARE(fixture.bar->value(), 15);
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
        TransferFixture fixture(2);
        fixture.dialog.updateTransfer(0, 1, 50, state);
        fixture.dialog.finishTransfer(0, 1);
        QTEST(fixture.state(0), "text");
        QCOMPARE(fixture.row(1).state, state);
        QCOMPARE(fixture.row(1).percent, 50);
        QCOMPARE(fixture.bar->value(), 25);
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
        TransferFixture fixture(static_cast<int>(percents.size()));
        for (int i = 0; i < percents.size(); ++i) {
            fixture.dialog.updateTransfer(0, i + 1, 7, SyncTransferring);
            fixture.dialog.updateTransfer(0, i + 1, percents[i], SyncTransferring);
        }
        QCOMPARE(fixture.bar->value(), mean);
        QCOMPARE(fixture.stateLabel->text(),
                 mean == 100 ? u"Importing in progress..."_s : u"Transfer in progress..."_s);
    }

    void labelGoesBackWhenARowFallsBelowTheEnd()
    {
        TransferFixture fixture(1);
        fixture.dialog.updateTransfer(0, 1, 100, SyncImporting);
        QCOMPARE(fixture.stateLabel->text(), u"Importing in progress..."_s);
        fixture.dialog.updateTransfer(0, 1, 10, SyncTransferring);
        QCOMPARE(fixture.stateLabel->text(), u"Transfer in progress..."_s);
        QCOMPARE(fixture.bar->value(), 10);
    }

    void newRowCountsFromTheNextReport()
    {
        TransferFixture fixture(1);
        fixture.dialog.updateTransfer(0, 1, 100, SyncImporting);
        fixture.dialog.addTransfer(0, 2, u"late "_s);
        QCOMPARE(fixture.bar->value(), 100);
        fixture.dialog.updateTransfer(0, 2, 0, SyncTransferring);
        QCOMPARE(fixture.bar->value(), 50);
    }

    void failedRowIsCountedWithThePercentageOfItsReport()
    {
        TransferFixture fixture(2);
        fixture.dialog.updateTransfer(0, 1, 100, SyncFailed);
        QCOMPARE(fixture.bar->value(), 50);
        fixture.dialog.updateTransfer(0, 2, 40, SyncFailed);
        QCOMPARE(fixture.bar->value(), 70);
    }
};

QTEST_MAIN(TestTransferDialog)
#include "tst_TransferDialog.moc"
