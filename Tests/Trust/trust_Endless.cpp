// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ControllerFixture.h"
#include "Service/ThumbnailFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/LoopWatch.h"
#include "Support/ProcessUse.h"
#include "Support/Trust.h"

#include <QElapsedTimer>
#include <QRegularExpression>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <list>
#include <mutex>
#include <thread>
#include <vector>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray library = "/brenvoka/library.json";
const QByteArray stream = "/brenvoka/notifier.html";

const QByteArray okHead = "HTTP/1.1 200 OK\r\n";
const QByteArray libraryHead = okHead + "X-BVProtocolVersion: 1\r\n";
const QByteArray kilobyte(1024, 'x');
const QByteArray headerLine = "X-Filler: " + QByteArray(1012, 'x') + "\r\n";

/// What a server sends for one of its paths: the head, then the piece again and again.
struct Attack
{
    const char *name;
    QByteArray path;
    QByteArray head;
    QByteArray piece;
    qint64 count;
    QByteArray tail;
    bool isListed; ///< whether the server is connected nevertheless
    const char *warning = nullptr;
    unsigned bytesPerSecond = 0; ///< 0 if nothing limits it
    double mostMemory = 0;       ///< in MB; 0 if nothing limits it
};

Visual hostileVisual()
{
    return visual(3, u"Hostile"_s);
}

/// Serves one attack, each connection in a thread of its own, which sends as fast as the program
/// reads. What was sent whole stays open: the program waits for more.
class Attacker final
{
public:
    Attacker(const QString &address, const Attack &what)
        : attack(what)
    {
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(4567);
        inet_pton(AF_INET, address.toLatin1().constData(), &local.sin_addr);
        const int on = 1;
        setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (bind(listener, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0 ||
            listen(listener, 16) != 0)
            qFatal("cannot listen");
        acceptor = std::thread([this] { accept(); });
    }
    ~Attacker()
    {
        shutdown(listener, SHUT_RDWR);
        acceptor.join();
        {
            const std::lock_guard guard(lock);
            for (const int socket : sockets)
                shutdown(socket, SHUT_RDWR);
        }
        for (std::thread &connection : connections)
            connection.join();
        for (const int socket : sockets)
            close(socket);
        close(listener);
    }
    Q_DISABLE_COPY_MOVE(Attacker)

    /// Of the attack, and whether all of it was sent or the program has closed the connection.
    std::atomic<qint64> sent = 0;
    std::atomic<bool> isOver = false;

private:
    void accept()
    {
        while (true) {
            const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (socket < 0)
                return;
            const std::lock_guard guard(lock);
            sockets.push_back(socket);
            connections.emplace_back([this, socket] { serve(socket); });
        }
    }
    void serve(int socket)
    {
        QByteArray request;
        char buffer[4096];
        for (ssize_t size = 0; (size = recv(socket, buffer, sizeof buffer, 0)) > 0;) {
            request.append(buffer, size);
            if (!request.endsWith("\r\n\r\n"))
                continue;
            answer(socket, request);
            request.clear();
        }
    }
    void answer(int socket, const QByteArray &request)
    {
        if (request.startsWith("GET " + attack.path)) {
            if (attack.bytesPerSecond > 0)
                setsockopt(socket, SOL_SOCKET, SO_MAX_PACING_RATE, &attack.bytesPerSecond,
                           sizeof attack.bytesPerSecond);
            bool isRead = send(socket, attack.head);
            for (qint64 number = 0; isRead && number < attack.count; ++number)
                isRead = send(socket, attack.piece);
            if (isRead)
                send(socket, attack.tail);
            isOver = true;
        } else if (request.startsWith("GET " + library)) {
            sendAll(socket, Wire::response(ordinaryLibrary(), "X-BVProtocolVersion: 1\r\n"));
        } else {
            sendAll(socket, Wire::streamHead() + Wire::frame("{}"));
        }
    }
    static QByteArray ordinaryLibrary()
    {
        return libraryDocument({folder(3, u"Stage"_s, {hostileVisual()})}, u"hostile"_s).toJson();
    }
    bool send(int socket, const QByteArray &bytes)
    {
        sent += bytes.size();
        return sendAll(socket, bytes);
    }
    static bool sendAll(int socket, const QByteArray &bytes)
    {
        for (qsizetype done = 0; done < bytes.size();) {
            const ssize_t size =
                ::send(socket, bytes.constData() + done, size_t(bytes.size() - done), MSG_NOSIGNAL);
            if (size <= 0)
                return false;
            done += size;
        }
        return true;
    }

    const Attack &attack;
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::thread acceptor;
    std::mutex lock;
    std::list<int> sockets;
    std::list<std::thread> connections;
};

QByteArray lengthOf(qint64 length)
{
    return "Content-Length: " + QByteArray::number(length) + "\r\n\r\n";
}

/// A response that is sent whole.
Attack complete(const char *name, const QByteArray &path, const QByteArray &body, bool isListed)
{
    return {name, path, libraryHead + lengthOf(body.size()) + body, {}, 0, {}, isListed};
}

Attack picture(const char *name, const QByteArray &body, const char *warning = nullptr)
{
    Attack attack = complete(name, thumbnails, body, true);
    attack.warning = warning;
    return attack;
}

/// A chunk without an end, as fast as a network of a gigabit a second.
Attack pacedChunk(const char *name, const QByteArray &path, bool isListed, int limit, int megabytes)
{
    const QByteArray head = libraryHead + "Transfer-Encoding: chunked\r\n\r\n7fffffff\r\n";
    const QByteArray piece = kilobyte.repeated(1024);
    const double kernelBuffers = 40;
    return {name, path,     head,    piece,       megabytes,
            {},   isListed, nullptr, 125'000'000, limit + kernelBuffers};
}

/// A library whose length is broken.
Attack broken(const char *name, const QByteArray &headers, const QByteArray &body)
{
    return {name, library, libraryHead + headers + "\r\n" + body, {}, 0, {}, false};
}

QByteArray compressionBomb()
{
    const QByteArray bomb = qCompress(QByteArray(Trust::size(64, 512) << 20, '\0'), 9).mid(4);
    return libraryHead + "Content-Encoding: deflate\r\n" + lengthOf(bomb.size()) + bomb;
}

QByteArray manyFolders()
{
    const QByteArray folder = "{\"files\":[],\"name\":\"x\",\"slot\":256}";
    return "{\"hash\":\"h\",\"folders\":[" +
           (folder + ',').repeated(Trust::size(100'000, 1'000'000)) + folder + "]}";
}

QList<Attack> attacksOnLibraries()
{
    const qint64 headers = Trust::size(1, 16) * 1024; // in KB; Qt reads them byte by byte
    const qint64 bodies = Trust::size(32, 1024) * 1024;
    const QByteArray chunked = libraryHead + "Transfer-Encoding: chunked\r\n\r\n";
    return {
        {"header without end", library, okHead, headerLine, headers, {}, false},
        {"header line without end", library, okHead + "X: ", kilobyte, headers, {}, false},
        {"200,000 header lines", library, libraryHead, "X-A: b\r\n", 200'000, lengthOf(0), false},
        {"body without end", library, libraryHead + "\r\n", kilobyte, bodies, {}, false},
        {"chunk without end", library, chunked + "7fffffff\r\n", kilobyte, bodies, {}, false},
        pacedChunk("chunk without end from a network", library, false, 256, Trust::size(32, 1024)),
        {"chunk size without end", library, chunked, QByteArray(1024, '1'), headers, {}, false},
        {"library of 1 GB", library, libraryHead + lengthOf(1 << 30), kilobyte, 1 << 20, {}, false},
        {"compression bomb", library, compressionBomb(), {}, 0, {}, false, "Internal problem"},
        complete("100,000 nested arrays", library, QByteArray(100'000, '['), false),
        complete("folders with slot 256", library, manyFolders(), true),
        broken("negative length", "Content-Length: -1\r\n", "{}"),
        broken("length of 20 digits", "Content-Length: 99999999999999999999\r\n", "{}"),
        broken("length that is a word", "Content-Length: many\r\n", "{}"),
        broken("two lengths", "Content-Length: 2\r\nContent-Length: 3\r\n", "{}"),
        broken("chunk size that is a word", "Transfer-Encoding: chunked\r\n", "many\r\n{}\r\n"),
        broken("negative chunk size", "Transfer-Encoding: chunked\r\n", "-2\r\n{}\r\n"),
        broken("chunk size of 20 digits", "Transfer-Encoding: chunked\r\n",
               "ffffffffffffffffffff\r\n{}\r\n"),
    };
}

/// The same for the other responses of a connected server.
QList<Attack> otherAttacks()
{
    const qint64 headers = Trust::size(1, 16) * 1024;
    const QByteArray open = Wire::streamHead() + "{\"a\":\"";
    const QByteArray unreadable = QByteArray(1023, 'x') + '\0';
    return {
        {"stream header without end", stream, okHead, headerLine, headers, {}, false},
        {"frame without end", stream, open, kilobyte, Trust::size(32, 512) * 1024, {}, true},
        {"frames after one that is never read",
         stream,
         open,
         unreadable,
         Trust::size(4, 64) * 1024,
         {},
         true},
        {"thumbnail header without end", thumbnails, okHead, headerLine, headers, {}, true},
        {"thumbnail without end", thumbnails, okHead + "\r\n", kilobyte, 32 * 1024, {}, true},
        pacedChunk("thumbnail chunk without end from a network", thumbnails, true, 16,
                   Trust::size(96, 512)),
        picture("picture with the most scans", jpegWithScans({4096, 4096}, 16),
                "Inconsistent progression"),
        picture("picture with too many scans",
                jpegWithScans({4096, 4096}, Trust::size(1'000, 500'000))),
    };
}

} // namespace

/// One server answers without an end, with too much or with nonsense. Meanwhile the other servers
/// keep working: the stream of one, the library of another, and one that appears.
class trust_Endless final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void othersKeepWorking_data()
    {
        QTest::addColumn<int>("number");
        for (int number = 0; number < attacks.size(); ++number)
            QTest::newRow(attacks.at(number).name) << number;
    }
    void othersKeepWorking()
    {
        QFETCH(const int, number);
        const Attack &attack = attacks.at(number);
        if (attack.warning)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(QString::fromUtf8(attack.warning)));
        QVERIFY(open());
        const Attacker attacker(loopback(4), attack);
        const double memory = ProcessUse::memory();
        QVERIFY(ProcessUse::resetMemoryPeak());
        const LoopWatch watch;
        QElapsedTimer clock;
        clock.start();
        const QUuid hostile = QUuid::createUuid();
        fixture->controller().addServer(hostile, QHostAddress(loopback(4)), 8, u"Hostile"_s);
        if (attack.path == thumbnails) {
            EVENTUALLY(isListed(u"Hostile"_s));
            fixture->choose(fixture->bankB(), u"Hostile"_s);
            doubleClickRow(fixture->bankB(), 3);
        }
        EVENTUALLY(attacker.sent > 0);

        QVERIFY(useOthers());
        const qint64 time = clock.elapsed();
        EVENTUALLY(attacker.isOver);
        EVENTUALLY_COMPARE(isListed(u"Hostile"_s), attack.isListed);
        if (attack.path == thumbnails && attack.count == 0)
            EVENTUALLY(QPixmapCache::find(u"thumbnail+"_s + hostileVisual().hash, nullptr));
        const double peak = ProcessUse::memoryPeak() - memory;
        Trust::report("Endless", u"%1: %2 MB sent, %3, peak memory +%4 MB, others served after "
                                 "%5 ms"_s.arg(QString::fromUtf8(attack.name))
                                     .arg(double(attacker.sent) / (1 << 20), 0, 'f', 1)
                                     .arg(watch.figures())
                                     .arg(peak, 0, 'f', 0)
                                     .arg(time));
        if (attack.mostMemory > 0 && ProcessUse::isMemoryMeasured)
            QCOMPARE_LT(peak, attack.mostMemory);
        fixture->controller().removeServer(hostile);
        QVERIFY(!isListed(u"Hostile"_s));
    }

    void cleanup()
    {
        fixture.reset();
        servers.clear();
        QPixmapCache::clear();
    }

private:
    [[nodiscard]] bool open()
    {
        for (int number = 1; number <= 3; ++number)
            servers.push_back(std::make_unique<ScriptedServer>(loopback(number)));
        fixture = std::make_unique<ControllerFixture>();
        return fixture->show() && connectServer(0) && connectServer(1);
    }
    [[nodiscard]] bool connectServer(size_t number)
    {
        return fixture->connectServer(*servers[number], u"Server %1"_s.arg(number),
                                      {folder(0, u"Intro"_s)});
    }
    [[nodiscard]] bool isListed(const QString &name) const
    {
        return fixture->offered(fixture->bankB()).contains(name);
    }
    [[nodiscard]] bool useOthers()
    {
        const auto record = [&](size_t number) -> const Server & {
            return fixture->controller().connectedServer(servers[number]->uuid);
        };
        servers[0]->stream.send(Wire::frame("{\"msg_type\":5,\"GFPS\":7}"));
        servers[1]->setLibrary({folder(0, u"Changed"_s)});
        servers[1]->sendLibraryChanged();
        return waitFor([&] { return record(0).graphFps == 7.0F; }) && connectServer(2) &&
               waitFor([&] { return record(1).folders.value(0).name == u"Changed"_s; });
    }

    const QList<Attack> attacks = attacksOnLibraries() + otherAttacks();
    std::unique_ptr<ControllerFixture> fixture;
    std::vector<std::unique_ptr<ScriptedServer>> servers;
};

QTEST_MAIN(trust_Endless)
#include "trust_Endless.moc"
