// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerTest.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QRegularExpression>
#include <QSet>

namespace {

const QString transferId = u"{7d444840-9dc0-11d1-b245-5ffdce74fad2}"_s;
const QString otherId = u"{8d444840-9dc0-11d1-b245-5ffdce74fad2}"_s;

/// A message about a transfer; `keys` begins with a comma.
QByteArray sync(int type, const QString &id, const QByteArray &keys)
{
    return "{\"msg_type\":" + QByteArray::number(type) + ",\"sync\":{\"ID\":\"" + id.toUtf8() +
           '"' + keys + "}}";
}

QByteArray started(const QString &id, int folderSlot, int fileSlot)
{
    return sync(1, id,
                ",\"STATUS\":1,\"FLDIDX\":" + QByteArray::number(folderSlot) +
                    ",\"VISIDX\":" + QByteArray::number(fileSlot) + ",\"SERVER\":\"http://a\"");
}

QByteArray ended(const QString &id, int status)
{
    return sync(3, id,
                ",\"STATUS\":" + QByteArray::number(status) +
                    ",\"FLDIDX\":5,\"VISIDX\":6,\"SERVER\":\"http://b\",\"ERROR\":\"full\"");
}

const QByteArray libraryChanged = json("{'msg_type':6}");

/// Ids for which qHash(QUuid) returns the same number: its parts cancel each other.
QUuid idWithTheSameHash(quint32 number)
{
    return {number, ushort(number), ushort(number >> 16), 0, 0, 0, 0, 0, 0, 0, 0};
}

} // namespace

/// What the messages of the notification stream do.
class tst_HandlerStream : public HandlerTest
{
    Q_OBJECT

private slots:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void requestIsAPlainGet()
    {
        const QByteArray expected = wireFile(u"notifier.http"_s);
        QCOMPARE(fixture->stream.head.left(fixture->stream.head.indexOf("\r\n") + 2),
                 expected.left(expected.indexOf("\r\n") + 2));
        QCOMPARE(fixture->stream.header("Host"), LOOPBACK(1) ":4567");
        QCOMPARE(fixture->stream.body, QByteArray());
        for (const char *absent :
             {"Content-Type", "Content-Length", "Upgrade", "Authorization", "HTTP2-Settings"})
            QVERIFY2(fixture->stream.header(absent).isNull(), absent);
    }

    void wireStreamIsRead()
    {
        fixture->send(wireFile(u"stream.bin"_s));
        EVENTUALLY_COMPARE(fixture->events.lines, wholeStream());
        QCOMPARE(fixture->probe.receiveBuffer(), QByteArray());
    }

    void wireStreamIsReadInChunks_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : {1, 2, 3, 7, 31, 100, 333, 635, 636})
            QTest::addRow("%d", size) << size;
    }
    void wireStreamIsReadInChunks()
    {
        QFETCH(const int, size);
        const QByteArray bytes = wireFile(u"stream.bin"_s);
        for (qsizetype at = 0; at < bytes.size(); at += size)
            fixture->send(bytes.mid(at, size));
        EVENTUALLY_COMPARE(fixture->events.lines, wholeStream());
    }

    void connectedIsEmittedBeforeTheFirstByteIsHandled()
    {
        QVERIFY(fixture->events.lines.isEmpty());
        fixture->send("{");
        EVENTUALLY_COMPARE(fixture->events.lines, QStringList{u"connected"_s});
        EVENTUALLY_COMPARE(fixture->probe.receiveBuffer(), "{");
        fixture->sendFrame("\"msg_type\":6}");
        EVENTUALLY_COMPARE(fixture->events.lines,
                           (QStringList{u"connected"_s, u"library changed"_s}));
    }

    void emptyPiecesAreSkipped()
    {
        expect(QByteArray(1, '\0') + Wire::frame(libraryChanged) + QByteArray(2, '\0') +
                   Wire::frame(libraryChanged),
               {u"library changed"_s, u"library changed"_s});
        QCOMPARE(fixture->probe.receiveBuffer(), QByteArray());
    }

    void incompleteFrameIsKept()
    {
        expect(Wire::frame(libraryChanged) + Wire::frame(json("{'msg_type':5}")) + json("{'msg_"),
               {u"library changed"_s, u"stats 0 0 0 false"_s});
        QCOMPARE(fixture->probe.receiveBuffer(), json("{'msg_"));
        expect(Wire::frame(json("type':6}")), {u"library changed"_s});
        QCOMPARE(fixture->probe.receiveBuffer(), QByteArray());
    }

    void chunkWithoutTerminatorIsOnlyAppended()
    {
        fixture->send(libraryChanged);
        EVENTUALLY_COMPARE(fixture->probe.receiveBuffer(), libraryChanged);
        fixture->send(libraryChanged);
        EVENTUALLY_COMPARE(fixture->probe.receiveBuffer(), libraryChanged + libraryChanged);
        QCOMPARE(fixture->events.lines, QStringList{u"connected"_s});
    }

    void unparsableFrameBlocksTheStream_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("not JSON") << "garbage"_ba;
        QTest::newRow("two documents") << libraryChanged + libraryChanged;
    }
    void unparsableFrameBlocksTheStream()
    {
        QFETCH(const QByteArray, message);
        fixture->sendFrame(message);
        EVENTUALLY_COMPARE(fixture->probe.receiveBuffer(), message);
        for (int i = 1; i <= 3; ++i) {
            fixture->sendFrame(libraryChanged);
            EVENTUALLY_COMPARE(fixture->probe.receiveBuffer(),
                               message + libraryChanged.repeated(i));
        }
        QCOMPARE(fixture->events.lines, QStringList{u"connected"_s});
        QVERIFY(fixture->probe.streamReply()->isRunning());
    }

    void uselessMessagesAreIgnored_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("array") << "[1,2]"_ba;
        QTest::newRow("empty object") << json("{}");
        QTest::newRow("type 7") << json("{'msg_type':7,'RESULT':0}");
        QTest::newRow("type 8") << json("{'msg_type':8}");
        QTest::newRow("negative type") << json("{'msg_type':-1}");
        QTest::newRow("type as text") << json("{'msg_type':'6'}");
        QTest::newRow("fractional type") << json("{'msg_type':6.5}");
        QTest::newRow("list is not an array") << json("{'msg_type':0,'active_transfers':{}}");
        QTest::newRow("list without objects")
            << json("{'msg_type':0,'active_transfers':[1,'x',[]]}");
        QTest::newRow("start without sync") << json("{'msg_type':1}");
        QTest::newRow("start without id") << json("{'msg_type':1,'sync':{'STATUS':1}}");
        QTest::newRow("start with an invalid id") << sync(1, u"x"_s, "");
        QTest::newRow("start with the null id") << sync(1, QUuid().toString(), "");
        QTest::newRow("progress of an unknown id") << sync(2, transferId, ",\"STATUS\":1");
        QTest::newRow("progress without id") << sync(2, u""_s, "");
        QTest::newRow("end of an unknown id") << ended(transferId, 6);
        QTest::newRow("end without id") << ended(u""_s, 6);
    }
    void uselessMessagesAreIgnored()
    {
        QFETCH(const QByteArray, message);
        expect(Wire::frame(message) + Wire::frame(libraryChanged), {u"library changed"_s});
        QVERIFY(fixture->probe.activeTransfers().isEmpty());
    }

    void objectWithoutTypeIsAList()
    {
        expect(Wire::frame("{\"active_transfers\":[{\"ID\":\"" + transferId.toUtf8() +
                           "\",\"FLDIDX\":1,\"VISIDX\":2},3,{\"ID\":\"" + otherId.toUtf8() +
                           "\",\"STATUS\":2}]}"),
               {u"progress 1 2 0 0"_s, u"progress 0 0 0 0"_s});
        QCOMPARE(fixture->probe.activeTransfers().size(), 2);
        QCOMPARE(fixture->probe.activeTransfers().value(QUuid(otherId)).state, 2);
    }

    void startIsReportedAsQueued()
    {
        expect(Wire::frame(started(transferId, 3, 17)), {u"progress 3 17 0 0"_s});
        const ActiveTransfer entry = fixture->probe.activeTransfers().value(QUuid(transferId));
        QCOMPARE(entry.state, 1);
        QCOMPARE(entry.sourceServer, u"http://a"_s);
        QCOMPARE(entry.error, QString());
    }

    void progressUsesTheSlotsOfTheStart()
    {
        expect(Wire::frame(started(transferId, 3, 17)) +
                   Wire::frame(sync(2, transferId,
                                    ",\"STATUS\":9,\"CPERCENT\":42,\"SPEEDBPS\":77,"
                                    "\"FLDIDX\":8,\"VISIDX\":8")),
               {u"progress 3 17 0 0"_s, u"progress 3 17 42 9"_s});
        const ActiveTransfer entry = fixture->probe.activeTransfers().value(QUuid(transferId));
        QCOMPARE(entry.progressPercent, 42);
        QCOMPARE(entry.speedBps, 77);
    }

    void fractionalSpeedReadsAsZero()
    {
        expect(Wire::frame(started(transferId, 3, 17)) +
                   Wire::frame(sync(2, transferId, ",\"STATUS\":1,\"SPEEDBPS\":10.5")),
               {u"progress 3 17 0 0"_s, u"progress 3 17 0 1"_s});
        QCOMPARE(fixture->probe.activeTransfers().value(QUuid(transferId)).speedBps, 0);
    }

    void secondStartResetsTheTransfer()
    {
        expect(Wire::frame(started(transferId, 3, 17)) +
                   Wire::frame(sync(2, transferId, ",\"STATUS\":1,\"CPERCENT\":42")) +
                   Wire::frame(started(transferId, 3, 18)),
               {u"progress 3 17 0 0"_s, u"progress 3 17 42 1"_s, u"progress 3 18 0 0"_s});
        QCOMPARE(fixture->probe.activeTransfers().size(), 1);
        QCOMPARE(fixture->probe.activeTransfers().value(QUuid(transferId)).progressPercent, 0);
    }

    // Otherwise each message would have to search all transfers.
    void idsChosenForOneHashHaveDifferentHashesHere()
    {
        constexpr quint32 count = 1000;
        QSet<std::size_t> hashes;
        for (quint32 number = 0; number < count; ++number) {
            const QUuid id = idWithTheSameHash(number);
            QCOMPARE(qHash(id), qHash(idWithTheSameHash(0)));
            hashes.insert(qHash(decltype(fixture->probe.activeTransfers())::key_type(id), 0));
        }
        QVERIFY2(hashes.size() > count * 99 / 100, qPrintable(QString::number(hashes.size())));
    }

    void endIsReportedByStatus_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("line");
        QTest::newRow("finished") << 6 << u"sync finished 5 6"_s;
        QTest::newRow("canceling") << 4 << u""_s;
        QTest::newRow("canceled") << 5 << u""_s;
        for (const int status : {-1, 0, 1, 2, 3, 7})
            QTest::addRow("%d is an error", status)
                << status << u"sync error 5 6 %1 \"full\" \"http://b\""_s.arg(status);
    }
    void endIsReportedByStatus()
    {
        QFETCH(const int, status);
        QFETCH(const QString, line);
        QStringList lines{u"progress 3 17 0 0"_s, u"progress 4 18 0 0"_s, line};
        lines.removeAll(QString());
        expect(Wire::frame(started(transferId, 3, 17)) + Wire::frame(started(otherId, 4, 18)) +
                   Wire::frame(ended(transferId, status)) + Wire::frame(libraryChanged),
               lines << u"library changed"_s);
        QCOMPARE(fixture->probe.activeTransfers().keys(), QList<TransferId>{QUuid(otherId)});

        lines = {line, u"all syncs finished"_s};
        lines.removeAll(QString());
        expect(Wire::frame(ended(otherId, status)), lines);
        QVERIFY(fixture->probe.activeTransfers().isEmpty());
    }

    void missingKeysReadAsZero()
    {
        expect(Wire::frame(sync(1, transferId, "")) + Wire::frame(sync(3, transferId, "")),
               {u"progress 0 0 0 0"_s, u"sync error 0 0 0 \"\" \"\""_s, u"all syncs finished"_s});
    }

    void frameRates()
    {
        expect(Wire::frame(json("{'msg_type':5,'GFPS':59.94,'TFPS':60,'MFPS':'25','FS':true}")),
               {u"stats 59.94 60 0 true"_s});
        expect(Wire::frame(json("{'msg_type':5,'FS':1}")), {u"stats 0 0 0 false"_s});
    }

    void transfersAreLogged()
    {
        LogCapture log;
        expect(Wire::frame(started(transferId, 3, 17)) + Wire::frame(ended(transferId, 6)),
               {u"progress 3 17 0 0"_s, u"sync finished 5 6"_s, u"all syncs finished"_s});
        QCOMPARE(log.entries(), (QStringList{u"info: Sync started folder 3 visual 17"_s,
                                             u"info: Sync finished 5 visual 6 progress 100"_s}));
    }

private:
    /// Sends bytes of the stream in one piece and waits for their signals, except `connected`.
    void expect(const QByteArray &bytes, const QStringList &lines)
    {
        fixture->send(bytes);
        EVENTUALLY_COMPARE(fixture->events.lines.filter(notConnected), lines);
        fixture->events.lines.clear();
    }

    static QStringList wholeStream()
    {
        return {u"connected"_s,
                u"progress 3 17 0 0"_s,
                u"progress 3 17 42 1"_s,
                u"progress 3 17 100 2"_s,
                u"sync finished 3 17"_s,
                u"all syncs finished"_s,
                u"stats 59.94 60 25 true"_s,
                u"library changed"_s};
    }

    const QRegularExpression notConnected{u"^(?!connected)"_s};
};

QTEST_GUILESS_MAIN(tst_HandlerStream)
#include "tst_HandlerStream.moc"
