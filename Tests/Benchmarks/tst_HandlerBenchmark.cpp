// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Benchmarks/Comparison.h"
#include "Protocol/CommandBodies.h"
#include "Protocol/StreamFraming.h"
#include "Protocol/Urls.h"
#include "Service/Http/ServerRequest.h"
#include "Service/ServerConnectionHandler.h"
#include "Support/Loopback.h"

#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <malloc.h>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Answers every command at once and stores nothing, so that only the client's memory is measured.
class AnsweringServer final : public QTcpServer
{
public:
    explicit AnsweringServer(const QHostAddress &address)
    {
        if (!listen(address, 4567))
            qFatal("Cannot listen: %s", qPrintable(errorString()));
        connect(this, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = nextPendingConnection()) {
                socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
                connect(socket, &QTcpSocket::readyRead, socket, [=, this] { read(*socket); });
            }
        });
    }

    qsizetype commands = 0;
    std::function<void(qsizetype)> whenAnswered;

private:
    // A client waits for each answer, so the received bytes end with a body.
    void read(QTcpSocket &socket)
    {
        if (!socket.peek(socket.bytesAvailable()).endsWith("ver=281474976710656"))
            return;
        (void)socket.readAll();
        socket.write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        whenAnswered(++commands);
    }
};

/// A value of /proc/self/status in KiB, such as "VmRSS"; 0 if it is not available.
qint64 processMemory(const QString &name)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QRegularExpression line(name + u":\\s+(\\d+) kB"_s);
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong();
}

/// Resets the peak of the memory to the current usage.
bool resetMemoryPeak()
{
    QFile file(u"/proc/self/clear_refs"_s);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("5") == 1;
}

/// A frame of the stream with that many transfers.
QByteArray frameOf(int transfers)
{
    QByteArray frame = "{\"msg_type\":0,\"active_transfers\":[";
    for (int i = 0; i < transfers; ++i)
        frame += "{\"ID\":\"{7d444840-9dc0-11d1-b245-5ffdce74fad2}\",\"STATUS\":0,"
                 "\"FLDIDX\":3,\"VISIDX\":17,\"SERVER\":\"http://127.0.0.2:4567\"},";
    frame.chop(1);
    frame += "]}";
    frame.append('\0');
    return frame;
}

using TakeDocuments = QList<QJsonDocument> (*)(QByteArray &, const QByteArray &);

/// Splits all received bytes again for each chunk and tries to parse the last frame.
QList<QJsonDocument> takeDocumentsNaively(QByteArray &buffer, const QByteArray &chunk)
{
    QList<QJsonDocument> documents;
    const QList<QByteArray> frames = (buffer + chunk).split('\0');
    buffer.clear();
    for (const QByteArray &frame : frames) {
        const QJsonDocument document = QJsonDocument::fromJson(frame);
        if (document.isNull())
            buffer += frame;
        else
            documents.append(document);
    }
    return documents;
}

/// The number of documents in the stream if it arrives in chunks of that size.
qsizetype frame(TakeDocuments take, const QByteArray &stream, qsizetype chunkSize)
{
    QByteArray buffer;
    qsizetype documents = 0;
    for (qsizetype at = 0; at < stream.size(); at += chunkSize)
        documents += take(buffer, stream.mid(at, chunkSize)).size();
    return documents;
}

QList<VisualRef> visualsOfFolders(int folders)
{
    QList<VisualRef> visuals;
    for (int folder = 0; folder < folders; ++folder) {
        for (int slot = 1; slot < 256; ++slot)
            visuals.append({folder, slot});
    }
    return visuals;
}

/// Runs the event loop until the server has answered that many further commands.
void waitForAnswers(AnsweringServer &server, qsizetype commands)
{
    server.commands = 0;
    // Without qWait, which sleeps between its checks.
    QEventLoop loop;
    QTimer::singleShot(240000, &loop, &QEventLoop::quit);
    server.whenAnswered = [&](qsizetype answered) {
        if (answered == commands)
            loop.quit();
    };
    loop.exec();
    server.whenAnswered = [](qsizetype) {};
    QCOMPARE(server.commands, commands);
}

void syncByHandler(AnsweringServer &server, const QList<VisualRef> &visuals)
{
    ServerConnectionHandler handler(server.serverAddress(), QUuid::createUuid());
    handler.requestSync(server.serverAddress(), visuals);
    waitForAnswers(server, visuals.size());
}

void syncAllAtOnce(AnsweringServer &server, const QList<VisualRef> &visuals)
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    for (const VisualRef &visual : visuals) {
        QNetworkRequest request = serverRequest(Protocol::executeUrl(server.serverAddress()));
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          u"application/x-www-form-urlencoded"_s);
        manager.post(request,
                     CommandBodies::sync(Protocol::serverUrl(server.serverAddress()), visual));
    }
    waitForAnswers(server, visuals.size());
}

/// A minimal client: one socket, one command after the other.
void syncBySocket(AnsweringServer &server, const QList<VisualRef> &visuals)
{
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    qsizetype sent = 0;
    const auto sendNext = [&] {
        if (sent == visuals.size())
            return;
        const QByteArray body =
            CommandBodies::sync(Protocol::serverUrl(server.serverAddress()), visuals.at(sent++));
        socket.write("POST /brenvoka/execute.html HTTP/1.1\r\nHost: " LOOPBACK(
                         1) ":4567\r\n"
                            "Content-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
                     QByteArray::number(body.size()) + "\r\n\r\n" + body);
    };
    QObject::connect(&socket, &QTcpSocket::connected, &socket, sendNext);
    QObject::connect(&socket, &QTcpSocket::readyRead, &socket, [&] {
        (void)socket.readAll();
        sendNext();
    });
    socket.connectToHost(server.serverAddress(), 4567);
    socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    waitForAnswers(server, visuals.size());
}

/// How much the work increases the peak of the memory, in MB.
template <typename Work>
double memoryGrowth(Work work)
{
    // Freed memory that stays in the process could be used again without being measured.
    malloc_trim(0);
    if (!resetMemoryPeak())
        qFatal("The peak of the memory cannot be reset");
    const qint64 before = processMemory(u"VmRSS"_s);
    work();
    return double(processMemory(u"VmHWM"_s) - before) / 1024;
}

} // namespace

/// Time and memory of a handler with the largest libraries.
class tst_HandlerBenchmark : public QObject
{
    Q_OBJECT

private slots:
    // One message with all transfers of a full library.
    void longFrameInSmallChunks()
    {
        const QByteArray stream = frameOf(65280);
        const Comparison time = compare(
            [&] { QCOMPARE(frame(StreamFraming::takeDocuments, stream, 1000), 1); },
            [&] { QCOMPARE(frame(StreamFraming::takeDocuments, stream, stream.size()), 1); });
        qInfo("A frame of %.1f MB", static_cast<double>(stream.size()) / 1e6);
        time.print("in chunks of 1000 bytes", "in one chunk");
        QVERIFY(time.ratio() < 3);
    }

    void longFrameAgainstNaiveFraming()
    {
        const QByteArray stream = frameOf(8160);
        const Comparison time =
            compare([&] { QCOMPARE(frame(StreamFraming::takeDocuments, stream, 1000), 1); },
                    [&] { QCOMPARE(frame(takeDocumentsNaively, stream, 1000), 1); }, 3);
        qInfo("A frame of %.1f MB in chunks of 1000 bytes",
              static_cast<double>(stream.size()) / 1e6);
        time.print("framing", "parsing again at each chunk");
        QVERIFY(time.ratio() < 0.1);
    }

    void largestSynchronisation()
    {
        AnsweringServer server(QHostAddress(loopback(1)));
        const QList<VisualRef> visuals = visualsOfFolders(256);
        double time = 0;
        const double growth =
            memoryGrowth([&] { time = processorTime([&] { syncByHandler(server, visuals); }); });
        qInfo("%lld commands: %.0f ms including the server; the peak of the memory grew by %.1f MB",
              static_cast<long long>(visuals.size()), time, growth);
        QVERIFY(growth < 200);
    }

    void handlerAgainstPlainSocket()
    {
        AnsweringServer server(QHostAddress(loopback(1)));
        const QList<VisualRef> visuals = visualsOfFolders(64);
        const Comparison time = compare([&] { syncByHandler(server, visuals); },
                                        [&] { syncBySocket(server, visuals); }, 3);
        qInfo("%lld commands, including the server", static_cast<long long>(visuals.size()));
        time.print("handler", "one plain socket");
        QVERIFY(time.ratio() < 15);
    }

    void queueAgainstAllAtOnce()
    {
        AnsweringServer server(QHostAddress(loopback(1)));
        const QList<VisualRef> visuals = visualsOfFolders(64);
        const double queued = memoryGrowth([&] { syncByHandler(server, visuals); });
        const double atOnce = memoryGrowth([&] { syncAllAtOnce(server, visuals); });
        const Comparison time = compare([&] { syncByHandler(server, visuals); },
                                        [&] { syncAllAtOnce(server, visuals); }, 3);
        qInfo("%lld commands; memory grew by %.1f MB with the queue, by %.1f MB all at once, "
              "ratio %.3f",
              static_cast<long long>(visuals.size()), queued, atOnce, queued / atOnce);
        time.print("queue", "all requests posted at once");
        QVERIFY(queued < 0.2 * atOnce);
        QVERIFY(time.ratio() < 0.8);
    }
};

QTEST_GUILESS_MAIN(tst_HandlerBenchmark)
#include "tst_HandlerBenchmark.moc"
