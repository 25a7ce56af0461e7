// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Support/FailOnWarning.h"

#include <QByteArray>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

#include <ctime>
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Puts something else in the place of standard error for as long as it lives.
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

/// Both ends of a pipe or of a terminal; reading never waits.
class Channel final
{
public:
    Channel(int readEnd, int writeEnd)
        : reader(readEnd)
        , writer(writeEnd)
    {
        fcntl(reader, F_SETFL, O_NONBLOCK);
    }
    ~Channel()
    {
        close(reader);
        close(writer);
    }
    Q_DISABLE_COPY_MOVE(Channel)

    [[nodiscard]] QString readAll() const
    {
        QByteArray all(65536, '\0');
        all.truncate(qMax<qsizetype>(0, read(reader, all.data(), size_t(all.size()))));
        return QString::fromUtf8(all).remove(u'\r');
    }
    /// Reads until there is a line that ends so: a terminal hands on what was written at its own
    /// time.
    [[nodiscard]] QString readUntil(const QString &ending) const
    {
        QString all;
        (void)QTest::qWaitFor([&] { return (all += readAll()).endsWith(ending); }, 30000);
        return all;
    }

    const int reader;
    const int writer;
};

std::unique_ptr<Channel> terminal()
{
    int controller = -1;
    int user = -1;
    if (openpty(&controller, &user, nullptr, nullptr, nullptr) != 0)
        return nullptr;
    return std::make_unique<Channel>(controller, user);
}

} // namespace

/// The debugger output where there is no debugger to speak to: the terminal.
class tst_DebuggerSink final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { failOnAnyWarning(); }

    void logWithoutAFileShowsTheTimeZone();
    void logWithAFileShowsTheSameLineAsTheFile();
    void pipeStaysSilent();
};

/// The machine of a test runs in UTC more often than not, where local time shows nothing.
void tst_DebuggerSink::initTestCase()
{
    qputenv("TZ", "TEST-05:45");
    tzset();
}

void tst_DebuggerSink::logWithoutAFileShowsTheTimeZone()
{
    const std::unique_ptr<Channel> channel = terminal();
    QVERIFY(channel);
    {
        const StandardError redirected(channel->writer);
        Zor::Log log;
        log.debug("Source", 7, "Bühne");
    }
    const QRegularExpression form(
        u"\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+05:45\\]\\[T:%1\\]"_s.arg(gettid()) +
        u"\\[Source:7\\] Bühne\\n$"_s);
    const QString output = channel->readUntil(u"Bühne\n"_s);
    QVERIFY2(form.match(output).hasMatch(), qPrintable(output));
}

void tst_DebuggerSink::logWithAFileShowsTheSameLineAsTheFile()
{
    const std::unique_ptr<Channel> channel = terminal();
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
    const QString content = QString::fromUtf8(file.readAll());
    QVERIFY(content.endsWith(u"[Source:7] text\n"_s));
    QCOMPARE(channel->readUntil(u"[Source:7] text\n"_s), content);
}

void tst_DebuggerSink::pipeStaysSilent()
{
    int ends[2];
    QCOMPARE(pipe(ends), 0);
    const Channel channel(ends[0], ends[1]);
    {
        const StandardError redirected(channel.writer);
        Zor::Log log;
        log.error("Source", 7, "text");
    }
    QCOMPARE(channel.readAll(), QString());
}

QTEST_GUILESS_MAIN(tst_DebuggerSink)
#include "tst_DebuggerSink.moc"
