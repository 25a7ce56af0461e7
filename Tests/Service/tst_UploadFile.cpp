// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/UploadFile.h"

#include "Support/FailOnWarning.h"

#include <QTemporaryFile>
#include <QTest>

/// Files that others write to while they are read.
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

    void whatIsAppendedIsNotRead()
    {
        UploadFile file(disk->fileName());
        QCOMPARE(file.read(4), "one ");
        QCOMPARE(disk->write(" more"), 5);
        QVERIFY(disk->flush());
        QCOMPARE(file.size(), 10);
        QCOMPARE(file.bytesAvailable(), 6);
        QCOMPARE(file.read(100), "upload");
    }

    void whatIsCutOffIsAnError()
    {
        UploadFile file(disk->fileName());
        QCOMPARE(file.read(4), "one ");
        QVERIFY(disk->resize(6));
        QCOMPARE(file.size(), 10);
        QCOMPARE(file.read(2), "up");
        char byte = 0;
        QCOMPARE(file.read(&byte, 1), -1);
    }

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
