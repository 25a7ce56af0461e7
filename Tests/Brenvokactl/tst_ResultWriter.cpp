// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/ResultWriter.h"

#include "Brenvokactl/Result.h"

#include <QJsonDocument>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace {

Result resultWith(const QString &cell)
{
    Result result;
    result.exitCode = ExitCode::other;
    result.summary = {u"summary "_s + cell};
    result.columns = {{u"name"_s}, {u"number"_s}};
    result.rows = {{cell, u"3"_s}};
    result.remarks = {u"remark "_s + cell};
    result.json = {{u"name"_s, cell}};
    return result;
}

} // namespace

/// The three formats.
class tst_ResultWriter final : public QObject
{
    Q_OBJECT

private slots:
    void textIsAligned()
    {
        Result result;
        result.summary = {u"One"_s, u"Two"_s};
        result.columns = {{u"a"_s}, {u"long name"_s}, {u"hash"_s, 4}};
        result.rows = {{u"longer"_s, u"b"_s, u"0123456789"_s}, {u"c"_s, QString(), QString()}};
        result.remarks = {u"End"_s};
        QCOMPARE(formatted(result, Format::Text, false), "One\nTwo\n\n"
                                                         "a       long name  hash\n"
                                                         "longer  b          0123\u2026\n"
                                                         "c\n"
                                                         "\nEnd\n"_ba);
    }

    void aLongCellDoesNotWidenOtherRows()
    {
        Result result;
        result.columns = {{u"a"_s}, {u"b"_s}};
        result.rows = {{QString(4000, u'x'), u"1"_s}, {u"y"_s, u"2"_s}};
        const QList<QByteArray> lines = formatted(result, Format::Text, false).split('\n');
        QCOMPARE(lines.at(2), QByteArray(4000, 'x') + "  1");
        QCOMPARE(lines.at(3), "y" + QByteArray(81, ' ') + "2");
    }

    void textHasColorsOnlyIfRequested()
    {
        Result result = resultWith(u"x"_s);
        QVERIFY(!formatted(result, Format::Text, false).contains('\x1b'));
        QVERIFY(formatted(result, Format::Text, true).startsWith("\x1b[33msummary x\x1b[0m\n"));
        QVERIFY(!formatted(result, Format::Csv, true).contains('\x1b'));
        QVERIFY(!formatted(result, Format::Json, true).contains('\x1b'));
        result.exitCode = ExitCode::good;
        QVERIFY(formatted(result, Format::Text, true).startsWith("\x1b[32m"));
        result.exitCode = ExitCode::error;
        QVERIFY(formatted(result, Format::Text, true).startsWith("\x1b[31m"));
    }

    void textOfAServerCannotControlTheTerminal()
    {
        const QString hostile = u"a\x1b[2Jb\r\nc\u202Ed\u0085e\u2028f"_s;
        const QByteArray text = formatted(resultWith(hostile), Format::Text, false);
        QCOMPARE(text.count('\n'), 6);
        QCOMPARE(text.count("a [2Jb  c d e f"), 3);
        for (const QChar c : QString::fromUtf8(text))
            QVERIFY(c == u'\n' || (c.category() != QChar::Other_Control && c != u'\u202E'));
    }

    void csvQuotesCellsAndEscapesFormulas_data()
    {
        QTest::addColumn<QString>("cell");
        QTest::addColumn<QByteArray>("csv");
        QTest::newRow("plain") << u"Sunset"_s << "\"Sunset\""_ba;
        QTest::newRow("quote") << u"a\"b"_s << "\"a\"\"b\""_ba;
        QTest::newRow("comma") << u"a,b"_s << "\"a,b\""_ba;
        QTest::newRow("line") << u"a\r\nb"_s << "\"a  b\""_ba;
        QTest::newRow("control") << u"a\x1b[2J\u009Bb"_s << "\"a [2J b\""_ba;
        QTest::newRow("empty") << u""_s << "\"\""_ba;
        QTest::newRow("equals") << u"=1+1"_s << "\"'=1+1\""_ba;
        QTest::newRow("plus") << u"+1"_s << "\"'+1\""_ba;
        QTest::newRow("minus") << u"-1"_s << "\"'-1\""_ba;
        QTest::newRow("at") << u"@SUM(A1)"_s << "\"'@SUM(A1)\""_ba;
        QTest::newRow("tab") << u"\t=1"_s << "\"' =1\""_ba;
        QTest::newRow("carriage return") << u"\r=1"_s << "\"' =1\""_ba;
        QTest::newRow("quoted formula") << u"=\"x\""_s << "\"'=\"\"x\"\"\""_ba;
        QTest::newRow("inside") << u"a=1"_s << "\"a=1\""_ba;
    }
    void csvQuotesCellsAndEscapesFormulas()
    {
        QFETCH(const QString, cell);
        QFETCH(const QByteArray, csv);
        QCOMPARE(formatted(resultWith(cell), Format::Csv, false),
                 "\"name\",\"number\"\r\n" + csv + ",\"3\"\r\n");
    }

    void jsonKeepsTheText()
    {
        const QString hostile = u"a\x1b\"b\n\u202E\x7F\u0080\u009F\u00A0\u00C2\u0420"_s;
        const QByteArray json = formatted(resultWith(hostile), Format::Json, false);
        for (const QChar c : QString::fromUtf8(json))
            QVERIFY(c == u'\n' || c.category() != QChar::Other_Control);
        QCOMPARE(QJsonDocument::fromJson(json)[u"name"_s].toString(), hostile);
    }
};

QTEST_APPLESS_MAIN(tst_ResultWriter)
#include "tst_ResultWriter.moc"
