// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/ErrorMessageDialog.h"

#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>

using namespace Qt::Literals::StringLiterals;

namespace {

struct ErrorFixture
{
    ErrorFixture(const QString &message, const QStringList &lines)
    {
        dialog.displayErrorMessage(message, lines);
        dialog.show();
    }

    ErrorMessageDialog dialog{nullptr};
    QLabel *icon = dialog.findChild<QLabel *>(u"errorIcon"_s);
    QLabel *text = dialog.findChild<QLabel *>(u"errorText"_s);
    QTextEdit *list = dialog.findChild<QTextEdit *>(u"errorDetailsList"_s);
    QPushButton *details = dialog.findChild<QPushButton *>(u"errorDetails"_s);
    QPushButton *ok =
        dialog.findChild<QDialogButtonBox *>(u"buttonBox"_s)->button(QDialogButtonBox::Ok);
};

} // namespace

class TestErrorMessageDialog final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void showsTheCriticalIconAtAMessageBoxsSize()
    {
        const ErrorFixture fixture(u"It failed."_s, {});
        QCOMPARE(fixture.dialog.windowTitle(), u"Error"_s);
        QCOMPARE(fixture.dialog.windowModality(), Qt::ApplicationModal);
        QCOMPARE(fixture.dialog.minimumSize(), QSize(372, 74));
        const int extent = fixture.dialog.style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
        const auto pixmap = fixture.icon->pixmap();
        QCOMPARE(pixmap.toImage(), fixture.dialog.style()
                                       ->standardIcon(QStyle::SP_MessageBoxCritical)
                                       .pixmap(extent)
                                       .toImage());
        QVERIFY(!pixmap.isNull());
        QCOMPARE(fixture.icon->minimumSize(), pixmap.deviceIndependentSize().toSize());
        QCOMPARE(fixture.text->minimumSize(), QSize(340, 40));
    }

    void withoutDetailsThereIsNoDetailsButton()
    {
        const ErrorFixture fixture(u"It failed."_s, {});
        QCOMPARE(fixture.text->text(), u"It failed."_s);
        QVERIFY(fixture.details->isHidden());
        QVERIFY(!fixture.details->isEnabled());
        QVERIFY(fixture.list->isHidden());
        QVERIFY(fixture.ok->isVisible());
    }

    void detailsOpenAndCloseAndTheDialogFollows()
    {
        const ErrorFixture fixture(u"It failed."_s, {u"first"_s, u"second"_s});
        QVERIFY(fixture.details->isVisible());
        QCOMPARE(fixture.details->text(), u"Show Details >>"_s);
        QVERIFY(fixture.list->isHidden());
        const int closedHeight = fixture.dialog.height();

        QTest::mouseClick(fixture.details, Qt::LeftButton);
        QVERIFY(fixture.list->isVisible());
        QCOMPARE(fixture.details->text(), u"Hide Details <<"_s);
        QCOMPARE(fixture.list->toPlainText(), u"first\nsecond"_s);
        QVERIFY(fixture.dialog.height() > closedHeight);

        QTest::mouseClick(fixture.details, Qt::LeftButton);
        QVERIFY(fixture.list->isHidden());
        QCOMPARE(fixture.details->text(), u"Show Details >>"_s);
        QCOMPARE(fixture.dialog.height(), closedHeight);
    }

    void newMessageClosesTheDetails()
    {
        ErrorFixture fixture(u"It failed."_s, {u"first"_s});
        QTest::mouseClick(fixture.details, Qt::LeftButton);
        fixture.dialog.displayErrorMessage(u"It failed again."_s, {u"third"_s});
        QVERIFY(!fixture.details->isChecked());
        QVERIFY(fixture.list->isHidden());
        QCOMPARE(fixture.text->text(), u"It failed again."_s);
        QCOMPARE(fixture.list->toPlainText(), u"third"_s);
    }

    void serverTextIsShownAsPlainText()
    {
        const auto hostile = u"<img src=\"/dev/zero\"> <b>%1</b> &amp; &Ok"_s;
        const ErrorFixture fixture(hostile, {hostile, u"<ul><li>x"_s});
        QCOMPARE(fixture.text->text(), hostile);
        QCOMPARE(fixture.text->textFormat(), Qt::PlainText);
        QCOMPARE(fixture.list->toPlainText(), hostile + u"\n<ul><li>x"_s);
    }

    void closesOnThePressOfOk()
    {
        ErrorFixture fixture(u"It failed."_s, {});
        QSignalSpy accepted(&fixture.dialog, &QDialog::accepted);
        QTest::mousePress(fixture.ok, Qt::LeftButton);
        QCOMPARE(accepted.size(), 1);
        QVERIFY(fixture.dialog.isHidden());
    }

    void closesByKey_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QStringList>("details");
        QTest::addColumn<int>("result");
        QTest::newRow("Return") << Qt::Key_Return << QStringList() << int(QDialog::Accepted);
        QTest::newRow("Space") << Qt::Key_Space << QStringList() << int(QDialog::Accepted);
        QTest::newRow("Escape") << Qt::Key_Escape << QStringList() << int(QDialog::Rejected);
        QTest::newRow("Escape, with details")
            << Qt::Key_Escape << QStringList(u"first"_s) << int(QDialog::Rejected);
    }

    void closesByKey()
    {
        QFETCH(Qt::Key, key);
        QFETCH(QStringList, details);
        ErrorFixture fixture(u"It failed."_s, details);
        QSignalSpy finished(&fixture.dialog, &QDialog::finished);
        QVERIFY(QTest::qWaitForWindowActive(&fixture.dialog, patience));
        QTest::keyClick(fixture.dialog.focusWidget(), key);
        QCOMPARE(finished.size(), 1);
        QTEST(finished.first().first().toInt(), "result");
    }

    void longMessageWrapsAndStaysReadable()
    {
        const ErrorFixture fixture(
            u"The server \"Stage left\" could not be reached. "_s.repeated(12), {});
        QVERIFY(fixture.text->wordWrap());
        QVERIFY(fixture.dialog.width() < 900);
        QVERIFY(fixture.text->height() >= fixture.text->heightForWidth(fixture.text->width()));
    }

    void longTextsKeepTheButtonsOnTheScreen_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("words") << u"word "_s.repeated(1000);
        QTest::newRow("one word") << u"W"_s.repeated(5000);
        QTest::newRow("lines") << u"line\n"_s.repeated(1000);
    }

    void longTextsKeepTheButtonsOnTheScreen()
    {
        QFETCH(const QString, text);
        const ErrorFixture fixture(text, {text, text});
        const QRect area = fixture.dialog.screen()->availableGeometry();
        for (const bool open : {false, true}) {
            fixture.details->setChecked(open);
            QVERIFY(area.contains(fixture.dialog.frameGeometry()));
            for (const QPushButton *button : {fixture.ok, fixture.details}) {
                const QRect place(button->mapTo(&fixture.dialog, QPoint()), button->size());
                QVERIFY(fixture.dialog.rect().contains(place));
                QVERIFY(button->height() >= button->minimumSizeHint().height());
            }
        }
    }

    void anUnbrokenWordOpensAtOnce_data()
    {
        QTest::addColumn<QString>("word");
        QTest::newRow("letters") << u"W"_s.repeated(2'000'000);
        QTest::newRow("pairs") << u"😀"_s.repeated(1'000'000);
    }

    /// Without a limit the layout takes minutes.
    void anUnbrokenWordOpensAtOnce()
    {
        QFETCH(const QString, word);
        QElapsedTimer timer;
        timer.start();
        const ErrorFixture fixture(word, {u"first"_s, word, u"last"_s});
        fixture.details->setChecked(true);
        QCoreApplication::processEvents();
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        const QString cut = word.left(20480) + u'…';
        QCOMPARE(fixture.text->text(), cut);
        QCOMPARE(fixture.list->toPlainText(), u"first\n"_s + cut + u"\nlast"_s);
    }

    void aFullLibraryOfFailuresIsListed()
    {
        QStringList lines;
        for (int line = 0; line < 65280; ++line)
            lines.append(u"%1 "_s.arg(line) + u"ordinary words "_s.repeated(15));
        const ErrorFixture fixture(u"It failed."_s, lines);
        QCOMPARE(fixture.list->toPlainText(), lines.join(u'\n'));
    }

    void longFailuresShareTheLengthLimit_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("unbroken") << u"W"_s.repeated(4096);
        QTest::newRow("lines") << u"\n"_s.repeated(4096);
    }

    /// None is left out, but a window cannot show more than 16 Mi characters or 256 Ki lines.
    void longFailuresShareTheLengthLimit()
    {
        QFETCH(const QString, text);
        QStringList lines;
        for (int line = 0; line < 16384; ++line)
            lines.append(QString::number(line) + u' ' + text);
        QElapsedTimer timer;
        timer.start();
        const ErrorFixture fixture(u"It failed."_s, lines);
        fixture.details->setChecked(true);
        QCoreApplication::processEvents();
        QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(fixture.list->document()->blockCount(), 16384);
        const QTextBlock last = fixture.list->document()->lastBlock();
        QVERIFY(last.text().startsWith(u"16383 "_s));
        QCOMPARE(last.text().size(), 1025);
    }

    void fewFailuresOfManyLinesAreOneLineEach()
    {
        const QString text = u"line\n"_s.repeated(800);
        const ErrorFixture fixture(u"It failed."_s, QStringList(400, text));
        QCOMPARE(fixture.list->document()->blockCount(), 400);
        QCOMPARE(fixture.list->document()->firstBlock().text(), u"line "_s.repeated(800));
    }

    void detailsOpenWithinTheScreen()
    {
        ErrorFixture fixture(u"It failed."_s, {u"first"_s});
        const QRect area = fixture.dialog.screen()->availableGeometry();
        const int closedHeight = fixture.dialog.frameGeometry().height();
        fixture.dialog.move(50, area.bottom() - closedHeight);
        fixture.details->setChecked(true);
        QVERIFY(fixture.dialog.frameGeometry().height() > closedHeight);
        QVERIFY(area.contains(fixture.dialog.frameGeometry()));
        QCOMPARE(fixture.dialog.x(), 50);
    }
};

QTEST_MAIN(TestErrorMessageDialog)
#include "tst_ErrorMessageDialog.moc"
