// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/TransferFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

#include <ctime>

using namespace Qt::Literals::StringLiterals;
using namespace Brenvoka;

namespace {

class PaintCounter final : public QObject
{
public:
    explicit PaintCounter(const QList<QWidget *> &widgets)
    {
        for (auto *widget : widgets)
            widget->installEventFilter(this);
    }

    int count = 0;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == QEvent::Paint;
        return false;
    }
};

constexpr int folderCount = 256;
constexpr int slotCount = 255;

template <typename Call>
void forWholeLibrary(Call call)
{
    for (int folder = 0; folder < folderCount; ++folder) {
        for (int slot = 1; slot <= slotCount; ++slot)
            call(folder, slot);
    }
}

} // namespace

class TestTransferDialogWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void equalReportsRepaintNothing()
    {
        TransferFixture fixture(4);
        fixture.dialog.updateTransfer(0, 1, 80, SyncTransferring);
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.dialog, patience));
        QCoreApplication::processEvents();
        PaintCounter paints({fixture.bar, fixture.stateLabel, fixture.table->viewport()});
        for (int i = 0; i < 100; ++i) {
            fixture.dialog.updateTransfer(0, 1, 80, SyncTransferring);
            QCoreApplication::processEvents();
        }
        QCOMPARE(paints.count, 0);
        fixture.dialog.updateTransfer(0, 1, 84, SyncTransferring);
        EVENTUALLY_COMPARE(paints.count, 2);
    }

    void tableHearsOnlyOfRowsInView()
    {
        TransferFixture fixture(200);
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.dialog, patience));
        const QSignalSpy changes(fixture.table->model(), &QAbstractItemModel::dataChanged);
        fixture.dialog.updateTransfer(0, 200, 10, SyncTransferring);
        QCOMPARE(changes.count(), 0);
        QCOMPARE(fixture.state(199), u"10%"_s);
        fixture.dialog.updateTransfer(0, 1, 20, SyncTransferring);
        QCOMPARE(changes.count(), 1);

        fixture.table->scrollToBottom();
        fixture.dialog.updateTransfer(0, 1, 30, SyncTransferring);
        QCOMPARE(changes.count(), 1);
        fixture.dialog.updateTransfer(0, 200, 40, SyncTransferring);
        QCOMPARE(changes.count(), 2);
    }

    void finishOnAnEmptyDialogHidesIt()
    {
        TransferFixture fixture;
        fixture.dialog.show();
        fixture.dialog.finishTransfer(0, 1);
        QVERIFY(fixture.dialog.isHidden());
    }

    void finishOnAFilledDialogLeavesItOpen()
    {
        TransferFixture fixture(1);
        fixture.dialog.show();
        fixture.dialog.finishTransfer(0, 1);
        QVERIFY(fixture.dialog.isVisible());
    }

    void cancelOnlyAsksWhileTheOperationRuns()
    {
        TransferFixture fixture(1);
        QSignalSpy spy(&fixture.dialog, &TransferDialog::cancelSync);
        fixture.dialog.show();
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        QCOMPARE(spy.size(), 2);
        QVERIFY(fixture.dialog.isVisible());
        QCOMPARE(fixture.cancel->text(), u"Cancel"_s);
    }

    void cancelHidesTheDialogAfterTheOperation()
    {
        TransferFixture fixture(1);
        QSignalSpy spy(&fixture.dialog, &TransferDialog::cancelSync);
        fixture.dialog.show();
        fixture.dialog.finished = true;
        QCOMPARE(fixture.cancel->text(), u"Cancel"_s);
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        QCOMPARE(spy.size(), 0);
        QVERIFY(fixture.dialog.isHidden());
    }

    void enterPressesNothing()
    {
        TransferFixture fixture(1);
        QSignalSpy spy(&fixture.dialog, &TransferDialog::cancelSync);
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&fixture.dialog, patience));
        for (const QWidget *const start :
             std::initializer_list<QWidget *>{fixture.autoScroll, fixture.cancel}) {
            EVENTUALLY_COMPARE(QApplication::focusWidget(), start);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Enter);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(spy.size(), 0);
        QVERIFY(fixture.dialog.isVisible());

        fixture.cancel->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(spy.size(), 1);
    }

    void closingTheWindowHidesItAndCancelsNothing()
    {
        TransferFixture fixture(1);
        QSignalSpy cancelSpy(&fixture.dialog, &TransferDialog::cancelSync);
        QSignalSpy rejectSpy(&fixture.dialog, &QDialog::rejected);
        fixture.dialog.show();
        QVERIFY(fixture.dialog.close());
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(rejectSpy.size(), 1);
        fixture.dialog.show();
        QTest::keyClick(&fixture.dialog, Qt::Key_Escape);
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(cancelSpy.size(), 0);
        fixture.dialog.updateTransfer(0, 1, 50, SyncTransferring);
        QCOMPARE(fixture.state(0), u"50%"_s);
    }

    void tableScrollsByItselfOnlyWithAutoScroll_data()
    {
        QTest::addColumn<bool>("autoScroll");
        QTest::addColumn<SyncStates>("state");
        QTest::addColumn<bool>("scrolls");
        QTest::newRow("off, transferring") << false << SyncTransferring << false;
        QTest::newRow("off, failed") << false << SyncFailed << false;
        QTest::newRow("on, transferring") << true << SyncTransferring << true;
        QTest::newRow("on, importing") << true << SyncImporting << true;
        QTest::newRow("on, failed") << true << SyncFailed << true;
        QTest::newRow("on, canceled") << true << SyncCanceled << true;
        QTest::newRow("on, canceling") << true << SyncCanceling << false;
        QTest::newRow("on, finished") << true << SyncFinished << false;
    }

    void tableScrollsByItselfOnlyWithAutoScroll()
    {
        QFETCH(bool, autoScroll);
        QFETCH(SyncStates, state);
        TransferFixture fixture(200);
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.dialog, patience));
        if (autoScroll)
            QTest::mouseClick(fixture.autoScroll, Qt::LeftButton, {}, {8, 8});
        QCOMPARE(fixture.autoScroll->isChecked(), autoScroll);
        auto *scrollBar = fixture.table->verticalScrollBar();
        QVERIFY(scrollBar->maximum() > 0);
        fixture.dialog.updateTransfer(0, 200, 10, state);
        QCoreApplication::processEvents(); // scrolls in the next turn of the event loop
        QTEST(scrollBar->value() == scrollBar->maximum(), "scrolls");
        QCOMPARE(scrollBar->value() == 0, scrollBar->value() != scrollBar->maximum());
    }

    void tableScrollsToTheLastOfSeveralReports()
    {
        TransferFixture fixture(200);
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.dialog, patience));
        fixture.autoScroll->setChecked(true);
        const auto *scrollBar = fixture.table->verticalScrollBar();
        for (const int slot : {100, 200}) {
            fixture.dialog.updateTransfer(0, slot, 10, SyncTransferring);
            QCOMPARE(scrollBar->value(), 0);
        }
        EVENTUALLY_COMPARE(scrollBar->value(), scrollBar->maximum());
        for (const int slot : {100, 1})
            fixture.dialog.updateTransfer(0, slot, 20, SyncTransferring);
        EVENTUALLY_COMPARE(scrollBar->value(), 0);
    }

    void wholeLibraryIsReportedFastEnough()
    {
        TransferFixture fixture;
        fixture.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&fixture.dialog, patience));
        // Processor time: other programs don't count.
        auto milliseconds = [last = std::clock()]() mutable {
            const std::clock_t now = std::clock();
            return (now - std::exchange(last, now)) * 1000 / CLOCKS_PER_SEC;
        };
        auto &dialog = fixture.dialog;
        forWholeLibrary([&](int folder, int slot) {
            dialog.addTransfer(folder, slot, u"Clips - 001: Sunset "_s);
        });
        const auto added = milliseconds();
        forWholeLibrary([&](int folder, int slot) {
            dialog.updateTransfer(folder, slot, 100, SyncTransferring);
            if (slot == slotCount)
                QCoreApplication::processEvents();
        });
        const auto updated = milliseconds();
        forWholeLibrary([&](int folder, int slot) { dialog.finishTransfer(folder, slot); });
        const auto finished = milliseconds();
        qInfo("65,280 rows: added in %ld ms, updated in %ld ms, finished in %ld ms", added, updated,
              finished);
        QCOMPARE(fixture.table->rowCount(), folderCount * slotCount);
        QCOMPARE(fixture.bar->value(), 100);
        // Far above the time under sanitizers, far below that of a loop over all rows for each
        // report.
        QVERIFY(added + updated + finished < 10'000);
    }
};

QTEST_MAIN(TestTransferDialogWindow)
#include "tst_TransferDialogWindow.moc"
