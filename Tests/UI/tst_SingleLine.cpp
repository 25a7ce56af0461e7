// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/SingleLine.h"

#include "Support/FailOnWarning.h"

#include <QTest>
#include <QTextDocument>

using namespace Qt::Literals::StringLiterals;

/// What a text from the network becomes before it is drawn.
class tst_SingleLine final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void drawsOneLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("plain") << u"007: Sunset"_s << u"007: Sunset"_s;
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("line feed") << u"one\ntwo"_s << u"one two"_s;
        QTest::newRow("carriage return") << u"one\r\ntwo"_s << u"one  two"_s;
        QTest::newRow("tab") << u"one\ttwo"_s << u"one two"_s;
        QTest::newRow("NUL") << u"one\0two"_s << u"one two"_s;
        QTest::newRow("next line") << u"one\u0085two"_s << u"one two"_s;
        QTest::newRow("separators") << u"one\u2028two\u2029three"_s << u"one two three"_s;
        QTest::newRow("override") << u"007: \u202Egpj.exe"_s << u"007: gpj.exe"_s;
        QTest::newRow("isolate") << u"\u2067007\u2069: x"_s << u"007: x"_s;
        QTest::newRow("Arabic") << u"007: اسم"_s << u"007: اسم"_s;
        QTest::newRow("joiner") << u"می\u200Cخواهم"_s << u"می\u200Cخواهم"_s;
        QTest::newRow("emoji") << u"😀"_s << u"😀"_s;
        QTest::newRow("longest") << u"x"_s.repeated(2048) << u"x"_s.repeated(2048);
        QTest::newRow("too long") << u"x"_s.repeated(5000) << u"x"_s.repeated(2048) + u'…';
    }
    void drawsOneLine()
    {
        QFETCH(const QString, text);
        QTEST(singleLine(text), "line");
    }

    void aToolTipIsNoMarkup()
    {
        QTextDocument document;
        document.setHtml(toolTipOf(u"<img src=x> <b>%1</b> &amp;"_s));
        QCOMPARE(document.toPlainText(), u"<img src=x> <b>%1</b> &amp;"_s);
    }

    void aToolTipFitsOnAScreen()
    {
        QTextDocument document;
        document.setHtml(toolTipOf(u"W"_s.repeated(5000)));
        document.setTextWidth(600);
        QVERIFY(document.size().width() <= 600);
        QVERIFY(document.size().height() <= 400);
    }
};

QTEST_MAIN(tst_SingleLine)
#include "tst_SingleLine.moc"
