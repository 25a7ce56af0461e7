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

struct Screen
{
    Screen(const QString &message, const QStringList &lines)
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
        const Screen screen(u"It failed."_s, {});
        QCOMPARE(screen.dialog.windowTitle(), u"Error"_s);
        QCOMPARE(screen.dialog.windowModality(), Qt::ApplicationModal);
        QCOMPARE(screen.dialog.minimumSize(), QSize(372, 74));
        const int extent = screen.dialog.style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
        const auto pixmap = screen.icon->pixmap();
        QCOMPARE(pixmap.toImage(), screen.dialog.style()
                                       ->standardIcon(QStyle::SP_MessageBoxCritical)
                                       .pixmap(extent)
                                       .toImage());
        QVERIFY(!pixmap.isNull());
        QCOMPARE(screen.icon->minimumSize(), pixmap.deviceIndependentSize().toSize());
        QCOMPARE(screen.text->minimumSize(), QSize(340, 40));
    }

    void withoutDetailsThereIsNoDetailsButton()
    {
        const Screen screen(u"It failed."_s, {});
        QCOMPARE(screen.text->text(), u"It failed."_s);
        QVERIFY(screen.details->isHidden());
        QVERIFY(!screen.details->isEnabled());
        QVERIFY(screen.list->isHidden());
        QVERIFY(screen.ok->isVisible());
    }

    void detailsOpenAndCloseAndTheDialogFollows()
    {
        const Screen screen(u"It failed."_s, {u"first"_s, u"second"_s});
        QVERIFY(screen.details->isVisible());
        QCOMPARE(screen.details->text(), u"Show Details >>"_s);
        QVERIFY(screen.list->isHidden());
        const int closedHeight = screen.dialog.height();

        QTest::mouseClick(screen.details, Qt::LeftButton);
        QVERIFY(screen.list->isVisible());
        QCOMPARE(screen.details->text(), u"Hide Details <<"_s);
        QCOMPARE(screen.list->toPlainText(), u"first\nsecond"_s);
        QVERIFY(screen.dialog.height() > closedHeight);

        QTest::mouseClick(screen.details, Qt::LeftButton);
        QVERIFY(screen.list->isHidden());
        QCOMPARE(screen.details->text(), u"Show Details >>"_s);
        QCOMPARE(screen.dialog.height(), closedHeight);
    }

    void newMessageClosesTheDetails()
    {
        Screen screen(u"It failed."_s, {u"first"_s});
        QTest::mouseClick(screen.details, Qt::LeftButton);
        screen.dialog.displayErrorMessage(u"It failed again."_s, {u"third"_s});
        QVERIFY(!screen.details->isChecked());
        QVERIFY(screen.list->isHidden());
        QCOMPARE(screen.text->text(), u"It failed again."_s);
        QCOMPARE(screen.list->toPlainText(), u"third"_s);
    }

    void whatAServerSentIsShownAsItIs()
    {
        const auto hostile = u"<img src=\"/dev/zero\"> <b>%1</b> &amp; &Ok"_s;
        const Screen screen(hostile, {hostile, u"<ul><li>x"_s});
        QCOMPARE(screen.text->text(), hostile);
        QCOMPARE(screen.text->textFormat(), Qt::PlainText);
        QCOMPARE(screen.list->toPlainText(), hostile + u"\n<ul><li>x"_s);
    }

    void closesOnThePressOfOk()
    {
        Screen screen(u"It failed."_s, {});
        QSignalSpy accepted(&screen.dialog, &QDialog::accepted);
        QTest::mousePress(screen.ok, Qt::LeftButton);
        QCOMPARE(accepted.size(), 1);
        QVERIFY(screen.dialog.isHidden());
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
        Screen screen(u"It failed."_s, details);
        QSignalSpy finished(&screen.dialog, &QDialog::finished);
        QVERIFY(QTest::qWaitForWindowActive(&screen.dialog, patience));
        QTest::keyClick(screen.dialog.focusWidget(), key);
        QCOMPARE(finished.size(), 1);
        QTEST(finished.first().first().toInt(), "result");
    }

    void longMessageWrapsAndStaysReadable()
    {
        const Screen screen(u"The server \"Stage left\" could not be reached. "_s.repeated(12), {});
        QVERIFY(screen.text->wordWrap());
        QVERIFY(screen.dialog.width() < 900);
        QVERIFY(screen.text->height() >= screen.text->heightForWidth(screen.text->width()));
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
        const Screen screen(text, {text, text});
        const QRect area = screen.dialog.screen()->availableGeometry();
        for (const bool open : {false, true}) {
            screen.details->setChecked(open);
            QVERIFY(area.contains(screen.dialog.frameGeometry()));
            for (const QPushButton *button : {screen.ok, screen.details}) {
                const QRect place(button->mapTo(&screen.dialog, QPoint()), button->size());
                QVERIFY(screen.dialog.rect().contains(place));
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

    /// Unbounded, laying it out takes minutes.
    void anUnbrokenWordOpensAtOnce()
    {
        QFETCH(const QString, word);
        QElapsedTimer timer;
        timer.start();
        const Screen screen(word, {u"first"_s, word, u"last"_s});
        screen.details->setChecked(true);
        QCoreApplication::processEvents();
        QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
        const QString cut = word.left(20480) + u'…';
        QCOMPARE(screen.text->text(), cut);
        QCOMPARE(screen.list->toPlainText(), u"first\n"_s + cut + u"\nlast"_s);
    }

    void aFullLibraryOfFailuresIsAllThere()
    {
        QStringList lines;
        for (int line = 0; line < 65280; ++line)
            lines.append(u"%1 "_s.arg(line) + u"ordinary words "_s.repeated(15));
        const Screen screen(u"It failed."_s, lines);
        QCOMPARE(screen.list->toPlainText(), lines.join(u'\n'));
    }

    void longFailuresShareTheRoom_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("unbroken") << u"W"_s.repeated(4096);
        QTest::newRow("lines") << u"\n"_s.repeated(4096);
    }

    /// None is left out, but more than 16 Mi characters or 256 Ki lines are too much for a window.
    void longFailuresShareTheRoom()
    {
        QFETCH(const QString, text);
        QStringList lines;
        for (int line = 0; line < 16384; ++line)
            lines.append(QString::number(line) + u' ' + text);
        QElapsedTimer timer;
        timer.start();
        const Screen screen(u"It failed."_s, lines);
        screen.details->setChecked(true);
        QCoreApplication::processEvents();
        QVERIFY2(timer.elapsed() < 20000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(screen.list->document()->blockCount(), 16384);
        const QTextBlock last = screen.list->document()->lastBlock();
        QVERIFY(last.text().startsWith(u"16383 "_s));
        QCOMPARE(last.text().size(), 1025);
    }

    void fewFailuresOfManyLinesAreOneLineEach()
    {
        const QString text = u"line\n"_s.repeated(800);
        const Screen screen(u"It failed."_s, QStringList(400, text));
        QCOMPARE(screen.list->document()->blockCount(), 400);
        QCOMPARE(screen.list->document()->firstBlock().text(), u"line "_s.repeated(800));
    }

    void detailsOpenWithinTheScreen()
    {
        Screen screen(u"It failed."_s, {u"first"_s});
        const QRect area = screen.dialog.screen()->availableGeometry();
        const int closedHeight = screen.dialog.frameGeometry().height();
        screen.dialog.move(50, area.bottom() - closedHeight);
        screen.details->setChecked(true);
        QVERIFY(screen.dialog.frameGeometry().height() > closedHeight);
        QVERIFY(area.contains(screen.dialog.frameGeometry()));
        QCOMPARE(screen.dialog.x(), 50);
    }
};

QTEST_MAIN(TestErrorMessageDialog)
#include "tst_ErrorMessageDialog.moc"
