// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVProgressDialog.h"

#include "Support/FailOnWarning.h"
#include "Support/Pixels.h"
#include "Support/ProgressDialogs.h"
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

struct ProgressFixture
{
    explicit ProgressFixture(bool autoClose = true)
        : dialog(u"Removing visuals"_s, autoClose, nullptr)
    {
    }

    BVProgressDialog dialog;
    QLabel *label = dialog.findChild<QLabel *>(u"label"_s);
    QProgressBar *bar = dialog.findChild<QProgressBar *>(u"progressBar"_s);
    QDialogButtonBox *buttonBox = dialog.findChild<QDialogButtonBox *>(u"buttonBox"_s);
    QPushButton *cancel = buttonBox->button(QDialogButtonBox::Cancel);
};

} // namespace

class TestBVProgressDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void startsBusyAndHidden()
    {
        const ProgressFixture fixture;
        QCOMPARE(fixture.dialog.windowTitle(), u"Downloading"_s);
        QCOMPARE(fixture.dialog.size(), QSize(306, 87));
        QCOMPARE(fixture.label->text(), u"Removing visuals"_s);
        QCOMPARE(fixture.bar->minimum(), 0);
        QCOMPARE(fixture.bar->maximum(), 0);
        QCOMPARE(fixture.bar->value(), 0);
        QCOMPARE(fixture.cancel->minimumSize(), QSize(70, 15));
        QVERIFY(fixture.dialog.isHidden());
        QVERIFY(fixture.dialog.isFinished());
    }

    void textsAreShownAsPlainText()
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
        ProgressFixture fixture(autoClose);
        fixture.dialog.addSteps(2, true);
        QVERIFY(fixture.dialog.isHidden());
        fixture.dialog.advance();
        fixture.dialog.advance();
        waitPastTheDelay();
        QVERIFY(fixture.dialog.isHidden());
    }

    void longerJobShowsTheDialogAfterTheDelay()
    {
        ProgressFixture fixture;
        QElapsedTimer clock;
        clock.start();
        fixture.dialog.addSteps(2, true);
        fixture.dialog.advance();
        EVENTUALLY(fixture.dialog.isVisible());
        QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(fixture.dialog.progress(), 1);
    }

    /// Timers fire in the order of their deadlines, however late they are.
    void delayIsHalfASecond()
    {
        ProgressFixture fixture;
        bool shownEarly = true;
        std::optional<bool> shownLate;
        QTimer::singleShot(450ms, Qt::PreciseTimer, &fixture.dialog,
                           [&] { shownEarly = fixture.dialog.isVisible(); });
        fixture.dialog.addSteps(2, true);
        QTimer::singleShot(600ms, Qt::PreciseTimer, &fixture.dialog,
                           [&] { shownLate = fixture.dialog.isVisible(); });
        EVENTUALLY(shownLate.has_value());
        QVERIFY(!shownEarly);
        QVERIFY(*shownLate);
    }

    void undelayedJobShowsTheDialogAtOnce()
    {
        ProgressFixture fixture;
        fixture.dialog.addSteps(1, false);
        QVERIFY(fixture.dialog.isVisible());
    }

    void delayedDialogMayBeDeletedBeforeItShows()
    {
        auto dialog = std::make_unique<BVProgressDialog>(u"x"_s, true, nullptr);
        dialog->addSteps(1, true);
        dialog.reset();
        waitPastTheDelay();
    }

    void showIfUnfinishedShowsOnlyAnUnfinishedJob()
    {
        ProgressFixture fixture(false);
        fixture.dialog.showIfUnfinished();
        QVERIFY(fixture.dialog.isHidden());
        fixture.dialog.addSteps(3, true);
        fixture.dialog.setProgress(3);
        fixture.dialog.showIfUnfinished();
        QVERIFY(fixture.dialog.isHidden());
        fixture.dialog.setProgress(2);
        fixture.dialog.showIfUnfinished();
        QVERIFY(fixture.dialog.isVisible());
    }

    void busyBarReachesItsMaximumAtOnce()
    {
        ProgressFixture fixture;
        QSignalSpy spy(&fixture.dialog, &QDialog::accepted);
        fixture.dialog.show();
        fixture.dialog.setProgress(0);
        QCOMPARE(spy.size(), 1);
        QVERIFY(fixture.dialog.isHidden());
    }

    void busyBarTakesAnyValue()
    {
        ProgressFixture fixture;
        QSignalSpy spy(&fixture.dialog, &QDialog::accepted);
        fixture.dialog.advance();
        fixture.dialog.advance();
        QCOMPARE(fixture.dialog.progress(), 2);
        QCOMPARE(fixture.dialog.maximum(), 0);
        QVERIFY(!fixture.dialog.isFinished());
        fixture.dialog.showIfUnfinished();
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(spy.size(), 0);
        // The next batch then starts from there.
        fixture.dialog.addSteps(3, true);
        QCOMPARE(fixture.dialog.progress(), 2);
        QCOMPARE(fixture.dialog.maximum(), 3);
        fixture.dialog.advance();
        QCOMPARE(spy.size(), 1);
    }

    void batchShorterThanABusyBarsValueResetsTheBar()
    {
        ProgressFixture fixture;
        fixture.dialog.setProgress(5);
        fixture.dialog.addSteps(3, true);
        QCOMPARE(fixture.dialog.progress(), -1);
        QCOMPARE(fixture.dialog.maximum(), 3);
    }

    void valueBeyondTheMaximumIsIgnored()
    {
        ProgressFixture fixture;
        QSignalSpy spy(&fixture.dialog, &QDialog::accepted);
        fixture.dialog.addSteps(3, true);
        fixture.dialog.setProgress(1);
        fixture.dialog.setProgress(4);
        fixture.dialog.setProgress(-1);
        QCOMPARE(fixture.dialog.progress(), 1);
        QCOMPARE(spy.size(), 0);
    }

    void moreStepsLengthenTheBarWithoutAReset()
    {
        ProgressFixture fixture;
        fixture.dialog.addSteps(4, false);
        fixture.dialog.setProgress(3);
        fixture.dialog.addSteps(6, true);
        QVERIFY(fixture.dialog.isVisible());
        QCOMPARE(fixture.dialog.progress(), 3);
        QCOMPARE(fixture.dialog.maximum(), 10);
        fixture.dialog.setProgress(4);
        QVERIFY(fixture.dialog.isVisible());
    }

    void lastStepAcceptsAClosingDialog()
    {
        ProgressFixture fixture(true);
        QSignalSpy accepted(&fixture.dialog, &QDialog::accepted);
        QSignalSpy rejected(&fixture.dialog, &QDialog::rejected);
        fixture.dialog.addSteps(2, false);
        fixture.dialog.advance();
        QCOMPARE(accepted.size(), 0);
        QVERIFY(fixture.dialog.isVisible());
        fixture.dialog.advance();
        QCOMPARE(accepted.size(), 1);
        QCOMPARE(rejected.size(), 0);
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(fixture.dialog.maximum(), 0);
    }

    void lastStepDisablesCancelOfAnOpenDialog()
    {
        ProgressFixture fixture(false);
        QSignalSpy rejected(&fixture.dialog, &QDialog::rejected);
        fixture.dialog.addSteps(100, false);
        fixture.dialog.setProgress(99);
        QVERIFY(fixture.buttonBox->isEnabled());
        fixture.dialog.setProgress(100);
        QVERIFY(fixture.dialog.isVisible());
        QVERIFY(!fixture.buttonBox->isEnabled());
        QVERIFY(fixture.dialog.isFinished());
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        QCOMPARE(rejected.size(), 0);
        QTest::keyClick(&fixture.dialog, Qt::Key_Escape);
        QCOMPARE(rejected.size(), 1);
    }

    void percentageIsLegibleOnTheEmptyPartOfTheBar()
    {
        ProgressFixture fixture;
        fixture.dialog.addSteps(10, false);
        fixture.dialog.setProgress(2);
        const auto with = fixture.bar->grab().toImage();
        fixture.bar->setTextVisible(false);
        const int different = visiblyDifferentPixels(with, fixture.bar->grab().toImage());
        QVERIFY2(different > 10, qPrintable(QString::number(different)));
    }

    void everyWayOfClosingResetsTheBar_data()
    {
        QTest::addColumn<int>("way");
        QTest::addColumn<int>("result");
        QTest::newRow("Cancel button") << 0 << int(QDialog::Rejected);
        QTest::newRow("Escape") << 1 << int(QDialog::Rejected);
        QTest::newRow("window closed") << 2 << int(QDialog::Rejected);
        QTest::newRow("accepted") << 3 << int(QDialog::Accepted);
        QTest::newRow("any result") << 4 << 7;
    }

    void everyWayOfClosingResetsTheBar()
    {
        QFETCH(int, way);
        ProgressFixture fixture;
        QSignalSpy finished(&fixture.dialog, &QDialog::finished);
        fixture.dialog.addSteps(5, false);
        fixture.dialog.setProgress(2);
        switch (way) {
        case 0:
            QTest::mouseClick(fixture.cancel, Qt::LeftButton);
            break;
        case 1:
            QTest::keyClick(&fixture.dialog, Qt::Key_Escape);
            break;
        case 2:
            fixture.dialog.close();
            break;
        case 3:
            fixture.dialog.accept();
            break;
        default:
            fixture.dialog.done(7);
        }
        QVERIFY(fixture.dialog.isHidden());
        QCOMPARE(finished.size(), 1);
        QTEST(finished.first().first().toInt(), "result");
        QCOMPARE(fixture.dialog.progress(), 0);
        QCOMPARE(fixture.dialog.maximum(), 0);
        QVERIFY(fixture.dialog.isFinished());
    }

    void nextBatchStartsFromNothingAfterACancel()
    {
        ProgressFixture fixture;
        fixture.dialog.addSteps(5, false);
        fixture.dialog.setProgress(4);
        QTest::mouseClick(fixture.cancel, Qt::LeftButton);
        fixture.dialog.addSteps(3, true);
        QCOMPARE(fixture.dialog.progress(), 0);
        QCOMPARE(fixture.dialog.maximum(), 3);
    }
};

QTEST_MAIN(TestBVProgressDialog)
#include "tst_BVProgressDialog.moc"
