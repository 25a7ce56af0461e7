// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/UploadFile.h"

#include "Support/FailOnWarning.h"
#include "Support/ProcessUse.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

#ifdef Q_OS_UNIX
namespace {

/// A socket in the file system, which remains after it was closed.
bool makeSocket(const QByteArray &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, path.constData(), sizeof address.sun_path);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const bool bound =
        bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    close(socket);
    return bound;
}

} // namespace
#endif

/// Files that other programs change while they are read.
class tst_UploadFile : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        disk = std::make_unique<QTemporaryFile>();
        QVERIFY(disk->open());
        QCOMPARE(disk->write("one upload"), 10);
        QVERIFY(disk->flush());
    }

    void isReadToItsEnd()
    {
        UploadFile file(disk->fileName());
        QVERIFY(file.isOpen());
        QCOMPARE(file.size(), 10);
        QCOMPARE(file.read(4), "one ");
        QCOMPARE(file.pos(), 4);
        QCOMPARE(file.readAll(), "upload");
        char byte = 0;
        QCOMPARE(file.read(&byte, 1), 0);
    }

    void startsAgainWhenQtRepeatsTheRequest()
    {
        UploadFile file(disk->fileName());
        QCOMPARE(file.readAll(), "one upload");
        QVERIFY(file.reset());
        QCOMPARE(file.readAll(), "one upload");
    }

    void appendedBytesAreNotRead()
    {
        UploadFile file(disk->fileName());
        QCOMPARE(file.read(4), "one ");
        QCOMPARE(disk->write(" more"), 5);
        QVERIFY(disk->flush());
        QCOMPARE(file.size(), 10);
        QCOMPARE(file.bytesAvailable(), 6);
        QCOMPARE(file.read(100), "upload");
    }

    void truncationIsAnError()
    {
        UploadFile file(disk->fileName());
        QCOMPARE(file.read(4), "one ");
        QVERIFY(disk->resize(6));
        QCOMPARE(file.size(), 10);
        QCOMPARE(file.read(2), "up");
        char byte = 0;
        QCOMPARE(file.read(&byte, 1), -1);
    }

#ifdef Q_OS_UNIX
    void onlyRegularFilesAreOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("named pipe") << u"pipe"_s;
        QTest::newRow("directory") << u"directory"_s;
        QTest::newRow("socket") << u"socket"_s;
        QTest::newRow("device") << u"/dev/zero"_s;
    }
    void onlyRegularFilesAreOpened()
    {
        QFETCH(QString, name);
        const QTemporaryDir directory;
        QVERIFY(QDir(directory.path()).mkdir(u"directory"_s));
        QCOMPARE(mkfifo(QFile::encodeName(directory.filePath(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(makeSocket(QFile::encodeName(directory.filePath(u"socket"_s))));
        const QString path = QDir(directory.path()).filePath(name);
        const QString link = directory.filePath(u"link"_s);
        QVERIFY(QFile::link(path, link));
        const int before = ProcessUse::descriptors();
        const UploadFile file(path);
        QVERIFY(!file.isOpen());
        QVERIFY(!UploadFile(link).isOpen());
        QCOMPARE(ProcessUse::descriptors(), before);
    }

    void otherProgramsDoNotInheritIt()
    {
        const UploadFile file(disk->fileName());
        QVERIFY(fcntl(file.handle(), F_GETFD) & FD_CLOEXEC);
    }

    void linkToAFileIsOpened()
    {
        const QTemporaryDir directory;
        const QString link = directory.filePath(u"link"_s);
        QVERIFY(QFile::link(disk->fileName(), link));
        UploadFile file(link);
        QCOMPARE(file.readAll(), "one upload");
        QVERIFY(!file.isSequential());
    }
#endif

    void fileThatCannotBeOpenedIsNotOpen()
    {
        const UploadFile file(disk->fileName() + QStringLiteral(".missing"));
        QVERIFY(!file.isOpen());
        QCOMPARE(file.size(), 0);
    }

private:
    std::unique_ptr<QTemporaryFile> disk;
};

QTEST_GUILESS_MAIN(tst_UploadFile)
#include "tst_UploadFile.moc"
