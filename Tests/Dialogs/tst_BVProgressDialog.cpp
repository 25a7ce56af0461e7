// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVProgressDialog.h"

#include "Support/FailOnWarning.h"
#include "Support/Pixels.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <optional>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Screen
{
    explicit Screen(bool autoClose = true)
        : dialog(u"Removing visuals"_s, autoClose, nullptr)
    {
    }

    BVProgressDialog dialog;
    QLabel *label = dialog.findChild<QLabel *>(u"label"_s);
    QProgressBar *bar = dialog.findChild<QProgressBar *>(u"progressBar"_s);
    QDialogButtonBox *buttonBox = dialog.findChild<QDialogButtonBox *>(u"buttonBox"_s);
    QPushButton *cancel = buttonBox->button(QDialogButtonBox::Cancel);
};

/// Lets the delay of 500 ms pass, by a timer that runs out later than the dialog's own.
void letTheDelayPass()
{
    QTimer later;
    later.setTimerType(Qt::PreciseTimer);
    later.setSingleShot(true);
    QSignalSpy spy(&later, &QTimer::timeout);
    later.start(600ms);
    QVERIFY(spy.wait(patience));
}

} // namespace

class TestBVProgressDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void startsBusyAndHidden()
    {
        const Screen screen;
        QCOMPARE(screen.dialog.windowTitle(), u"Downloading"_s);
        QCOMPARE(screen.dialog.size(), QSize(306, 87));
        QCOMPARE(screen.label->text(), u"Removing visuals"_s);
        QCOMPARE(screen.bar->minimum(), 0);
        QCOMPARE(screen.bar->maximum(), 0);
        QCOMPARE(screen.bar->value(), 0);
        QCOMPARE(screen.cancel->minimumSize(), QSize(70, 15));
        QVERIFY(screen.dialog.isHidden());
        QVERIFY(screen.dialog.isFinished());
    }

    void textsAreShownAsTheyAre()
    {
        const auto hostile = u"<img src=\"/dev/zero\"> %1 &Go"_s;
        BVProgressDialog dialog(hostile, true, nullptr);
        auto *label = dialog.findChild<QLabel *>(u"label"_s);
        QCOMPARE(label->text(), hostile);
        QCOMPARE(label->textFormat(), Qt::PlainText);
        dialog.setText(u"<b>other</b>"_s);
        QCOMPARE(label->text(), u"<b>other</b>"_s);
    }

    void jobThatEndsWithinTheDelayShowsNoDialog_data()
    {
        QTest::addColumn<bool>("autoClose");
        QTest::newRow("closing by itself") << true;
        QTest::newRow("left to its owner") << false;
    }

    void jobThatEndsWithinTheDelayShowsNoDialog()
    {
        QFETCH(bool, autoClose);
        Screen screen(autoClose);
        screen.dialog.addSteps(2, true);
        QVERIFY(screen.dialog.isHidden());
        screen.dialog.advance();
        screen.dialog.advance();
        letTheDelayPass();
        QVERIFY(screen.dialog.isHidden());
    }

    void longerJobShowsTheDialogAfterTheDelay()
    {
        Screen screen;
        QElapsedTimer clock;
        clock.start();
        screen.dialog.addSteps(2, true);
        screen.dialog.advance();
        EVENTUALLY(screen.dialog.isVisible());
        QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(screen.dialog.progress(), 1);
    }

    /// Timers fire in the order of their ends, however late they all are.
    void delayIsHalfASecond()
    {
        Screen screen;
        bool shownEarly = true;
        std::optional<bool> shownLate;
        QTimer::singleShot(450ms, Qt::PreciseTimer, &screen.dialog,
                           [&] { shownEarly = screen.dialog.isVisible(); });
        screen.dialog.addSteps(2, true);
        QTimer::singleShot(600ms, Qt::PreciseTimer, &screen.dialog,
                           [&] { shownLate = screen.dialog.isVisible(); });
        EVENTUALLY(shownLate.has_value());
        QVERIFY(!shownEarly);
        QVERIFY(*shownLate);
    }

    void undelayedJobShowsTheDialogAtOnce()
    {
        Screen screen;
        screen.dialog.addSteps(1, false);
        QVERIFY(screen.dialog.isVisible());
    }

    void delayedDialogMayBeDeletedBeforeItShows()
    {
        auto dialog = std::make_unique<BVProgressDialog>(u"x"_s, true, nullptr);
        dialog->addSteps(1, true);
        dialog.reset();
        letTheDelayPass();
    }

    void showIfUnfinishedShowsOnlyAnUnfinishedJob()
    {
        Screen screen(false);
        screen.dialog.showIfUnfinished();
        QVERIFY(screen.dialog.isHidden());
        screen.dialog.addSteps(3, true);
        screen.dialog.setProgress(3);
        screen.dialog.showIfUnfinished();
        QVERIFY(screen.dialog.isHidden());
        screen.dialog.setProgress(2);
        screen.dialog.showIfUnfinished();
        QVERIFY(screen.dialog.isVisible());
    }

    void busyBarReachesItsMaximumAtOnce()
    {
        Screen screen;
        QSignalSpy spy(&screen.dialog, &QDialog::accepted);
        screen.dialog.show();
        screen.dialog.setProgress(0);
        QCOMPARE(spy.size(), 1);
        QVERIFY(screen.dialog.isHidden());
    }

    void busyBarTakesAnyValue()
    {
        Screen screen;
        QSignalSpy spy(&screen.dialog, &QDialog::accepted);
        screen.dialog.advance();
        screen.dialog.advance();
        QCOMPARE(screen.dialog.progress(), 2);
        QCOMPARE(screen.dialog.maximum(), 0);
        QVERIFY(!screen.dialog.isFinished());
        screen.dialog.showIfUnfinished();
        QVERIFY(screen.dialog.isHidden());
        QCOMPARE(spy.size(), 0);
        // The next batch then starts from there.
        screen.dialog.addSteps(3, true);
        QCOMPARE(screen.dialog.progress(), 2);
        QCOMPARE(screen.dialog.maximum(), 3);
        screen.dialog.advance();
        QCOMPARE(spy.size(), 1);
    }

    void batchShorterThanABusyBarsValueResetsTheBar()
    {
        Screen screen;
        screen.dialog.setProgress(5);
        screen.dialog.addSteps(3, true);
        QCOMPARE(screen.dialog.progress(), -1);
        QCOMPARE(screen.dialog.maximum(), 3);
    }

    void valueBeyondTheMaximumIsIgnored()
    {
        Screen screen;
        QSignalSpy spy(&screen.dialog, &QDialog::accepted);
        screen.dialog.addSteps(3, true);
        screen.dialog.setProgress(1);
        screen.dialog.setProgress(4);
        screen.dialog.setProgress(-1);
        QCOMPARE(screen.dialog.progress(), 1);
        QCOMPARE(spy.size(), 0);
    }

    void moreStepsLengthenTheBarWithoutAReset()
    {
        Screen screen;
        screen.dialog.addSteps(4, false);
        screen.dialog.setProgress(3);
        screen.dialog.addSteps(6, true);
        QVERIFY(screen.dialog.isVisible());
        QCOMPARE(screen.dialog.progress(), 3);
        QCOMPARE(screen.dialog.maximum(), 10);
        screen.dialog.setProgress(4);
        QVERIFY(screen.dialog.isVisible());
    }

    void lastStepAcceptsAClosingDialog()
    {
        Screen screen(true);
        QSignalSpy accepted(&screen.dialog, &QDialog::accepted);
        QSignalSpy rejected(&screen.dialog, &QDialog::rejected);
        screen.dialog.addSteps(2, false);
        screen.dialog.advance();
        QCOMPARE(accepted.size(), 0);
        QVERIFY(screen.dialog.isVisible());
        screen.dialog.advance();
        QCOMPARE(accepted.size(), 1);
        QCOMPARE(rejected.size(), 0);
        QVERIFY(screen.dialog.isHidden());
        QCOMPARE(screen.dialog.maximum(), 0);
    }

    void lastStepDisablesCancelOfAnOpenDialog()
    {
        Screen screen(false);
        QSignalSpy rejected(&screen.dialog, &QDialog::rejected);
        screen.dialog.addSteps(100, false);
        screen.dialog.setProgress(99);
        QVERIFY(screen.buttonBox->isEnabled());
        screen.dialog.setProgress(100);
        QVERIFY(screen.dialog.isVisible());
        QVERIFY(!screen.buttonBox->isEnabled());
        QVERIFY(screen.dialog.isFinished());
        QTest::mouseClick(screen.cancel, Qt::LeftButton);
        QCOMPARE(rejected.size(), 0);
        QTest::keyClick(&screen.dialog, Qt::Key_Escape);
        QCOMPARE(rejected.size(), 1);
    }

    void percentageIsLegibleOnTheEmptyPartOfTheBar()
    {
        Screen screen;
        screen.dialog.addSteps(10, false);
        screen.dialog.setProgress(2);
        const auto with = screen.bar->grab().toImage();
        screen.bar->setTextVisible(false);
        const int different = visiblyDifferentPixels(with, screen.bar->grab().toImage());
        QVERIFY2(different > 10, qPrintable(QString::number(different)));
    }

    void everyWayOfClosingSetsTheBarBack_data()
    {
        QTest::addColumn<int>("way");
        QTest::addColumn<int>("result");
        QTest::newRow("Cancel button") << 0 << int(QDialog::Rejected);
        QTest::newRow("Escape") << 1 << int(QDialog::Rejected);
        QTest::newRow("window closed") << 2 << int(QDialog::Rejected);
        QTest::newRow("accepted") << 3 << int(QDialog::Accepted);
        QTest::newRow("any result") << 4 << 7;
    }

    void everyWayOfClosingSetsTheBarBack()
    {
        QFETCH(int, way);
        Screen screen;
        QSignalSpy finished(&screen.dialog, &QDialog::finished);
        screen.dialog.addSteps(5, false);
        screen.dialog.setProgress(2);
        switch (way) {
        case 0:
            QTest::mouseClick(screen.cancel, Qt::LeftButton);
            break;
        case 1:
            QTest::keyClick(&screen.dialog, Qt::Key_Escape);
            break;
        case 2:
            screen.dialog.close();
            break;
        case 3:
            screen.dialog.accept();
            break;
        default:
            screen.dialog.done(7);
        }
        QVERIFY(screen.dialog.isHidden());
        QCOMPARE(finished.size(), 1);
        QTEST(finished.first().first().toInt(), "result");
        QCOMPARE(screen.dialog.progress(), 0);
        QCOMPARE(screen.dialog.maximum(), 0);
        QVERIFY(screen.dialog.isFinished());
    }

    void nextBatchStartsFromNothingAfterACancel()
    {
        Screen screen;
        screen.dialog.addSteps(5, false);
        screen.dialog.setProgress(4);
        QTest::mouseClick(screen.cancel, Qt::LeftButton);
        screen.dialog.addSteps(3, true);
        QCOMPARE(screen.dialog.progress(), 0);
        QCOMPARE(screen.dialog.maximum(), 3);
    }
};

QTEST_MAIN(TestBVProgressDialog)
#include "tst_BVProgressDialog.moc"
