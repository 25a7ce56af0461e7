// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ProgramFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Wait.h"

#include <QDirIterator>
#include <QTest>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString program = QStringLiteral(BRENVOKA_PROGRAM);
const QString programWithoutData = QStringLiteral(BRENVOKA_PROGRAM_WITHOUT_DATA);

QProcessEnvironment withTemporaryDirectory(const QString &path)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"TMPDIR"_s, path);
    return environment;
}

void write(const QString &path, const QByteArray &content)
{
    QVERIFY(QFileInfo(path).dir().mkpath(u"."_s));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

} // namespace

/// The program as a process: how it starts, and what it leaves behind.
class tst_Start final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<ProgramFixture>();
    }

    void cleanup() { fixture.reset(); }

    void startsWithALogAndWithoutSettings()
    {
        const Child first(program);
        EVENTUALLY(isUp());
        QVERIFY(QFile::exists(path(u"data/Zorvik/Brenvoka/logs/Brenvoka.log"_s)));
        QVERIFY(QFileInfo(path(u"data/Zorvik/Brenvoka/logs/loghistory"_s)).isDir());
        QVERIFY(!QFile::exists(path(u"config/Zorvik/Brenvoka/settings.ini"_s)));
    }

    void secondInstanceEndsSilentlyAndTouchesNothing()
    {
        const Child first(program);
        EVENTUALLY(isUp());
        const QStringList before = files();
        QVERIFY(!before.isEmpty());

        Child second(program);
        QVERIFY(second.waitForFinished(patience));
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(second.readAll(), QByteArray());
        QCOMPARE(files(), before);
        QCOMPARE(first.state(), QProcess::Running);
    }

    void killedProgramWritesNothingAndStartsAgainAtOnce()
    {
        {
            Child first(program);
            EVENTUALLY(isUp());
            first.kill();
            QVERIFY(first.waitForFinished(patience));
        }
        QVERIFY(!QFile::exists(path(u"config/Zorvik/Brenvoka/settings.ini"_s)));
        QVERIFY(QDir(path(u"cache"_s)).removeRecursively());

        const Child second(program);
        EVENTUALLY(isUp());
        QCOMPARE(second.state(), QProcess::Running);
        QVERIFY(QFile::exists(path(u"data/Zorvik/Brenvoka/logs/loghistory/Brenvoka.log.1"_s)));
    }

    void runsWithoutALog_data()
    {
        QTest::addColumn<QString>("inTheWay");
        QTest::addColumn<bool>("directory");
        QTest::newRow("data directory cannot be created") << u"data/Zorvik"_s << false;
        QTest::newRow("log directory cannot be created") << u"data/Zorvik/Brenvoka/logs"_s << false;
        QTest::newRow("the log can't be opened")
            << u"data/Zorvik/Brenvoka/logs/Brenvoka.log"_s << true;
    }
    void runsWithoutALog()
    {
        QFETCH(const QString, inTheWay);
        QFETCH(const bool, directory);
        const QFileInfo obstacle(path(inTheWay));
        QVERIFY(QDir().mkpath(directory ? obstacle.filePath() : obstacle.path()));
        if (!directory)
            write(obstacle.filePath(), {});

        Child child(program);
        EVENTUALLY(isUp());
        QCOMPARE(child.state(), QProcess::Running);
        QCOMPARE(QFileInfo(obstacle.filePath()).isDir(), directory);
        for (const QString &file : files())
            QVERIFY2(!file.contains("Brenvoka.log"_L1), qPrintable(file));
    }

    void logIsInTheTemporaryDirectoryWithoutAnother()
    {
        QVERIFY(QDir().mkpath(path(u"temporary"_s)));
        const Child child(programWithoutData, {}, withTemporaryDirectory(path(u"temporary"_s)));
        EVENTUALLY(isUp());
        QVERIFY(QFile::exists(path(u"temporary/logs/Brenvoka.log"_s)));
        QCOMPARE(files(), QStringList());
    }

    void runsWithoutALogWhereThereIsNoDirectoryAtAll()
    {
        QVERIFY(!QFile::exists(u"/logs"_s));
        const Child child(programWithoutData, {}, withTemporaryDirectory(QString()));
        EVENTUALLY(isUp());
        QCOMPARE(child.state(), QProcess::Running);
        QVERIFY(!QFile::exists(u"/logs"_s));
        QCOMPARE(files(), QStringList());
    }

    void closingTheWindowWritesTheSettings_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        QTest::newRow("first run") << QByteArray()
                                   << "[General]\n"
                                      "selectedIconSize=1\n"
                                      "selectedViewMode=false\n"
                                      "warningLevel=4294967295\n"_ba;
        QTest::newRow("later run") << "[General]\n"
                                      "selectedIconSize=2\n"
                                      "selectedServerA=x\n"
                                      "selectedViewMode=true\n"
                                      "warningLevel=5\n"_ba
                                   << "[General]\n"
                                      "selectedIconSize=2\n"
                                      "selectedViewMode=true\n"
                                      "warningLevel=5\n"_ba;
    }
    void closingTheWindowWritesTheSettings()
    {
        QFETCH(const QByteArray, before);
        const QString settings = path(u"config/Zorvik/Brenvoka/settings.ini"_s);
        if (!before.isNull())
            write(settings, before);

        Child display(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s});
        EVENTUALLY(display.canReadLine() || display.state() == QProcess::NotRunning);
        const QByteArray number = display.readLine().trimmed();
        QVERIFY2(!number.isEmpty(), "no virtual display");

        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"DISPLAY"_s, u":"_s + QString::fromLatin1(number));
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        Child child(program, {}, environment);
        EVENTUALLY(isUp());
        QCOMPARE(contentOf(settings), before);
        Child quit(u"xdotool"_s,
                   {u"search"_s, u"--sync"_s, u"--onlyvisible"_s, u"--name"_s, u"Brenvoka"_s,
                    u"windowfocus"_s, u"--sync"_s, u"key"_s, u"ctrl+q"_s},
                   environment);
        QVERIFY2(child.waitForFinished(patience), quit.readAll().constData());
        QCOMPARE(child.exitStatus(), QProcess::NormalExit);
        QCOMPARE(child.exitCode(), 0);
        QTEST(contentOf(settings), "after");
    }

private:
    [[nodiscard]] QString path(const QString &relative) const { return fixture->path(relative); }
    [[nodiscard]] bool isUp() const { return fixture->isProgramUp(); }
    /// Every file of the program's log and settings with its size and time.
    [[nodiscard]] QStringList files() const
    {
        QStringList all;
        for (const QString &root : {u"data"_s, u"config"_s}) {
            QDirIterator iterator(path(root), QDir::Files, QDirIterator::Subdirectories);
            while (iterator.hasNext()) {
                const QFileInfo file(iterator.next());
                all << u"%1 %2 %3"_s.arg(fixture->directory().relativeFilePath(file.filePath()),
                                         QString::number(file.size()),
                                         file.lastModified().toString(Qt::ISODateWithMs));
            }
        }
        all.sort();
        return all;
    }

    std::unique_ptr<ProgramFixture> fixture;
};

QTEST_GUILESS_MAIN(tst_Start)
#include "tst_Start.moc"
