// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/AnsweringServer.h"
#include "Benchmarks/Comparison.h"
#include "Protocol/StreamFraming.h"
#include "Service/ServerConnectionHandler.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QTemporaryFile>
#include <QTest>

#include <cstring>
#include <malloc.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray transfer = R"({"ID":"{7d444840-9dc0-11d1-b245-5ffdce74fad2}","STATUS":0,)"
                            R"("FLDIDX":3,"VISIDX":17,"SERVER":"http://127.0.0.2:4567"})";

/// One message with that many transfers: 8 MB for 65,280.
QByteArray listOfTransfers(int count)
{
    QByteArray message = R"({"msg_type":0,"active_transfers":[)";
    for (int i = 0; i < count; ++i)
        message += transfer + ',';
    message.chop(1);
    return message + QByteArray("]}\0", 3);
}

/// Messages of 200 bytes, each of which changes the progress of one transfer.
QByteArray progressMessages(int count)
{
    QByteArray messages = R"({"msg_type":1,"sync":)" + transfer + QByteArray("}\0", 2);
    const QByteArray message =
        QByteArray(R"({"msg_type":2,"sync":{"ID":"{7d444840-9dc0-11d1-b245-5ffdce74fad2}",)"
                   R"("STATUS":1,"FLDIDX":3,"VISIDX":17,"CPERCENT":42,"SPEEDBPS":73400320,)"
                   R"("SERVER":"http://127.0.0.2:4567"}})")
            .leftJustified(199, ' ') +
        '\0';
    return messages + message.repeated(count);
}

/// The number of messages in the stream if it arrives in chunks of that size.
qsizetype frame(const QByteArray &stream, qsizetype chunkSize)
{
    QByteArray buffer;
    qsizetype messages = 0;
    for (qsizetype at = 0; at < stream.size(); at += chunkSize) {
        StreamFraming::Chunk chunk{stream.mid(at, chunkSize)};
        while (StreamFraming::takeMessage(buffer, chunk))
            ++messages;
    }
    return messages;
}

/// What the messages need at least.
int parse(const QByteArray &stream)
{
    int documents = 0;
    const char *at = stream.constData();
    const char *const end = at + stream.size();
    while (const auto *nul = static_cast<const char *>(std::memchr(at, 0, size_t(end - at)))) {
        documents += !QJsonDocument::fromJson(QByteArray::fromRawData(at, nul - at)).isNull();
        at = nul + 1;
    }
    return documents;
}

/// A server whose stream begins with these messages.
class StreamingServer final
{
public:
    StreamingServer(int number, const QByteArray &messages)
        : server(loopback(number), {"/brenvoka/notifier.html=" + fileOf(messages)})
    {
    }

    /// Connects a handler and waits for that many signals about progress.
    void receive(int signalCount) const
    {
        QEventLoop loop;
        int received = 0;
        ServerConnectionHandler handler(server.address(), QUuid::createUuid());
        QObject::connect(&handler, &ServerConnectionHandler::handlerSyncProgressUpdate, &loop, [&] {
            if (++received == signalCount)
                loop.quit();
        });
        QTimer::singleShot(patience, &loop, &QEventLoop::quit);
        loop.exec();
        QCOMPARE(received, signalCount);
    }

private:
    QByteArray fileOf(const QByteArray &messages)
    {
        if (!file.open() || file.write(messages) != messages.size() || !file.flush())
            qFatal("Cannot write the messages");
        return file.fileName().toUtf8();
    }

    QTemporaryFile file;
    AnsweringServer server;
};

} // namespace

/// The messages of the notification stream.
class tst_StreamBenchmark final : public QObject
{
    Q_OBJECT

private slots:
    void messagesWithTheirSignals()
    {
        constexpr int count = 40000;
        const QByteArray all = progressMessages(count);
        const QByteArray some = progressMessages(count / Comparison::small);
        const StreamingServer server(1, all);
        const StreamingServer smallServer(2, some);
        compareSizes(
            [&](int part) {
                const StreamingServer &sender = part == 1 ? server : smallServer;
                return processorTime([&] { sender.receive(1 + count / part); });
            },
            [&](int part) {
                return processorTime(
                    [&] { QCOMPARE(parse(part == 1 ? all : some), 1 + count / part); });
            })
            .print({"stream messages of 200 bytes with their signals",
                    "`memchr` and `fromJson` on the same bytes", 1.4, 1.1});
    }

    // One message with all transfers of a full library. Each run gets its memory from the system
    // and returns it. The allocator returns more than some megabytes by itself, so only the small
    // runs would find the memory of the run before them.
    void longMessageInSmallChunks()
    {
        const QByteArray full = listOfTransfers(65280);
        const QByteArray quarter = listOfTransfers(65280 / Comparison::small);
        const auto costInChunks = [&](int part, qsizetype size) {
            const QByteArray &stream = part == 1 ? full : quarter;
            return processorTime([&] {
                QCOMPARE(frame(stream, size == 0 ? stream.size() : size), 1);
                malloc_trim(0);
            });
        };
        compareSizes([&](int part) { return costInChunks(part, 1000); },
                     [&](int part) { return costInChunks(part, 0); })
            .print({"one 8 MB message in chunks of 1 KB", "the same in one chunk", 1.2, 1.05});
    }
};

QTEST_GUILESS_MAIN(tst_StreamBenchmark)
#include "tst_StreamBenchmark.moc"
