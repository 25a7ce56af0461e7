// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ToolTip.h"

#include "Support/FailOnWarning.h"

#include <QTest>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

/// The tool tips of elided lines.
class tst_ToolTip final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void aToolTipIsPlainText()
    {
        QTextDocument document;
        document.setHtml(toolTipOf(u"<img src=x> <b>%1</b> &amp;"_s));
        QCOMPARE(document.toPlainText(), u"<img src=x> <b>%1</b> &amp;"_s);
    }

    void aToolTipKeepsItsLines()
    {
        QTextDocument document;
        document.setHtml(toolTipOf(u"first\nsecond"_s));
        QCOMPARE(document.toPlainText(), u"first\nsecond"_s);
    }

    void aToolTipDividesOnlyLongWords()
    {
        const QString text =
            u"Make Stage right equal to Stage left and so on "_s + u"x"_s.repeated(32);
        QTextDocument document;
        document.setHtml(toolTipOf(text));
        QCOMPARE(document.toPlainText(), text);
        document.setHtml(toolTipOf(text + u'x'));
        QCOMPARE(document.toPlainText(), text + u"\u200bx"_s);
    }

    void aToolTipFitsOnAScreen()
    {
        QTextDocument document;
        document.setHtml(toolTipOf(u"W"_s.repeated(5000)));
        document.setTextWidth(600);
        QVERIFY(document.size().width() <= 600);
        QVERIFY(document.size().height() <= 400);
    }

    void aToolTipDividesNoSurrogatePair()
    {
        for (const QString &start : {u""_s, u"x"_s}) {
            const QString line = start + u"😀"_s.repeated(400);
            QTextDocument document;
            document.setHtml(toolTipOf(line));
            QString tip = document.toPlainText();
            for (qsizetype at = 1; at < tip.size(); ++at)
                QVERIFY(tip.at(at) != QChar(0x200b) || !tip.at(at - 1).isHighSurrogate());
            tip.remove(QChar(0x200b));
            QVERIFY(tip.endsWith(u'…'));
            QVERIFY(tip.size() >= 512);
            QVERIFY(line.startsWith(tip.chopped(1)));
        }
    }
};

QTEST_MAIN(tst_ToolTip)
#include "tst_ToolTip.moc"
