// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/Channels.h"
#include "Support/FailOnWarning.h"

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <ctime>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Redirects standard error while it lives.
class StandardError final
{
public:
    explicit StandardError(int replacement)
        : before(dup(STDERR_FILENO))
    {
        dup2(replacement, STDERR_FILENO);
    }
    ~StandardError()
    {
        dup2(before, STDERR_FILENO);
        close(before);
    }
    Q_DISABLE_COPY_MOVE(StandardError)

private:
    int before;
};

using OpenChannel = std::unique_ptr<Channel> (*)();

} // namespace

Q_DECLARE_METATYPE(OpenChannel)

/// The debugger output without a debugger: the terminal.
class tst_DebuggerSink final : public QObject
{
    Q_OBJECT

private slots:
    /// Most test machines use UTC, where local time is not visible.
    void initTestCase()
    {
        qputenv("TZ", "TEST-05:45");
        tzset();
    }

    void init() { failOnAnyWarning(); }

    void logWithoutAFileShowsTheTimeZone()
    {
        const std::unique_ptr<Channel> channel = openTerminal();
        QVERIFY(channel);
        {
            const StandardError redirected(channel->writer);
            Zor::Log log;
            log.debug("Source", 7, "Bühne");
        }
        const QRegularExpression form(
            u"\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+05:45\\]\\[T:%1\\]"_s.arg(gettid()) +
            u"\\[Source:7\\] Bühne\\n$"_s);
        const QString output = QString::fromUtf8(channel->readUntil("Bühne\n"));
        QVERIFY2(form.match(output).hasMatch(), qPrintable(output));
    }

    void logWithAFileShowsTheSameLineAsTheFile()
    {
        const std::unique_ptr<Channel> channel = openTerminal();
        QVERIFY(channel);
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        {
            const StandardError redirected(channel->writer);
            Zor::Log log(path.toStdString());
            log.error("Source", 7, "text");
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY(content.endsWith("[Source:7] text\n"));
        QCOMPARE(channel->readUntil("[Source:7] text\n"), content);
    }

    void pipeGetsNoText()
    {
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        {
            const StandardError redirected(channel->writer);
            Zor::Log log;
            log.error("Source", 7, "text");
        }
        QCOMPARE(channel->readAll(), QByteArray());
    }

    void terminalThatStopsDoesNotStopTheLog_data()
    {
        QTest::addColumn<OpenChannel>("open");
        QTest::newRow("without a reader") << &openTerminal;
        QTest::newRow("stopped") << &openStoppedTerminal;
    }
    void terminalThatStopsDoesNotStopTheLog()
    {
        QFETCH(const OpenChannel, open);
        const std::unique_ptr<Channel> channel = open();
        QVERIFY(channel);
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        {
            const StandardError redirected(channel->writer);
            Zor::Log log(path.toStdString());
            for (int line = 0; line < 5000; ++line)
                log.info("Source", line, "text");
        }
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().endsWith("[Source:4999] text\n"));
    }

    // Hangs if it fails: the worker waits for the pipe, and the caller for the worker.
    void fullDiskAndFullStandardErrorStopNobody()
    {
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        channel->fill();
        logToAFullDisk(*channel, 5000);
        QVERIFY(!channel->readAll().contains("cannot"));
    }

    void fullDiskIsReportedOnStandardError()
    {
        const std::unique_ptr<Channel> channel = openPipe();
        QVERIFY(channel);
        QByteArray text;
        (void)waitFor([&] {
            logToAFullDisk(*channel, 1000);
            return !(text += channel->readAll()).isEmpty();
        });
        QVERIFY2(text.startsWith("The log cannot be written: "), text);
        QVERIFY(text.count('\n') < 100); // one in a second, of all logs
    }

private:
    static void logToAFullDisk(const Channel &standardError, int lines)
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        QVERIFY(QFile::link(u"/dev/full"_s, path));
        const StandardError redirected(standardError.writer);
        Zor::Log log(path.toStdString());
        for (int line = 0; line < lines; ++line)
            log.info("Source", 7, "line");
    }
};

QTEST_GUILESS_MAIN(tst_DebuggerSink)
#include "tst_DebuggerSink.moc"
