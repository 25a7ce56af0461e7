// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/Snapshot.h"

#include "Protocol/LibraryReply.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

Snapshot sample()
{
    return {u"127.0.0.2"_s, QDateTime({2026, 11, 22}, {10, 20, 30}, Qt::UTC), "281474976710656",
            "1", "{\"folders\":[],\n\n\"hash\":\"\"}"};
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

/// Saved libraries.
class tst_Snapshot final : public QObject
{
    Q_OBJECT

private slots:
    void isReadAsWritten()
    {
        const QString path = directory.filePath(u"good"_s);
        QCOMPARE(sample().write(path), QString());
        const Expected<Snapshot> read = Snapshot::read(path);
        QVERIFY2(read, qPrintable(read.error));
        QCOMPARE(read->address, sample().address);
        QCOMPARE(read->time, sample().time);
        QCOMPARE(read->body, sample().body);
        QCOMPARE(read->version, sample().version);
        QCOMPARE(read->features, sample().features);
        QCOMPARE(read->download().body, sample().body);
        QCOMPARE(read->download().error, QString());
    }

    void everyShorterFileIsRefused()
    {
        const QByteArray bytes = sample().toBytes();
        for (qsizetype size = 0; size < bytes.size(); ++size)
            QVERIFY(!Snapshot::fromBytes(bytes.first(size)));
        QVERIFY(Snapshot::fromBytes(bytes));
        QVERIFY(!Snapshot::fromBytes(bytes + ' '));
    }

    void changedBodyIsRefused()
    {
        QByteArray bytes = sample().toBytes();
        bytes.back() = ' ';
        QVERIFY(Snapshot::fromBytes(bytes).error.contains(u"checksum"_s));
    }

    void onlyRegularFilesAreOpened()
    {
        QVERIFY(Snapshot::read(directory.path()).error.contains(u"no regular file"_s));
        const QString pipe = directory.filePath(u"pipe"_s);
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(Snapshot::read(pipe).error.contains(u"no regular file"_s));
        QVERIFY(!sample().write(pipe).isEmpty());
        QVERIFY(Snapshot::read(directory.filePath(u"absent"_s)).error.contains(u"no such file"_s));
    }

    void tooLargeFileIsNotRead()
    {
        const QString path = directory.filePath(u"large"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(LibraryReply::maximumSize + 65537)); // takes no space
        QVERIFY(Snapshot::read(path).error.contains(u"too large"_s));
    }

    void onlySnapshotsAreReplaced()
    {
        const QString path = directory.filePath(u"precious"_s);
        write(path, "not a snapshot");
        QVERIFY(sample().write(path).contains(u"not replaced"_s));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), "not a snapshot"_ba);

        const QString earlier = directory.filePath(u"earlier"_s);
        Snapshot other = sample();
        other.body = "{}";
        QCOMPARE(other.write(earlier), QString());
        QCOMPARE(sample().write(earlier), QString());
        QCOMPARE(Snapshot::read(earlier)->body, sample().body);
    }

    void unwritableDirectoryIsReported()
    {
        QVERIFY(!sample().write(directory.filePath(u"absent/file"_s)).isEmpty());
        QVERIFY(!sample().write(directory.path()).isEmpty());
    }

private:
    QTemporaryDir directory;
};

QTEST_APPLESS_MAIN(tst_Snapshot)
#include "tst_Snapshot.moc"
