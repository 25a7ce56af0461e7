// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/ApplicationModel.h"

#include "Support/FailOnWarning.h"
#include "Support/Sandbox.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <array>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 allWarnings = 0xFFFFFFFF;

void writeSettings(const QByteArray &content)
{
    const QString path = settingsFilePath();
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray readSettings()
{
    QFile file(settingsFilePath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// While it lives, nobody can create a file in a directory, not even root.
class ClosedDirectory final
{
public:
    explicit ClosedDirectory(const QString &directoryPath)
        : path(directoryPath)
    {
        syscall(SYS_capget, &version, saved);
        auto reduced = std::to_array(saved);
        reduced[0].effective &= ~(1U << CAP_DAC_OVERRIDE);
        syscall(SYS_capset, &version, reduced.data());
        QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner);
    }
    ~ClosedDirectory()
    {
        syscall(SYS_capset, &version, saved);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    Q_DISABLE_COPY_MOVE(ClosedDirectory)

    [[nodiscard]] bool isClosed() const { return !QFile(path + u"/new"_s).open(QFile::WriteOnly); }

private:
    QString path;
    __user_cap_header_struct version{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved[_LINUX_CAPABILITY_U32S_3]{};
};

} // namespace

class tst_Settings final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(u"Zorvik"_s);
        QCoreApplication::setApplicationName(u"Brenvoka"_s);
    }

    void init() { failOnAnyWarning(); }

    void fileIsSettingsIniInTheConfigurationDirectory()
    {
        const Sandbox sandbox;
        QCOMPARE(settingsFilePath(),
                 sandbox.directory().filePath(u"config/Zorvik/Brenvoka/settings.ini"_s));
    }

    void loading_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<int>("iconSize");
        QTest::addColumn<bool>("viewMode");
        QTest::addColumn<quint32>("warningLevel");

        const auto row = [](const char *name, const QByteArray &lines, int iconSize, bool viewMode,
                            quint32 warningLevel) {
            QTest::newRow(name) << QByteArray("[General]\n" + lines) << iconSize << viewMode
                                << warningLevel;
        };
        QTest::newRow("no file") << QByteArray() << 1 << false << allWarnings;
        row("empty section", "", 1, false, allWarnings);
        row("view mode only", "selectedViewMode=true\n", 1, true, allWarnings);
        row("all three", "selectedIconSize=2\nselectedViewMode=true\nwarningLevel=5\n", 2, true, 5);
        row("no warnings are kept", "warningLevel=0\n", 1, false, 0);
        row("upper bits are kept", "warningLevel=4294967280\n", 1, false, 0xFFFFFFF0);
        row("words for numbers read as 0", "selectedIconSize=abc\nwarningLevel=abc\n", 0, false, 0);
        row("negative warning level reads as 0", "warningLevel=-1\n", 1, false, 0);
        row("warning level beyond 32 bits reads as 0", "warningLevel=4294967296\n", 1, false, 0);
        row("empty values read as 0 and false",
            "selectedIconSize=\nselectedViewMode=\nwarningLevel=\n", 0, false, 0);
        row("view mode 0 is false", "selectedViewMode=0\n", 1, false, allWarnings);
        row("any other text is true", "selectedViewMode=abc\n", 1, true, allWarnings);
        row("icon size outside 0 to 2 is kept", "selectedIconSize=17\n", 17, false, allWarnings);
        row("negative icon size is kept", "selectedIconSize=-3\n", -3, false, allWarnings);
        row("other keys don't matter", "servers=3\nselectedFolder=7\n", 1, false, allWarnings);
        QTest::newRow("no settings file at all")
            << QByteArray("\x00\xff\x7f junk", 9) << 1 << false << allWarnings;
    }
    void loading()
    {
        QFETCH(const QByteArray, content);
        const Sandbox sandbox;
        if (!content.isNull())
            writeSettings(content);

        ApplicationModel model;
        model.selectedIconSize = 99;
        model.selectedViewMode = !model.selectedViewMode;
        model.warningLevel = 99;
        model.load();
        QTEST(model.selectedIconSize, "iconSize");
        QTEST(model.selectedViewMode, "viewMode");
        QTEST(model.warningLevel, "warningLevel");
    }

    void loadingWritesNothing()
    {
        const Sandbox sandbox;
        ApplicationModel().load();
        QVERIFY(!QFile::exists(settingsFilePath()));
    }

    void savingWritesThreeKeysOnly_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("warningLevel");
        QTest::newRow("fresh installation") << QByteArray() << "4294967295"_ba;
        QTest::newRow("other keys")
            << "[General]\nselectedServerA=x\nfolders=1\nwarningLevel=6\n\n[other]\nkey=1\n"_ba
            << "6"_ba;
    }
    void savingWritesThreeKeysOnly()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const QByteArray, warningLevel);
        const Sandbox sandbox;
        if (!before.isNull())
            writeSettings(before);
        ApplicationModel model;
        model.load();
        QVERIFY(model.save());
        QCOMPARE(readSettings(), "[General]\n"
                                 "selectedIconSize=1\n"
                                 "selectedViewMode=false\n"
                                 "warningLevel=" +
                                     warningLevel + "\n");
    }

    void savedValuesAreLoaded_data()
    {
        QTest::addColumn<int>("iconSize");
        QTest::addColumn<bool>("viewMode");
        QTest::addColumn<quint32>("warningLevel");
        QTest::newRow("small, list, none") << 0 << true << quint32(0);
        QTest::newRow("large, grid, all") << 2 << false << allWarnings;
        QTest::newRow("beyond, list, some") << -40 << true << quint32(0x80000005);
    }
    void savedValuesAreLoaded()
    {
        QFETCH(const int, iconSize);
        QFETCH(const bool, viewMode);
        QFETCH(const quint32, warningLevel);
        const Sandbox sandbox;
        ApplicationModel before;
        before.selectedIconSize = iconSize;
        before.selectedViewMode = viewMode;
        before.warningLevel = warningLevel;
        QVERIFY(before.save());

        ApplicationModel after;
        after.load();
        QCOMPARE(after.selectedIconSize, iconSize);
        QCOMPARE(after.selectedViewMode, viewMode);
        QCOMPARE(after.warningLevel, warningLevel);
    }

    void changeIsOnDiskWhenSaveReturns()
    {
        const Sandbox sandbox;
        ApplicationModel model;
        QVERIFY(model.save());
        model.warningLevel &= ~2U;
        QVERIFY(model.save());
        QVERIFY(readSettings().contains("warningLevel=4294967293\n"));
    }

    /// A reader of the old file still has all of it, and so has the next start after a crash.
    void savingReplacesTheFileInOneStep()
    {
        const Sandbox sandbox;
        const QByteArray old("[General]\nwarningLevel=6\n");
        writeSettings(old);
        QFile file(settingsFilePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(ApplicationModel().save());
        QCOMPARE(file.readAll(), old);
        QVERIFY(readSettings() != old);
    }

    /// If no second file can be created, nothing is written.
    void savingNeverWritesIntoTheOldFile()
    {
        const Sandbox sandbox;
        const QByteArray old("[General]\nwarningLevel=6\n");
        writeSettings(old);
        const ClosedDirectory closed(QFileInfo(settingsFilePath()).path());
        QVERIFY(closed.isClosed());
        QVERIFY(ApplicationModel().save());
        QCOMPARE(readSettings(), old);
    }

    /// A run that is killed between the creation of its lock and the first byte leaves this. Qt
    /// alone would wait until the lock is half a minute old.
    void lockWithoutAnOwnerDoesNotDelaySaving()
    {
        const Sandbox sandbox;
        writeSettings("[General]\nwarningLevel=6\n");
        QFile lock(settingsFilePath() + u".lock"_s);
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.close();
        QElapsedTimer timer;
        timer.start();
        QVERIFY(ApplicationModel().save());
        QVERIFY(timer.elapsed() < 10000);
        QVERIFY(readSettings().contains("warningLevel=4294967295\n"));
        QVERIFY(!lock.exists());
    }

    void changeWithoutSaveIsLost()
    {
        const Sandbox sandbox;
        {
            ApplicationModel model;
            model.warningLevel = 3;
            QVERIFY(model.save());
            model.selectedViewMode = true;
        }
        ApplicationModel model;
        model.load();
        QCOMPARE(model.selectedViewMode, false);
        QCOMPARE(model.warningLevel, 3U);
    }

    void serversAndFolderAreNotStored()
    {
        const Sandbox sandbox;
        ApplicationModel model;
        model.selectedFolder = 12;
        model.upsertServer(
            Server(QUuid::createUuid(), QHostAddress(u"10.0.0.1"_s), 24, u"Stage"_s));
        QVERIFY(model.save());
        model.load();
        QCOMPARE(model.selectedFolder, 12);
        QCOMPARE(model.servers.size(), 1);
        QCOMPARE(readSettings().count('\n'), 4);
    }

    void unwritableFileIsNotReported()
    {
        const Sandbox sandbox;
        QVERIFY(QDir().mkpath(settingsFilePath()));
        ApplicationModel model;
        QVERIFY(model.save());
        model.load();
        QCOMPARE(model.warningLevel, allWarnings);
    }
};

QTEST_GUILESS_MAIN(tst_Settings)
#include "tst_Settings.moc"
