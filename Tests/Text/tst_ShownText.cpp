// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Text/ShownText.h"

#include "Support/FailOnWarning.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// How texts from the network are shown.
class tst_ShownText final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void namesAreOneLineInOneDirection_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        QTest::newRow("plain") << u"007: Sunset"_s << u"007: Sunset"_s;
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("markers") << u"%1 <b>&amp;</b> %n"_s << u"%1 <b>&amp;</b> %n"_s;
        QTest::newRow("line feed") << u"one\ntwo"_s << u"one two"_s;
        QTest::newRow("carriage return") << u"one\r\ntwo"_s << u"one  two"_s;
        QTest::newRow("tab") << u"one\ttwo"_s << u"one two"_s;
        QTest::newRow("NUL") << u"one\0two"_s << u"one two"_s;
        QTest::newRow("delete") << u"one\u007Ftwo"_s << u"one two"_s;
        QTest::newRow("next line") << u"one\u0085two"_s << u"one two"_s;
        QTest::newRow("separators") << u"one\u2028two\u2029three"_s << u"one two three"_s;
        for (const QChar c : u"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E"
                             u"\u2066\u2067\u2068\u2069"_s)
            QTest::addRow("U+%04X", c.unicode()) << u"007"_s + c + u"x"_s << u"007 x"_s;
        QTest::newRow("noncharacters")
            << u"a"_s + QChar(0xFDD0) + QChar(0xFFFE) + u"b"_s + QChar(0xDBFF) + QChar(0xDFFF)
            << u"a  b "_s;
        QTest::newRow("Arabic") << u"007: اسم"_s << u"007: اسم"_s;
        QTest::newRow("joiner") << u"می\u200Cخواهم"_s << u"می\u200Cخواهم"_s;
        QTest::newRow("emoji") << u"😀👩\u200D🚀"_s << u"😀👩\u200D🚀"_s;
        QTest::newRow("no-break space") << u"a\u00A0b"_s << u"a\u00A0b"_s;
        QTest::newRow("neighbours")
            << u"\u2027\u202F\u2065\u200D"_s << u"\u2027\u202F\u2065\u200D"_s;
        addCommonRows();
    }
    void namesAreOneLineInOneDirection()
    {
        QFETCH(const QString, name);
        QTEST(shownName(name), "shown");
    }

    void otherTextsKeepTheirLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown");
        QTest::newRow("lines") << u"one\r\ntwo\n\tthree\u2028"_s << u"one\r\ntwo\n\tthree\u2028"_s;
        addCommonRows();
    }
    void otherTextsKeepTheirLines()
    {
        QFETCH(const QString, text);
        QTEST(shownText(text), "shown");
    }

    void cutKeepsSurrogatePairsWhole()
    {
        QCOMPARE(beginningOf(u"a😀b"_s, 1), u"a…"_s);
        QCOMPARE(beginningOf(u"a😀b"_s, 2), u"a…"_s);
        QCOMPARE(beginningOf(u"a😀b"_s, 3), u"a😀…"_s);
        QCOMPARE(beginningOf(u"a😀b"_s, 4), u"a😀b"_s);
    }

private:
    static void addCommonRows()
    {
        const QString grave(QChar(0x300));
        const QString x = u"x"_s.repeated(4096);
        QTest::newRow("longest") << x << x;
        QTest::newRow("too long") << x + u'x' << x + u'…';
        QTest::newRow("far too long") << x.repeated(5000) << x + u'…';
        QTest::newRow("cut before a pair") << x.chopped(1) + u"😀"_s << x.chopped(1) + u'…';
        QTest::newRow("longest with a pair") << x.chopped(2) + u"😀"_s << x.chopped(2) + u"😀"_s;
        QTest::newRow("half a pair") << u"a"_s + QChar(0xD83D) << u"a\uFFFD"_s;
        QTest::newRow("halves in the wrong order")
            << QString(QChar(0xDE00)) + QChar(0xD83D) + u'a' << u"\uFFFD\uFFFDa"_s;
        QTest::newRow("marks") << u"e"_s + grave.repeated(30) << u"e"_s + grave.repeated(30);
        QTest::newRow("too many marks") << u"e"_s + grave.repeated(31) + u"e"_s + grave
                                        << u"e"_s + grave.repeated(30) + u"e"_s + grave;
        QTest::newRow("too many marks of two units")
            << u"e"_s + u"\U000E0100"_s.repeated(40) << u"e"_s + u"\U000E0100"_s.repeated(30);
    }
};

QTEST_GUILESS_MAIN(tst_ShownText)
#include "tst_ShownText.moc"
