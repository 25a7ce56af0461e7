// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ElidedLabel.h"

#include "Support/FailOnWarning.h"

#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

using namespace Qt::Literals::StringLiterals;

/// One line of text, with a tool tip if it does not fit.
class tst_ElidedLabel final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }
    void cleanup() { QToolTip::hideText(); }

    void aTextThatJustFitsHasNoToolTip_data() { addFormats(); }
    void aTextThatJustFitsHasNoToolTip()
    {
        QFETCH(const Qt::TextFormat, format);
        ElidedLabel label(nullptr);
        label.setTextFormat(format);
        label.setText(u"Opening night"_s);
        const int width = label.fontMetrics().horizontalAdvance(label.text());
        label.resize(width, 30);
        QVERIFY(!hasToolTip(label));
        label.resize(width - 1, 30);
        QVERIFY(hasToolTip(label));
    }

    void aTextThatDoesNotFitIsElided()
    {
        ElidedLabel label(nullptr);
        label.setTextFormat(Qt::PlainText);
        label.resize(100, 30);
        label.setText(u"Opening night of the season"_s);
        const QImage shown = label.grab().toImage();
        label.setText(label.fontMetrics().elidedText(label.text(), Qt::ElideRight, 100));
        QCOMPARE(label.grab().toImage(), shown);
    }

    void indentLeavesLessRoom()
    {
        ElidedLabel label(nullptr);
        label.setIndent(20);
        label.setText(u"Opening night"_s);
        const int width = label.fontMetrics().horizontalAdvance(label.text());
        label.resize(width + 20, 30);
        QVERIFY(!hasToolTip(label));
        label.resize(width + 19, 30);
        QVERIFY(hasToolTip(label));
    }

    void plainTextIsNoMarkup()
    {
        QVERIFY(shown(u"<b>x</b>"_s, Qt::PlainText) != shown(u"<b>x</b>"_s, Qt::RichText));
    }

    void boldWordsAreBold() { QVERIFY(shown(u"<b>Opening</b>"_s) != shown(u"<i></i>Opening"_s)); }

    void eachWordHasItsColor()
    {
        const QImage picture =
            shown(u"<font color=#ff0000>W</font>W<font color=#0000ff>W</font>"_s);
        const auto columns = [&picture](QColor color) {
            QList<int> found;
            for (int x = 0; x < picture.width(); ++x) {
                for (int y = 0; y < picture.height(); ++y) {
                    if (picture.pixelColor(x, y) == color)
                        found.append(x);
                }
            }
            return found;
        };
        const QList<int> red = columns(Qt::red);
        const QList<int> own = columns(Qt::green);
        const QList<int> blue = columns(Qt::blue);
        QVERIFY(!red.isEmpty() && !own.isEmpty() && !blue.isEmpty());
        QVERIFY(red.last() < own.first());
        QVERIFY(own.last() < blue.first());
    }

    void toolTipHasAllWords()
    {
        ElidedLabel label(nullptr);
        label.setTextFormat(Qt::RichText);
        label.setText(u"Opening <b>night</b>"_s);
        label.resize(label.fontMetrics().horizontalAdvance(u"Opening "_s), 30);
        QVERIFY(hasToolTip(label));
        QVERIFY(QToolTip::text().contains(u"Opening"_s));
        QVERIFY(QToolTip::text().contains(u"night"_s));
    }

private:
    /// A picture of the label with large letters of its own colour, green.
    static QImage shown(const QString &text, Qt::TextFormat format = Qt::RichText)
    {
        ElidedLabel label(nullptr);
        QFont font;
        font.setPixelSize(40);
        font.setStyleStrategy(QFont::NoAntialias);
        label.setFont(font);
        QPalette palette;
        palette.setColor(QPalette::WindowText, Qt::green);
        label.setPalette(palette);
        label.setTextFormat(format);
        label.setText(text);
        label.resize(400, 60);
        return label.grab().toImage();
    }
    static void addFormats()
    {
        QTest::addColumn<Qt::TextFormat>("format");
        QTest::newRow("plain") << Qt::PlainText;
        QTest::newRow("rich") << Qt::RichText;
    }
    static bool hasToolTip(ElidedLabel &label)
    {
        QToolTip::hideText();
        const QPoint place = label.rect().center();
        QHelpEvent event(QEvent::ToolTip, place, label.mapToGlobal(place));
        QCoreApplication::sendEvent(&label, &event);
        return !QToolTip::text().isEmpty();
    }
};

QTEST_MAIN(tst_ElidedLabel)
#include "tst_ElidedLabel.moc"
