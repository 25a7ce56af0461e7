// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/TransferScreen.h"
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
        TransferScreen screen(4);
        screen.dialog.updateTransfer(0, 1, 80, SyncTransferring);
        screen.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen.dialog, patience));
        QCoreApplication::processEvents();
        PaintCounter paints({screen.bar, screen.stateLabel, screen.table->viewport()});
        for (int i = 0; i < 100; ++i) {
            screen.dialog.updateTransfer(0, 1, 80, SyncTransferring);
            QCoreApplication::processEvents();
        }
        QCOMPARE(paints.count, 0);
        screen.dialog.updateTransfer(0, 1, 84, SyncTransferring);
        EVENTUALLY_COMPARE(paints.count, 2);
    }

    void finishOnAnEmptyDialogHidesIt()
    {
        TransferScreen screen;
        screen.dialog.show();
        screen.dialog.finishTransfer(0, 1);
        QVERIFY(screen.dialog.isHidden());
    }

    void finishOnAFilledDialogLeavesItOpen()
    {
        TransferScreen screen(1);
        screen.dialog.show();
        screen.dialog.finishTransfer(0, 1);
        QVERIFY(screen.dialog.isVisible());
    }

    void cancelOnlyAsksWhileTheOperationRuns()
    {
        TransferScreen screen(1);
        QSignalSpy spy(&screen.dialog, &TransferDialog::cancelSync);
        screen.dialog.show();
        QTest::mouseClick(screen.cancel, Qt::LeftButton);
        QTest::mouseClick(screen.cancel, Qt::LeftButton);
        QCOMPARE(spy.size(), 2);
        QVERIFY(screen.dialog.isVisible());
        QCOMPARE(screen.cancel->text(), u"Cancel"_s);
    }

    void cancelHidesTheDialogAfterTheOperation()
    {
        TransferScreen screen(1);
        QSignalSpy spy(&screen.dialog, &TransferDialog::cancelSync);
        screen.dialog.show();
        screen.dialog.finished = true;
        QCOMPARE(screen.cancel->text(), u"Cancel"_s);
        QTest::mouseClick(screen.cancel, Qt::LeftButton);
        QCOMPARE(spy.size(), 0);
        QVERIFY(screen.dialog.isHidden());
    }

    void enterPressesNothing()
    {
        TransferScreen screen(1);
        QSignalSpy spy(&screen.dialog, &TransferDialog::cancelSync);
        screen.dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&screen.dialog, patience));
        for (const QWidget *const start :
             std::initializer_list<QWidget *>{screen.autoScroll, screen.cancel}) {
            EVENTUALLY_COMPARE(QApplication::focusWidget(), start);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Enter);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(spy.size(), 0);
        QVERIFY(screen.dialog.isVisible());

        screen.cancel->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
        QCOMPARE(spy.size(), 1);
    }

    void closingTheWindowHidesItAndCancelsNothing()
    {
        TransferScreen screen(1);
        QSignalSpy cancelSpy(&screen.dialog, &TransferDialog::cancelSync);
        QSignalSpy rejectSpy(&screen.dialog, &QDialog::rejected);
        screen.dialog.show();
        QVERIFY(screen.dialog.close());
        QVERIFY(screen.dialog.isHidden());
        QCOMPARE(rejectSpy.size(), 1);
        screen.dialog.show();
        QTest::keyClick(&screen.dialog, Qt::Key_Escape);
        QVERIFY(screen.dialog.isHidden());
        QCOMPARE(cancelSpy.size(), 0);
        screen.dialog.updateTransfer(0, 1, 50, SyncTransferring);
        QCOMPARE(screen.state(0), u"50%"_s);
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
        TransferScreen screen(200);
        screen.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen.dialog, patience));
        if (autoScroll)
            QTest::mouseClick(screen.autoScroll, Qt::LeftButton, {}, {8, 8});
        QCOMPARE(screen.autoScroll->isChecked(), autoScroll);
        auto *scrollBar = screen.table->verticalScrollBar();
        QVERIFY(scrollBar->maximum() > 0);
        screen.dialog.updateTransfer(0, 200, 10, state);
        QTEST(scrollBar->value() == scrollBar->maximum(), "scrolls");
        QCOMPARE(scrollBar->value() == 0, scrollBar->value() != scrollBar->maximum());
    }

    void wholeLibraryKeepsThePace()
    {
        TransferScreen screen;
        screen.dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&screen.dialog, patience));
        // The time of the processor: what else the machine does is no matter of the dialog.
        auto milliseconds = [last = std::clock()]() mutable {
            const std::clock_t now = std::clock();
            return (now - std::exchange(last, now)) * 1000 / CLOCKS_PER_SEC;
        };
        auto &dialog = screen.dialog;
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
        QCOMPARE(screen.table->rowCount(), folderCount * slotCount);
        QCOMPARE(screen.bar->value(), 100);
        // Far above what it takes under sanitizers, far below what a pass over all rows for each
        // report would take.
        QVERIFY(added + updated + finished < 10'000);
    }
};

QTEST_MAIN(TestTransferDialogWindow)
#include "tst_TransferDialogWindow.moc"
