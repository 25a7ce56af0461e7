// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/BoundedDownload.h"

#include "Support/FailOnWarning.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <thread>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 limit = 1 << 20;
const QByteArray cacheable = "Cache-Control: max-age=3600\r\n";
const QByteArray deflated = cacheable + "Content-Encoding: deflate\r\n";

/// Bytes that deflate compresses by a factor of twenty: too little for Qt to detect a bomb.
QByteArray compressible(qsizetype size)
{
    QByteArray bytes(size, '\0');
    for (qsizetype i = 0; i < size; i += 25)
        bytes[i] = char(QRandomGenerator::global()->generate());
    return bytes;
}

QByteArray deflate(const QByteArray &bytes)
{
    return qCompress(bytes).mid(4);
}

/// A server in another thread that sends an enormous body as fast as it is read, also while the
/// event loop of the test is busy.
class EnormousServer
{
public:
    explicit EnormousServer(const QHostAddress &address)
    {
        listener.listen(address, 4567);
        listener.moveToThread(nullptr);
        thread = std::thread([this] { serve(); });
    }
    ~EnormousServer()
    {
        stop = true;
        thread.join();
    }
    Q_DISABLE_COPY_MOVE(EnormousServer)

    std::atomic<qint64> sent = 0;

private:
    void serve()
    {
        listener.moveToThread(QThread::currentThread());
        if (!listener.waitForNewConnection(patience))
            return;
        const std::unique_ptr<QTcpSocket> socket(listener.nextPendingConnection());
        socket->waitForReadyRead(patience);
        socket->write(Wire::streamHead());
        const QByteArray piece(1 << 18, 'x');
        while (!stop && sent < most && socket->state() == QAbstractSocket::ConnectedState) {
            if (socket->bytesToWrite() == 0)
                sent += socket->write(piece);
            socket->waitForBytesWritten(10);
        }
    }

    static constexpr qint64 most = 256 * limit;
    QTcpServer listener;
    std::atomic<bool> stop = false;
    std::thread thread;
};

/// A reply without an error whose body has fewer bytes than its head states.
class ShortReply final : public QNetworkReply
{
public:
    ShortReply()
    {
        setHeader(QNetworkRequest::ContentLengthHeader, 6);
        open(ReadOnly);
    }
    [[nodiscard]] qint64 bytesAvailable() const override { return 5 - position; }
    void abort() override {}

protected:
    qint64 readData(char *data, qint64 size) override
    {
        const qint64 taken = std::min(size, 5 - position);
        std::fill_n(data, taken, 'x');
        position += taken;
        return taken;
    }

private:
    qint64 position = 0;
};

class ShortManager final : public QNetworkAccessManager
{
protected:
    QNetworkReply *createRequest(Operation, const QNetworkRequest &, QIODevice *) override
    {
        return new ShortReply;
    }
};

} // namespace

/// Bodies up to the limit, past it and without an end, and what is cached of them.
class tst_BoundedDownload : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        directory = std::make_unique<QTemporaryDir>();
        peer = std::make_unique<WireServer>(loopback(1));
        manager = std::make_unique<QNetworkAccessManager>();
        manager->setProxy(QNetworkProxy::NoProxy);
        auto *cache = new QNetworkDiskCache(manager.get());
        cache->setCacheDirectory(directory->path());
        manager->setCache(cache);
    }

    void cleanup()
    {
        manager.reset();
        peer.reset();
        directory.reset();
    }

    void bodyUpToTheLimitArrivesAndIsCached_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QByteArray>("body");
        const QByteArray longest(limit, 'x');
        QTest::newRow("stated length") << Wire::response(longest, cacheable) << longest;
        QTest::newRow("chunked") << Wire::chunkedHead(cacheable) + Wire::chunk(longest) +
                                        Wire::lastChunk()
                                 << longest;
        const QByteArray packed = compressible(limit);
        QTest::newRow("compressed") << Wire::response(deflate(packed), deflated) << packed;
        QTest::newRow("compressed to more bytes")
            << Wire::response(deflate("x"), deflated) << QByteArray("x");
        QTest::newRow("small") << Wire::response("x", cacheable) << QByteArray("x");
    }
    void bodyUpToTheLimitArrivesAndIsCached()
    {
        QFETCH(QByteArray, response);
        QFETCH(QByteArray, body);
        peer->on("/", [response](const WireRequest &request) { request.send(response); });
        for (int i = 0; i < 2; ++i) {
            QNetworkReply *reply = get();
            EVENTUALLY(reply->isFinished());
            QCOMPARE(reply->error(), QNetworkReply::NoError);
            QVERIFY(!BoundedDownload::failure(*reply));
            QCOMPARE(reply->readAll(), body);
        }
        QCOMPARE(peer->requests().size(), 1);
    }

    void connectionIsClosedAfterTheDownload()
    {
        peer->answer("/", "x");
        const QNetworkReply *reply = get();
        EVENTUALLY(reply->isFinished());
        EVENTUALLY_COMPARE(peer->openConnections(), 0);
        QCOMPARE(reply->error(), QNetworkReply::NoError);
    }

    void bodyPastTheLimitIsAborted_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("piece");
        const QByteArray piece(1 << 16, 'x');
        QTest::newRow("stated length")
            << "HTTP/1.1 200 OK\r\n" + cacheable + "Content-Length: 1048577\r\n\r\n"
            << QByteArray();
        QTest::newRow("one byte more")
            << Wire::chunkedHead(cacheable) + Wire::chunk(QByteArray(limit + 1, 'x'))
            << QByteArray();
        QTest::newRow("chunked without an end")
            << Wire::chunkedHead(cacheable) << Wire::chunk(piece);
        QTest::newRow("without a length") << Wire::streamHead(cacheable) << piece;
        QTest::newRow("compressed")
            << Wire::response(deflate(compressible(limit + 1)), deflated).chopped(1)
            << QByteArray();
    }
    void bodyPastTheLimitIsAborted()
    {
        QFETCH(QByteArray, head);
        QFETCH(QByteArray, piece);
        LogCapture log;
        answerWithoutEnd(head, piece);
        QNetworkReply *reply = get();
        QSignalSpy finished(manager.get(), &QNetworkAccessManager::finished);
        EVENTUALLY_COMPARE(finished.size(), 1);
        QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
        QCOMPARE(log.texts(), QStringList{u"Aborting the download of http://" LOOPBACK(
                                  1) ":4567/: "
                                     "more than 1048576 bytes"_s});
        EVENTUALLY_COMPARE(peer->openConnections(), 0);
        QCOMPARE(finished.size(), 1);
        verifyNothingIsCached();
    }

    void endlessBombIsAborted()
    {
        // Qt reports some ten megabytes of zeros as a bomb, and continues the download.
        QTest::ignoreMessage(QtWarningMsg,
                             "QNetworkReplyImplPrivate::error: Internal problem, this "
                             "method must only be called once.");
        answerWithoutEnd(Wire::chunkedHead(deflated),
                         Wire::chunk(deflate(QByteArray(64 << 20, '\0'))));
        QNetworkReply *reply = get(64 << 20);
        EVENTUALLY(reply->isFinished());
        QCOMPARE(reply->error(), QNetworkReply::UnknownContentError);
        EVENTUALLY_COMPARE(peer->openConnections(), 0);
        verifyNothingIsCached();
    }

    void bodyShorterThanStatedIsAFailure()
    {
        ShortManager shortManager;
        const std::unique_ptr<QNetworkReply> reply(BoundedDownload::get(shortManager, {}, limit));
        QCOMPARE(reply->error(), QNetworkReply::NoError);
        QVERIFY(BoundedDownload::failure(*reply));
    }

    // Qt reports some of them as an error and some as complete, mostly when the machine is busy.
    void truncatedBodyIsAFailureAndNotCached()
    {
        peer->on("/", [](const WireRequest &request) {
            request.send(Wire::response(QByteArray(limit, 'x'), cacheable).chopped(1));
            request.close();
        });
        QNetworkReply *reply = get();
        EVENTUALLY(reply->isFinished());
        QVERIFY(BoundedDownload::failure(*reply));
        verifyNothingIsCached();
    }

    void busyEventLoopDoesNotFillTheMemory()
    {
        EnormousServer enormous(QHostAddress(loopback(2)));
        QNetworkReply *reply =
            BoundedDownload::get(*manager, QUrl(u"http://" LOOPBACK(2) ":4567/"_s), limit);
        // The server sends until the buffers of the connection are full.
        QElapsedTimer silent;
        connect(reply, &QNetworkReply::metaDataChanged, this, [&] {
            silent.start();
            for (qint64 before = 0; before < 64 * limit && !silent.hasExpired(1000);) {
                if (std::exchange(before, enormous.sent) != enormous.sent)
                    silent.start();
                QThread::yieldCurrentThread();
            }
        });
        EVENTUALLY(reply->isFinished());
        QVERIFY(silent.isValid());
        QCOMPARE_LT(enormous.sent, 32 * limit);
    }

private:
    QNetworkReply *get(qint64 most = limit)
    {
        return BoundedDownload::get(*manager, QUrl(u"http://" LOOPBACK(1) ":4567/"_s), most);
    }

    void answerWithoutEnd(const QByteArray &head, const QByteArray &piece)
    {
        peer->on("/", [head, piece](const WireRequest &request) {
            request.send(head);
            if (!piece.isEmpty())
                request.sendWithoutEnd(piece);
        });
    }

    /// Neither among the files nor, under Linux, among the open ones that have no name.
    void verifyNothingIsCached() const
    {
        QStringList kept;
        QDirIterator files(directory->path(), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            kept.append(files.next());
        QDirIterator open(u"/proc/self/fd"_s, QDir::Files | QDir::System);
        while (open.hasNext())
            kept.append(QFile::symLinkTarget(open.next()));
        QCOMPARE(kept.filter(directory->path()), QStringList());
    }

    std::unique_ptr<QTemporaryDir> directory;
    std::unique_ptr<WireServer> peer;
    std::unique_ptr<QNetworkAccessManager> manager;
};

QTEST_GUILESS_MAIN(tst_BoundedDownload)
#include "tst_BoundedDownload.moc"
