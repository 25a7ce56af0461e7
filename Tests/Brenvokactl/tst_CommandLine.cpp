// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/CommandLine.h"

#include "Brenvokactl/CommandList.h"

#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// The arguments of brenvokactl.
class tst_CommandLine final : public QObject
{
    Q_OBJECT

private slots:
    void readsTheOptionsOfACommand()
    {
        const CommandLine line = parse(u"plan --folder 7 1.2.3.4 --slot 3/17 --folder 255 "
                                       "--slot 0/255 b.snapshot --format json --timeout 20"_s);
        QCOMPARE(line.error, QString());
        QCOMPARE(line.command, u"plan"_s);
        QCOMPARE(line.arguments, (QStringList{u"1.2.3.4"_s, u"b.snapshot"_s}));
        QCOMPARE(line.folders, (QList<int>{7, 255}));
        QCOMPARE(line.visuals, (QList<VisualRef>{{3, 17}, {0, 255}}));
        QCOMPARE(line.format, Format::Json);
        QCOMPARE(line.timeout, std::chrono::seconds(20));
    }

    void readsSwitchesAndTimes()
    {
        const CommandLine listen = parse(u"listen --for 3 --share --format csv"_s);
        QCOMPARE(listen.error, QString());
        QCOMPARE(listen.listenFor, std::chrono::seconds(3));
        QVERIFY(listen.share);
        QCOMPARE(listen.format, Format::Csv);
        QVERIFY(parse(u"check 1.2.3.4 --stream"_s).stream);
        QCOMPARE(parse(u"check 1.2.3.4 --timeout 3600"_s).timeout, std::chrono::hours(1));
    }

    void hasDefaults()
    {
        const CommandLine line = parse(u"check 1.2.3.4"_s);
        QCOMPARE(line.error, QString());
        QCOMPARE(line.format, Format::Text);
        QCOMPARE(line.timeout, std::chrono::seconds(10));
        QCOMPARE(line.listenFor, std::chrono::seconds(5));
        QVERIFY(!line.share);
        QVERIFY(!line.stream);
    }

    void refusesOtherArguments_data()
    {
        QTest::addColumn<QString>("words");
        for (const QString &words : {u""_s,
                                     u"sync a b"_s,
                                     u"compare a"_s,
                                     u"compare a b c"_s,
                                     u"listen a"_s,
                                     u"check"_s,
                                     u"save a"_s,
                                     u"report"_s,
                                     u"plan a b --folder 256"_s,
                                     u"plan a b --folder -1"_s,
                                     u"plan a b --folder x"_s,
                                     u"plan a b --slot 3"_s,
                                     u"plan a b --slot 3/0"_s,
                                     u"plan a b --slot 3/256"_s,
                                     u"plan a b --slot 3/4/5"_s,
                                     u"plan a b --slot /"_s,
                                     u"plan a b --folder"_s,
                                     u"listen --for 0"_s,
                                     u"listen --for 3601"_s,
                                     u"check a --timeout 0"_s,
                                     u"check a --timeout 1.5"_s,
                                     u"check a --format xml"_s,
                                     u"check a --share"_s,
                                     u"listen --stream"_s,
                                     u"compare a b --folder 3"_s,
                                     u"check a --unknown"_s,
                                     u"save a caf\uFFFD"_s})
            QTest::newRow(words.isEmpty() ? "nothing" : qPrintable(words)) << words;
    }
    void refusesOtherArguments()
    {
        QFETCH(const QString, words);
        const QString error = parse(words).error;
        QVERIFY(!error.isEmpty());
        QVERIFY2(!error.contains(u'\n'), qPrintable(error));
    }

    void firstErrorIsReported()
    {
        const QString error = parse(u"plan a b --folder x --slot y"_s).error;
        QVERIFY2(error.startsWith(u"--folder"_s), qPrintable(error));
    }

    void helpDescribesEveryOption()
    {
        for (const Command &command : commands()) {
            const CommandLine line = parse(command.name + u" --help"_s);
            QCOMPARE(line.error, QString());
            for (const QCommandLineOption &option : command.options)
                QVERIFY(line.help.contains(u"--"_s + option.names().constFirst()));
            QVERIFY(line.help.contains(u"Exit code"_s));
            QVERIFY(parse(u"--help"_s).help.contains(u"\n  "_s + command.name));
        }
    }

    void overviewHasTheFirstSentenceOfEachCommand()
    {
        const QString overview = parse(u"-h"_s).help;
        QCOMPARE(overview, parse(u"--help"_s).help);
        QVERIFY2(overview.contains(
                     u"\n  save     Saves the library of a server, but no media, to a file, "
                     "which \"compare\" and \"plan\" accept in place of an "
                     "address.\n"_s),
                 qPrintable(overview));
    }

    void versionIsThatOfTheProject()
    {
        QCOMPARE(parse(u"--version"_s).help, u"brenvokactl " BRENVOKA_VERSION "\n"_s);
    }

private:
    static CommandLine parse(const QString &words)
    {
        return CommandLine::parse(QStringList(u"brenvokactl"_s) +
                                  words.split(u' ', Qt::SkipEmptyParts));
    }
};

QTEST_GUILESS_MAIN(tst_CommandLine)
#include "tst_CommandLine.moc"
