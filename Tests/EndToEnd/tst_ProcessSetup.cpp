// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "ProgramFixture.h"
#include "Support/Announcer.h"
#include "Support/Channels.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ScriptedServer.h"
#include "Support/Wait.h"

#include <QTest>

#include <list>
#include <memory>

#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString program = QStringLiteral(BRENVOKA_PROGRAM);

using OpenChannel = std::unique_ptr<Channel> (*)();

std::unique_ptr<Channel> fullPipe()
{
    std::unique_ptr<Channel> pipe = openPipe();
    pipe->fill();
    return pipe;
}

std::unique_ptr<Channel> fullSocket()
{
    std::unique_ptr<Channel> socket = openSocketPair();
    socket->fill();
    return socket;
}

std::unique_ptr<Channel> pipeWithoutReader()
{
    std::unique_ptr<Channel> pipe = openPipe();
    pipe->closeReader();
    return pipe;
}

/// Whether the program has read every datagram that was sent to the discovery port.
bool isDiscoveryRead()
{
    for (const QByteArray &line : contentOf(u"/proc/net/udp"_s).split('\n')) {
        const QList<QByteArray> fields = line.simplified().split(' ');
        if (fields.value(1).endsWith(":0BB9") && fields.value(4) != "00000000:00000000")
            return false;
    }
    return true;
}

/// Ticks that receive ten senders, each of which is a line on standard output. Their netmask
/// is invalid, so that no server is listed.
void announceToTenTicks()
{
    const QByteArray datagram = announcement({.mask = QByteArray("\xff\xff\xff\0", 4)});
    for (int tick = 0; tick < 10; ++tick) {
        for (int sender = 1; sender <= 10; ++sender)
            Announcer(loopback(sender)).send(datagram);
        if (!waitFor(isDiscoveryRead))
            return;
    }
}

} // namespace

Q_DECLARE_METATYPE(OpenChannel)

/// What the program does with the standard streams and limits with which it is started.
class tst_ProcessSetup final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        fixture = std::make_unique<ProgramFixture>();
    }

    void cleanup() { fixture.reset(); }

    void standardStreamNeverStopsTheProgram_data()
    {
        QTest::addColumn<int>("stream");
        QTest::addColumn<OpenChannel>("open");
        for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
            const char *name = stream == STDOUT_FILENO ? "output" : "error";
            QTest::addRow("%s: full pipe", name) << stream << &fullPipe;
            QTest::addRow("%s: full socket", name) << stream << &fullSocket;
            QTest::addRow("%s: pipe without a reader", name) << stream << &pipeWithoutReader;
            QTest::addRow("%s: stopped terminal", name) << stream << &openStoppedTerminal;
        }
    }
    void standardStreamNeverStopsTheProgram()
    {
        QFETCH(const int, stream);
        QFETCH(const OpenChannel, open);
        const std::unique_ptr<Channel> channel = open();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (stream == STDERR_FILENO)
            environment.insert(u"QT_LOGGING_RULES"_s, u"*.debug=true"_s);
        const Child child(program, {}, environment, [&] { dup2(channel->writer, stream); });
        EVENTUALLY(fixture->isProgramUp());
        announceToTenTicks();
        QVERIFY(listServer(Announcer(loopback(1))));
        QCOMPARE(child.state(), QProcess::Running);
    }

    void closedStandardStreamsAreReplaced()
    {
        const Child child(program, {}, QProcessEnvironment::systemEnvironment(), [] {
            for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                close(stream);
        });
        EVENTUALLY(fixture->isProgramUp());
        announceToTenTicks();
        QVERIFY(listServer(Announcer(loopback(1))));
        for (int stream = 0; stream < 3; ++stream) {
            const QFileInfo file(u"/proc/%1/fd/%2"_s.arg(child.processId()).arg(stream));
            QCOMPARE(file.symLinkTarget(), u"/dev/null"_s);
        }
        QVERIFY(!fixture->log().contains("Received discovery message"));
    }

    void softLimitOfOpenFilesBecomesTheHardOne()
    {
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = 128;
        limit.rlim_max -= 1;
        const Child child(program, {}, QProcessEnvironment::systemEnvironment(),
                          [limit] { setrlimit(RLIMIT_NOFILE, &limit); });
        EVENTUALLY(fixture->isProgramUp());
        const QString limits = QString::fromLatin1(
            contentOf(u"/proc/%1/limits"_s.arg(child.processId())).simplified());
        QVERIFY2(limits.contains(u"Max open files %1 %1 files"_s.arg(limit.rlim_max)),
                 qPrintable(limits));
    }

    void sixtyServersAreServedWithALowSoftLimit()
    {
        rlimit limit{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = 128;
        const Child child(program, {}, QProcessEnvironment::systemEnvironment(),
                          [limit] { setrlimit(RLIMIT_NOFILE, &limit); });
        EVENTUALLY(fixture->isProgramUp());

        std::list<ScriptedServer> servers;
        for (int number = 1; number <= 60; ++number) {
            const QString address = loopback(100 + number);
            ScriptedServer &server = servers.emplace_back(address);
            server.setLibrary({});
            QVERIFY(listServer(Announcer(address), {.uuid = server.uuid}));
            QVERIFY(server.openStream());
        }
        for (const ScriptedServer &server : servers)
            EVENTUALLY(server.libraryRequests() > 0);
    }

    void brokenPipesAreIgnored()
    {
        const Child child(program);
        EVENTUALLY(fixture->isProgramUp());
        const QByteArray status = contentOf(u"/proc/%1/status"_s.arg(child.processId()));
        const QByteArray ignored = status.mid(status.indexOf("SigIgn:")).mid(7, 17).trimmed();
        QVERIFY2(ignored.toULongLong(nullptr, 16) & (1ULL << (SIGPIPE - 1)), ignored.constData());
    }

private:
    /// Announces a server until the log, which is written behind what waits, has it.
    [[nodiscard]] bool listServer(const Announcer &sender,
                                  const AnnouncementFields &fields = {}) const
    {
        const QByteArray line = "Found new server: " + fields.uuid.toByteArray();
        const auto isLogged = [&] {
            sender.send(announcement(fields));
            return fixture->log().contains(line);
        };
        return waitFor(isLogged);
    }

    std::unique_ptr<ProgramFixture> fixture;
};

QTEST_GUILESS_MAIN(tst_ProcessSetup)
#include "tst_ProcessSetup.moc"
