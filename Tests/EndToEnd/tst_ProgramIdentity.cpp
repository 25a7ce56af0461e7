// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Sandbox.h"
#include "Support/Wait.h"

#include <QProcess>
#include <QTest>

#include <memory>
#include <sys/inotify.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString program = QStringLiteral(BRENVOKA_PROGRAM_THAT_PRINTS);

/// Counts how often a file that exists was replaced by another that was written beside it.
class Replacements final
{
public:
    explicit Replacements(const QString &directory)
    {
        // Without the creations in between, equal events would be reported as one.
        inotify_add_watch(descriptor, QFile::encodeName(directory).constData(),
                          IN_MOVED_TO | IN_CREATE);
    }
    ~Replacements() { close(descriptor); }
    Q_DISABLE_COPY_MOVE(Replacements)

    [[nodiscard]] int count(const QByteArray &name) const
    {
        alignas(inotify_event) char buffer[65536];
        const ssize_t size = read(descriptor, buffer, sizeof buffer);
        int found = 0;
        for (ssize_t at = 0; at < size;) {
            const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
            found += (event->mask & IN_MOVED_TO) && name == event->name ? 1 : 0;
            at += static_cast<ssize_t>(sizeof *event + event->len);
        }
        return found;
    }

private:
    int descriptor = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
};

} // namespace

/// The program with a part that prints what it runs with, and ends it.
class tst_ProgramIdentity final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        sandbox = std::make_unique<Sandbox>();
    }
    void cleanup() { sandbox.reset(); }

    void namesVersionAndSizeOfThePixmapCache()
    {
        QCOMPARE(run(), "Zorvik\nBrenvoka\nBrenvoka\n1.0\n40960\n");
    }

    void logWorksAsLongAsTheApplication()
    {
        QVERIFY(!run().isEmpty());
        QFile log(sandbox->directory().filePath(u"data/Zorvik/Brenvoka/logs/Brenvoka.log"_s));
        QVERIFY(log.open(QIODevice::ReadOnly));
        QVERIFY(log.readAll().endsWith("] The application is destroyed\n"));
    }

    void settingsAreReplacedOnce()
    {
        const QString directory = sandbox->directory().filePath(u"config/Zorvik/Brenvoka"_s);
        QVERIFY(QDir().mkpath(directory));
        QVERIFY(QFile(directory + u"/settings.ini"_s).open(QIODevice::WriteOnly));
        const Replacements replacements(directory);
        QVERIFY(!run().isEmpty());
        QCOMPARE(replacements.count("settings.ini"), 1);
    }

private:
    /// What the program printed; empty if it did not return the exit code of its event loop.
    [[nodiscard]] static QByteArray run()
    {
        QProcess process;
        process.start(program, QStringList());
        const bool well = process.waitForFinished(patience) && process.exitCode() == 3;
        return well ? process.readAllStandardOutput() : QByteArray();
    }

    std::unique_ptr<Sandbox> sandbox;
};

QTEST_GUILESS_MAIN(tst_ProgramIdentity)
#include "tst_ProgramIdentity.moc"
