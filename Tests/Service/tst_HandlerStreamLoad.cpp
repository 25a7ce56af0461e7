// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/HandlerFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>

#include <chrono>
#include <memory>
#include <utility>

namespace {

const QString address = loopback(1);
const QByteArray libraryChanged = Wire::frame(json("{'msg_type':6}"));
const QByteArray shutdown = Wire::frame(json("{'msg_type':4}"));

QByteArray padded(qsizetype size)
{
    return Wire::frame(json("{'msg_type':6,'x':'") + QByteArray(size, 'x') + json("'}"));
}

/// Blocks the event loop for that time, as a busy program does.
void keepBusy(std::chrono::milliseconds time)
{
    for (const QDeadlineTimer end(time); !end.hasExpired();) {
    }
}

} // namespace

/// A stream with more to read than the program handles at once.
class tst_HandlerStreamLoad : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        server = std::make_unique<WireServer>(address);
    }

    void cleanup()
    {
        handler.reset();
        server.reset();
    }

    void everythingArrives_data()
    {
        QTest::addColumn<bool>("chunked");
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<int>("count");
        for (const bool chunked : {true, false}) {
            const char *form = chunked ? "chunked" : "until the end";
            QTest::addRow("a frame of 8 MB, %s", form) << chunked << padded(8 << 20) << 1;
            QTest::addRow("frames of 64 KiB, %s", form) << chunked << padded(64 << 10) << 40;
            QTest::addRow("many frames, %s", form) << chunked << libraryChanged << 100'000;
        }
    }
    void everythingArrives()
    {
        QFETCH(const bool, chunked);
        QFETCH(const QByteArray, message);
        QFETCH(const int, count);
        open(chunked);
        send(message.repeated(count));
        EVENTUALLY_COMPARE(changes, count);
        // The stream continues, and its last messages are not lost when it ends.
        send(message.repeated(count) + shutdown);
        if (chunked)
            stream.send(Wire::lastChunk());
        else
            stream.close();
        EVENTUALLY_COMPARE(ends, 1);
        QCOMPARE(changes, 2 * count);
        QCOMPARE(reason, Brenvoka::DisconnectServerShutdown);
    }

    // More bytes than are read ahead are sent when the connection is closed.
    void closeDuringABurstLosesNothing_data()
    {
        QTest::addColumn<bool>("chunked");
        QTest::newRow("chunked") << true;
        QTest::newRow("until the end") << false;
    }
    void closeDuringABurstLosesNothing()
    {
        QFETCH(const bool, chunked);
        open(chunked);
        connect(handler.get(), &ServerConnectionHandler::connectedServerLibraryChanged, this, [&] {
            if (changes != 1)
                return;
            send(libraryChanged.repeated(50'000) + shutdown);
            if (chunked)
                stream.send(Wire::lastChunk());
            stream.close();
            // No event loop runs here: Qt's thread reads only a limited amount ahead.
            keepBusy(std::chrono::milliseconds(200));
        });
        send(libraryChanged);
        EVENTUALLY_COMPARE(ends, 1);
        QCOMPARE(changes, 50'001);
        QCOMPARE(reason, Brenvoka::DisconnectServerShutdown);
    }

    void serverIsSlowedDownWhileTheProgramIsBusy_data() { closeDuringABurstLosesNothing_data(); }
    void serverIsSlowedDownWhileTheProgramIsBusy()
    {
        QFETCH(const bool, chunked);
        open(chunked);
        const qint64 unsent = unsentWhileBusy();
        QCOMPARE(changes, 1537);
        QVERIFY2(unsent > 32 << 20, qPrintable(QString::number(unsent)));
    }

    void nestedLoopContinuesReading()
    {
        open(true);
        bool nested = false;
        connect(handler.get(), &ServerConnectionHandler::connectedServerLibraryChanged, this, [&] {
            if (changes == 1)
                nested = waitFor([&] { return changes == 20'000; });
        });
        send(libraryChanged.repeated(10'000));
        send(libraryChanged.repeated(10'000));
        EVENTUALLY_COMPARE(changes, 20'000);
        QVERIFY(nested);
    }

private:
    void open(bool chunked)
    {
        changes = ends = 0;
        server->on(notifierPath, [chunked](const WireRequest &request) {
            request.send(chunked ? Wire::chunkedHead() : Wire::streamHead());
        });
        handler = std::make_unique<ServerConnectionHandler>(server->address(), QUuid::createUuid());
        connect(handler.get(), &ServerConnectionHandler::connectedServerLibraryChanged, this,
                [this] { ++changes; });
        connect(handler.get(), &ServerConnectionHandler::handlerServerDisconnected, this,
                [this](const auto &, const auto &, Brenvoka::ServerDisconnectReason why) {
                    reason = why;
                    ++ends;
                });
        isChunked = chunked;
        QVERIFY(server->waitForRequests(1, notifierPath));
        stream = server->requests(notifierPath).constFirst();
    }

    /// How many bytes of 96 MB stay with the server while the first message is handled. The
    /// system's buffers take some: up to 36 MB with Linux's usual limits. Half a second without
    /// progress is the end of that. Returns when all of it has been read. Each message is a chunk:
    /// Qt reads a single chunk to its end as long as its bytes arrive faster than it reads.
    qint64 unsentWhileBusy()
    {
        const QByteArray message = padded(64 << 10);
        const QByteArray bytes = isChunked ? Wire::chunk(message) : message;
        qint64 unsent = -1;
        connect(handler.get(), &ServerConnectionHandler::connectedServerLibraryChanged, this, [&] {
            if (changes != 1)
                return;
            stream.send(bytes.repeated(1536));
            QElapsedTimer quiet;
            for (quiet.start(); quiet.elapsed() < 500 && unsent != 0;) {
                keepBusy(std::chrono::milliseconds(1));
                if (std::exchange(unsent, stream.unsent()) != unsent)
                    quiet.restart();
            }
        });
        send(libraryChanged);
        (void)waitFor([this] { return changes == 1537; });
        return unsent;
    }

    void send(const QByteArray &bytes) const
    {
        stream.send(isChunked ? Wire::chunk(bytes) : bytes);
    }

    std::unique_ptr<WireServer> server;
    std::unique_ptr<ServerConnectionHandler> handler;
    WireRequest stream;
    bool isChunked = false;
    int changes = 0;
    int ends = 0;
    Brenvoka::ServerDisconnectReason reason = Brenvoka::DisconnectNone;
};

QTEST_GUILESS_MAIN(tst_HandlerStreamLoad)
#include "tst_HandlerStreamLoad.moc"
