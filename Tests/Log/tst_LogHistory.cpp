// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/FailOnWarning.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// The history of old logs: what a start moves, keeps and deletes.
class tst_LogHistory final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        directory = std::make_unique<QTemporaryDir>();
    }

    void cleanup() { directory.reset(); }

    void firstStartCreatesTheHistoryAndMovesNothing()
    {
        start();
        QVERIFY(QFileInfo(directory->filePath(u"loghistory"_s)).isDir());
        QCOMPARE(history(), QStringList());
        QVERIFY(QFile::exists(directory->filePath(u"Brenvoka.log"_s)));
    }

    void lastLogBecomesNumber1()
    {
        write(u"Brenvoka.log"_s, "last run\n");
        start();
        QCOMPARE(history(), QStringList{u"Brenvoka.log.1"_s});
        QCOMPARE(read(u"loghistory/Brenvoka.log.1"_s), "last run\n"_ba);
        QVERIFY(!read(u"Brenvoka.log"_s).contains("last run"));
    }

    void eleventhStartDropsTheOldest()
    {
        for (int run = 1; run <= 11; ++run) {
            Zor::Log log(directory->filePath(u"Brenvoka.log"_s).toStdString());
            log.info("Run", run, "text");
        }
        QStringList expected;
        for (int number = 1; number <= 9; ++number) {
            expected << u"Brenvoka.log.%1"_s.arg(number);
            QCOMPARE(runs(u"loghistory/"_s + expected.last()),
                     QByteArrayList{runLine(11 - number)});
        }
        QCOMPARE(history(), expected);
        QCOMPARE(runs(u"Brenvoka.log"_s), QByteArrayList{runLine(11)});
    }

    void gapMovesWithTheOtherNumbers()
    {
        write(u"loghistory/Brenvoka.log.2"_s, "two");
        write(u"loghistory/Brenvoka.log.5"_s, "five");
        write(u"Brenvoka.log"_s, "last run");
        start();
        QCOMPARE(history(),
                 (QStringList{u"Brenvoka.log.1"_s, u"Brenvoka.log.3"_s, u"Brenvoka.log.6"_s}));
        QCOMPARE(read(u"loghistory/Brenvoka.log.1"_s), "last run"_ba);
        QCOMPARE(read(u"loghistory/Brenvoka.log.3"_s), "two"_ba);
        QCOMPARE(read(u"loghistory/Brenvoka.log.6"_s), "five"_ba);
    }

    void number0IsMovedAndThenReplaced()
    {
        write(u"loghistory/Brenvoka.log.0"_s, "zero");
        start();
        QCOMPARE(history(), QStringList{u"Brenvoka.log.1"_s});
        QCOMPARE(read(u"loghistory/Brenvoka.log.1"_s), "zero"_ba);
        write(u"loghistory/Brenvoka.log.0"_s, "zero");
        write(u"Brenvoka.log"_s, "last run");
        start();
        QCOMPARE(read(u"loghistory/Brenvoka.log.1"_s), "last run"_ba);
    }

    void otherFilesAreNotTouched()
    {
        write(u"loghistory/Brenvoka.log"_s, "a");
        write(u"loghistory/Brenvoka.log.10"_s, "b");
        write(u"loghistory/Other.log.1"_s, "c");
        start();
        QCOMPARE(history(),
                 (QStringList{u"Brenvoka.log"_s, u"Brenvoka.log.10"_s, u"Other.log.1"_s}));
    }

    void extensionIsKeptInTheName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("one extension") << u"Brenvoka.log"_s;
        QTest::newRow("two extensions") << u"Brenvoka.tar.log"_s;
        QTest::newRow("space and UTF-8") << u"Bühne links.log"_s;
    }
    void extensionIsKeptInTheName()
    {
        QFETCH(const QString, name);
        write(name, "last run");
        {
            const Zor::Log log(directory->filePath(name).toStdString());
        }
        QCOMPARE(history(), QStringList{name + u".1"_s});
    }

    void missingParentIsCreated()
    {
        {
            const Zor::Log log(directory->filePath(u"a/b/Brenvoka.log"_s).toStdString());
        }
        QVERIFY(QFileInfo(directory->filePath(u"a/b/loghistory"_s)).isDir());
        QVERIFY(QFile::exists(directory->filePath(u"a/b/Brenvoka.log"_s)));
    }

    void withoutAHistoryTheLogIsAppended()
    {
        write(u"loghistory"_s, "a file in the way");
        write(u"Brenvoka.log"_s, "last run\n");
        {
            Zor::Log log(directory->filePath(u"Brenvoka.log"_s).toStdString());
            log.info("Source", 1, "this run");
        }
        const QByteArray content = read(u"Brenvoka.log"_s);
        QVERIFY(content.startsWith("last run\n"));
        QVERIFY(content.endsWith("][Source:1] this run\n"));
        QCOMPARE(read(u"loghistory"_s), "a file in the way"_ba);
    }

    void failedRenameDoesNotStopTheOthers()
    {
        // A directory that is not empty cannot be replaced.
        write(u"loghistory/Brenvoka.log.9/inside"_s, "x");
        write(u"loghistory/Brenvoka.log.8/inside"_s, "x");
        write(u"loghistory/Brenvoka.log.7"_s, "seven");
        write(u"loghistory/Brenvoka.log.6"_s, "six");
        write(u"Brenvoka.log"_s, "last run");
        start();
        QCOMPARE(history(), (QStringList{u"Brenvoka.log.1"_s, u"Brenvoka.log.7"_s}));
        QCOMPARE(read(u"loghistory/Brenvoka.log.7"_s), "six"_ba);
        QCOMPARE(read(u"loghistory/Brenvoka.log.1"_s), "last run"_ba);
    }

private:
    /// One run of the program that logs nothing.
    void start() const { const Zor::Log log(directory->filePath(u"Brenvoka.log"_s).toStdString()); }

    void write(const QString &name, const QByteArray &content) const
    {
        QVERIFY(QFileInfo(directory->filePath(name)).dir().mkpath(u"."_s));
        QFile file(directory->filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
    }

    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(directory->filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// The texts of a log, without its first line.
    [[nodiscard]] QByteArrayList runs(const QString &name) const
    {
        QByteArrayList lines = read(name).trimmed().split('\n');
        for (QByteArray &line : lines)
            line.remove(0, line.indexOf(']') + 1);
        lines.removeIf([](const QByteArray &line) { return line.startsWith("[ZorLog:216]"); });
        return lines;
    }

    [[nodiscard]] static QByteArray runLine(int run)
    {
        return "[Run:" + QByteArray::number(run) + "] text";
    }

    [[nodiscard]] QStringList history() const
    {
        return QDir(directory->filePath(u"loghistory"_s)).entryList(QDir::Files, QDir::Name);
    }

    std::unique_ptr<QTemporaryDir> directory;
};

QTEST_GUILESS_MAIN(tst_LogHistory)
#include "tst_LogHistory.moc"
