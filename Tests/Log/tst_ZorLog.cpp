// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Wait.h"

#include <QDateTime>
#include <QDir>
#include <QRegularExpression>
#include <QTest>

#include <atomic>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QStringList rawLines(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    lines.removeLast();
    lines.removeIf([](const QString &line) { return line.contains("[ZorLog:216]"_L1); });
    return lines;
}

QStringList threadsOfThisProcess()
{
    return QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
}

/// Whether the thread waits. A thread that has ended does not.
bool isAsleep(int thread)
{
    QFile status(u"/proc/self/task/%1/stat"_s.arg(thread));
    return status.open(QIODevice::ReadOnly) && status.readAll().contains(") S ");
}

/// The threads when the first sink of a log was last created: it queries its terminal.
QStringList threadsAtTheSink;

} // namespace

// The linker's --wrap puts this between the program and the system, and chooses its name.
// NOLINTNEXTLINE(bugprone-reserved-identifier)
extern "C" int __wrap_isatty(int)
{
    threadsAtTheSink = threadsOfThisProcess();
    return 0;
}

class tst_ZorLog final : public QObject
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

    void cleanup() { Zor::Log::release(); }

    void callsWithoutALogAreDropped()
    {
        QVERIFY(!Zor::Log::instance());
        ZOR_LOG(info, "to nobody: %d", 1);
        LogCapture capture;
        QCOMPARE(capture.texts(), QStringList());
    }

    void lineHasDateThreadSourceAndText()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        Zor::Log::init(path.toStdString());
        Zor::Log::instance()->info("Source", 57, "Bühne");
        Zor::Log::release();

        const QStringList lines = rawLines(path);
        QCOMPARE(lines.size(), 1);
        const QRegularExpression form(
            u"^\\[(\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d) T:(\\d+)\\]\\[Source:57\\] Bühne$"_s);
        const QRegularExpressionMatch match = form.match(lines.first());
        QVERIFY2(match.hasMatch(), qPrintable(lines.first()));
        const auto time = QDateTime::fromString(match.captured(1), u"yyyy-MM-dd HH:mm:ss"_s);
        QVERIFY(time >= before && time <= QDateTime::currentDateTime());
        QCOMPARE(match.captured(2).toInt(), gettid());
    }

    void lineNumberIsThatOfTheCall()
    {
        LogCapture capture;
        const int before = __LINE__;
        ZOR_LOG(info, "text");
        QCOMPARE(capture.lines().size(), 1);
        QVERIFY2(capture.lines().first().endsWith(u":%1] text"_s.arg(before + 1)),
                 qPrintable(capture.lines().first()));
    }

    void allLevelsArrive()
    {
        LogCapture capture;
        ZOR_LOG(debug, "one");
        ZOR_LOG(info, "two");
        ZOR_LOG(error, "three");
        QCOMPARE(capture.texts(), (QStringList{u"one"_s, u"two"_s, u"three"_s}));
    }

    void textOfAnyLengthArrivesWhole_data()
    {
        QTest::addColumn<int>("length");
        for (const int length : {0, 1, 126, 127, 128, 129, 1023, 20000})
            QTest::addRow("%d bytes", length) << length;
    }
    void textOfAnyLengthArrivesWhole()
    {
        QFETCH(const int, length);
        QByteArray text(length, 'x');
        if (length > 0)
            text.back() = '!';
        LogCapture capture;
        ZOR_LOG(info, "%s", text.constData());
        QCOMPARE(capture.texts(), QStringList(QString::fromUtf8(text)));
    }

    void formatsLikePrintf()
    {
        LogCapture capture;
        ZOR_LOG(info, "%s | %03d | %.1f | %%", "text", 7, 2.25);
        const QByteArray longText(200, 'y');
        ZOR_LOG(error, "%s %d", longText.constData(), 42);
        QCOMPARE(capture.texts(), (QStringList{u"text | 007 | 2.2 | %"_s,
                                               QString::fromLatin1(longText) + u" 42"_s}));
    }

    void textIsNeverAFormat()
    {
        LogCapture capture;
        ZOR_LOG(info, "%s", "%s %n {0} {} {{");
        QCOMPARE(capture.texts(), QStringList(u"%s %n {0} {} {{"_s));
    }

    void unformattableTextIsReplaced()
    {
        const std::wstring noCharacter(1, wchar_t(0xD800));
        LogCapture capture;
        ZOR_LOG(debug, "before %ls", noCharacter.c_str());
        const QStringList lines = capture.lines();
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().endsWith("] Error formatting the log line"_L1),
                 qPrintable(lines.first()));
    }

    void sourceIsCutAfterTheLastBackslash_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QString>("shown");
        QTest::newRow("as the build gives it")
            << "..\\Sources\\Service\\ServerListenerService"_ba << u"ServerListenerService"_s;
        QTest::newRow("no backslash") << "Sources/Log/ZorLog.cpp"_ba << u"Sources/Log/ZorLog.cpp"_s;
        QTest::newRow("backslash at the end") << "..\\Sources\\"_ba << u""_s;
    }
    void sourceIsCutAfterTheLastBackslash()
    {
        QFETCH(const QByteArray, path);
        QFETCH(const QString, shown);
        LogCapture capture;
        Zor::logFormatted(&Zor::Log::info, path.constData(), 3, "%s", "text");
        QCOMPARE(capture.lines(), QStringList(u"[%1:3] text"_s.arg(shown)));
    }

    void controlCharactersAreEscaped_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("line");
        QTest::newRow("line feed") << "a\nb"_ba << u"a\\nb"_s;
        QTest::newRow("carriage return and line feed") << "a\r\n"_ba << u"a\\r\\n"_s;
        QTest::newRow("tab") << "a\tb"_ba << u"a\\tb"_s;
        QTest::newRow("escape sequence") << "\x1b[31mred"_ba << u"\\x1B[31mred"_s;
        QTest::newRow("delete") << "\x7f"_ba << u"\\x7F"_s;
        QTest::newRow("control sequence introducer") << "a\xc2\x9bm"_ba << u"a\\x9Bm"_s;
        QTest::newRow("next line") << "a\xc2\x85"_ba << u"a\\x85"_s;
        QTest::newRow("neighbours of controls")
            << " ~\xc2\xa0\xc3\x9b\xe2\x80\x9b"_ba << u" ~\u00A0\u00DB\u201B"_s;
        QTest::newRow("separators") << "a\u2028b\u2029"_ba << u"a\\u2028b\\u2029"_s;
        QTest::newRow("direction marks") << "\u061C\u200E\u200F"_ba << u"\\u061C\\u200E\\u200F"_s;
        QTest::newRow("embeddings and overrides")
            << "\u202A\u202B\u202C\u202D\u202E"_ba << u"\\u202A\\u202B\\u202C\\u202D\\u202E"_s;
        QTest::newRow("isolates") << "\u2066\u2067\u2068\u2069"_ba
                                  << u"\\u2066\\u2067\\u2068\\u2069"_s;
        QTest::newRow("neighbours of direction marks")
            << "\u061B\u061D\u200D\u2010\u2027\u202F\u2065\u206A"_ba
            << u"\u061B\u061D\u200D\u2010\u2027\u202F\u2065\u206A"_s;
        QTest::newRow("stray bytes") << "\x80 \xBF \xFE"_ba << u"\\x80 \\xBF \\xFE"_s;
        QTest::newRow("too long forms") << "\xC0\x8A \xE0\x80\x8A \xF0\x80\x80\x8A"_ba
                                        << u"\\xC0\\x8A \\xE0\\x80\\x8A \\xF0\\x80\\x80\\x8A"_s;
        QTest::newRow("surrogate") << "\xED\xA0\x80"_ba << u"\\xED\\xA0\\x80"_s;
        QTest::newRow("beyond Unicode") << "\xF4\x90\x80\x80"_ba << u"\\xF4\\x90\\x80\\x80"_s;
        QTest::newRow("cut off") << "\xE2\x80"_ba << u"\\xE2\\x80"_s;
        QTest::newRow("cut off by a letter")
            << "\xE2\x80x\xE2\x80\xA8"_ba << u"\\xE2\\x80x\\u2028"_s;
        QTest::newRow("the ends of each length")
            << "~\u00A0\u07FF\u0800\uD7FF\uE000\uFFFD\U00010000\U0010FFFD"_ba
            << u"~\u00A0\u07FF\u0800\uD7FF\uE000\uFFFD\U00010000\U0010FFFD"_s;
        QTest::newRow("UTF-8 is not changed") << "Bühne 舞台 😀"_ba << u"Bühne 舞台 😀"_s;
        QTest::newRow("backslash is not changed") << "a\\nb"_ba << u"a\\nb"_s;
    }
    void controlCharactersAreEscaped()
    {
        QFETCH(const QByteArray, text);
        LogCapture capture;
        ZOR_LOG(info, "%s", text.constData());
        QFETCH(const QString, line);
        QCOMPARE(capture.texts(), QStringList(line));
    }

    void lineOrderIsKeptBeyondTheQueueSize()
    {
        constexpr int count = 20000;
        LogCapture capture;
        for (int i = 0; i < count; ++i)
            ZOR_LOG(debug, "%d", i);
        const QStringList texts = capture.texts();
        QCOMPARE(texts.size(), count);
        for (int i = 0; i < count; ++i)
            QCOMPARE(texts[i].toInt(), i);
    }

    /// The file of the log is a full pipe, so the worker cannot write.
    void callerWaitsOnlyForAFullQueue()
    {
        constexpr int queueSize = 4096;
        constexpr int count = 2 * queueSize;
        const QTemporaryDir directory;
        const QByteArray path = directory.filePath(u"Brenvoka.log"_s).toUtf8();
        QCOMPARE(mkfifo(path.constData(), 0600), 0);
        const int pipe = open(path.constData(), O_RDWR | O_NONBLOCK);
        QVERIFY(pipe >= 0);
        QVERIFY(fcntl(pipe, F_SETPIPE_SZ, 4096) >= 4096);
        while (::write(pipe, "\n", 1) == 1) {
        }

        Zor::Log::init(path.toStdString());
        std::atomic<int> thread = 0;
        std::atomic<int> logged = 0;
        std::thread caller([&thread, &logged] {
            thread = gettid();
            for (; logged < count; ++logged)
                ZOR_LOG(info, "line");
        });
        const bool reached = waitFor([&logged] { return logged >= queueSize; });
        const bool stopped = waitFor([&] { return logged == count || isAsleep(thread); });
        const int loggedByThen = logged;
        QVERIFY(fcntl(pipe, F_SETPIPE_SZ, 1 << 20) >= 0); // room for all of them
        caller.join();
        Zor::Log::release();
        ::close(pipe);
        QVERIFY2(reached && stopped && loggedByThen < count,
                 qPrintable(u"%1 lines"_s.arg(loggedByThen)));
    }

    void lineIsWrittenWithoutAFollowingOne()
    {
        LogCapture capture;
        ZOR_LOG(info, "alone");
        EVENTUALLY(rawLines(capture.path()).join(u'\n').endsWith(u"] alone"_s));
    }

    void releaseWritesEverything()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        Zor::Log::init(path.toStdString());
        for (int i = 0; i < 3000; ++i)
            ZOR_LOG(info, "line");
        Zor::Log::release();
        QCOMPARE(rawLines(path).size(), 3000);
    }

    void copiedInstanceOutlivesRelease()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath(u"Brenvoka.log"_s);
        Zor::Log::init(path.toStdString());
        std::shared_ptr<Zor::Log> copy = Zor::Log::instance();
        Zor::Log::release();
        copy->info("Source", 1, "still here");
        copy.reset();
        QCOMPARE(rawLines(path).size(), 1);
    }

    void logHasOneWorkerThread()
    {
        // The worker of an earlier log stays listed for a moment after it was joined.
        const QStringList before = threadsOfThisProcess();
        LogCapture capture;
        ZOR_LOG(info, "text");
        QCOMPARE(capture.texts().size(), 1);
        QStringList added = threadsOfThisProcess();
        added.removeIf([&before](const QString &thread) { return before.contains(thread); });
        QCOMPARE(added.size(), 1);
    }

    void sinksAreCreatedBeforeTheWorker()
    {
        threadsAtTheSink.clear();
        const QStringList before = threadsOfThisProcess();
        const LogCapture capture;
        QVERIFY(!threadsAtTheSink.isEmpty());
        for (const QString &thread : threadsAtTheSink)
            QVERIFY(before.contains(thread));
    }

    void startIsLoggedWithItsOwnSource()
    {
        const QStringList before = threadsOfThisProcess();
        LogCapture capture;
        QCOMPARE(capture.texts(), QStringList()); // the worker has written
        Zor::LogProbe::announceWorker(*Zor::Log::instance());
        QCOMPARE(capture.texts(), QStringList());

        QFile file(capture.path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QRegularExpression form(
            u"\\]\\[ZorLog:216\\] Async log thread started with thread id: (\\d+)\n"_s);
        const QString content = QString::fromUtf8(file.readAll());
        const QRegularExpressionMatch match = form.match(content);
        QVERIFY2(match.hasMatch(), qPrintable(content));
        QVERIFY(threadsOfThisProcess().contains(match.captured(1)));
        QVERIFY(!before.contains(match.captured(1)));
    }

    void initReplacesAndReleasesTheEarlierLog()
    {
        const QTemporaryDir directory;
        const QString first = directory.filePath(u"first.log"_s);
        const QString second = directory.filePath(u"second.log"_s);
        Zor::Log::init(first.toStdString());
        const std::weak_ptr<Zor::Log> earlier = Zor::Log::instance();
        ZOR_LOG(info, "first");
        Zor::Log::init(second.toStdString());
        QVERIFY(earlier.expired());
        ZOR_LOG(info, "second");
        Zor::Log::release();
        for (const QString &path : {first, second}) {
            QCOMPARE(rawLines(path).size(), 1);
            QVERIFY(rawLines(path).first().endsWith(u"] "_s + QFileInfo(path).baseName()));
        }
    }

    void unopenableFileThrowsAndKeepsTheEarlierLog()
    {
        LogCapture capture;
        const QTemporaryDir directory;
        QVERIFY_EXCEPTION_THROWN(Zor::Log::init(directory.path().toStdString()), std::exception);
        ZOR_LOG(info, "still here");
        QCOMPARE(capture.texts(), QStringList(u"still here"_s));
    }
};

QTEST_GUILESS_MAIN(tst_ZorLog)
#include "tst_ZorLog.moc"
