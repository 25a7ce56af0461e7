// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerConnectionHandler.h"
#include "Service/StreamFraming.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Answers every command at once and keeps nothing, so that the memory measured is the client's.
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
    // A client waits for each answer, so that a body ends what has arrived.
    void read(QTcpSocket &socket)
    {
        if (!socket.peek(socket.bytesAvailable()).endsWith("ver=281474976710656"))
            return;
        (void)socket.readAll();
        socket.write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        whenAnswered(++commands);
    }
};

/// A figure of this process in KiB, such as "VmRSS"; 0 where the system does not tell.
qint64 processMemory(const QString &name)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QRegularExpression line(name + u":\\s+(\\d+) kB"_s);
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong();
}

qint64 framingTime(const QByteArray &stream, qsizetype chunkSize)
{
    QElapsedTimer timer;
    timer.start();
    QByteArray buffer;
    qsizetype documents = 0;
    for (qsizetype at = 0; at < stream.size(); at += chunkSize)
        documents += StreamFraming::takeDocuments(buffer, stream.mid(at, chunkSize)).size();
    return documents == 1 ? timer.nsecsElapsed() : -1;
}

} // namespace

/// What a handler costs at its limits.
class tst_HandlerBenchmark : public QObject
{
    Q_OBJECT

private slots:
    // One message with all the transfers of a full library, as it trickles in.
    void longFrameInManyChunks()
    {
        QByteArray frame = "{\"msg_type\":0,\"active_transfers\":[";
        for (int i = 0; i < 65280; ++i)
            frame += "{\"ID\":\"{7d444840-9dc0-11d1-b245-5ffdce74fad2}\",\"STATUS\":0,"
                     "\"FLDIDX\":3,\"VISIDX\":17,\"SERVER\":\"http://127.0.0.2:4567\"},";
        frame.chop(1);
        frame += "]}";
        frame.append('\0');
        const qint64 whole = framingTime(frame, frame.size());
        const qint64 chunks = framingTime(frame, 1000);
        QVERIFY(whole > 0 && chunks > 0);
        const double ratio = static_cast<double>(chunks) / static_cast<double>(whole);
        qInfo("A frame of %.1f MB: %.0f ms in one chunk, %.0f ms in chunks of 1000 bytes, %.2f "
              "times",
              static_cast<double>(frame.size()) / 1e6, static_cast<double>(whole) / 1e6,
              static_cast<double>(chunks) / 1e6, ratio);
        QVERIFY(ratio < 3);
    }

    void largestSynchronisation()
    {
        AnsweringServer server(QHostAddress(u"127.20.9.1"_s));
        ServerConnectionHandler handler(server.serverAddress(), QUuid::createUuid());
        QList<VisualRef> visuals;
        for (int folder = 0; folder < 256; ++folder) {
            for (int slot = 1; slot < 256; ++slot)
                visuals.append({folder, slot});
        }
        const qint64 before = processMemory(u"VmRSS"_s);
        QElapsedTimer timer;
        timer.start();
        handler.requestSync(server.serverAddress(), visuals);
        const qint64 call = timer.elapsed();
        // Not by qWait, which sleeps between its rounds.
        QEventLoop loop;
        QTimer::singleShot(240000, &loop, &QEventLoop::quit);
        server.whenAnswered = [&](qsizetype commands) {
            if (commands == visuals.size())
                loop.quit();
        };
        loop.exec();
        QCOMPARE(server.commands, visuals.size());
        const qint64 all = timer.elapsed();
        const qint64 growth = processMemory(u"VmHWM"_s) - before;
        qInfo("%lld commands: the call took %lld ms, all of them %lld ms; memory grew by %.1f MB "
              "at its peak",
              static_cast<long long>(visuals.size()), call, all,
              static_cast<double>(growth) / 1024);
        QVERIFY(growth < 200 * 1024);
    }
};

QTEST_GUILESS_MAIN(tst_HandlerBenchmark)
#include "tst_HandlerBenchmark.moc"
