// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Discovery/DiscoverySocket.h"

#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

/// An open discovery socket that is closed again.
struct OpenSocket : Discovery::DiscoverySocket
{
    OpenSocket()
        : Discovery::DiscoverySocket{}
    {
        Discovery::init(*this);
        Discovery::open(*this);
        Discovery::resetTable(*this);
    }
    ~OpenSocket() { Discovery::close(*this); }
    Q_DISABLE_COPY_MOVE(OpenSocket)
};

/// While it lives the process can open no more files and sockets.
class NoMoreDescriptors
{
public:
    NoMoreDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before); }
    Q_DISABLE_COPY_MOVE(NoMoreDescriptors)

private:
    rlimit before{};
};

int drain(Discovery::DiscoverySocket &socket)
{
    int announcements = 0;
    while (Discovery::poll(socket))
        ++announcements;
    return announcements;
}

} // namespace

class tst_DiscoverySocket final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void initZeroesEverythingButTheTable();
    void openBindsToPort3001OfEveryInterface();
    void openDoesNotWaitAndIsNotInherited();
    void twoSocketsShareThePort();
    void failureToCreateIsRecorded();
    void failureToBindIsRecordedAndLeavesTheSocketOpen();
    void neverUsesDescriptorZero();

    void emptySocketLeavesTheErrorUntouched();
    void closedSocketRecordsAnErrorEachTime();
    void brokenSocketRecordsTheSystemsError();
    void announcementFillsOneEntry();
    void shortDatagramIsCountedAndNotTaken_data();
    void shortDatagramIsCountedAndNotTaken();
    void otherTypeIsCountedAndEndsTheDraining();
    void oversizedDatagramIsAnError_data();
    void oversizedDatagramIsAnError();
    void firstAnnouncementOfAnAddressWins();
    void portOfTheSenderDoesNotCount();
    void eleventhSenderIsDroppedAndHeardLater();
    void countsSurviveAReset();
    void everyPollClearsTheSeenFlags();
    void listsNames();
    void findsByExactName();
    void negativeCountIsGivenAsNone();
};

void tst_DiscoverySocket::initZeroesEverythingButTheTable()
{
    Discovery::DiscoverySocket socket{};
    socket.socket = socket.lastError = socket.lastSocketError = 9;
    socket.datagramsReceived = socket.bytesReceived = socket.serverCount = 9;
    socket.servers[3].netmask = 9;
    Discovery::init(socket);
    QCOMPARE(socket.socket, 0);
    QCOMPARE(socket.lastError, 0);
    QCOMPARE(socket.lastSocketError, 0);
    QCOMPARE(socket.datagramsReceived, 0);
    QCOMPARE(socket.bytesReceived, 0);
    QCOMPARE(Discovery::serverCount(socket), 0);
    QCOMPARE(socket.servers[3].netmask, 9U);
}

void tst_DiscoverySocket::openBindsToPort3001OfEveryInterface()
{
    const OpenSocket socket;
    QVERIFY(socket.socket > 0);
    QCOMPARE(socket.lastError, 0);
    QCOMPARE(ntohs(socket.bindAddress.sin_port), 3001);
    QCOMPARE(ntohl(socket.bindAddress.sin_addr.s_addr), 0U);

    sockaddr_in actual{};
    socklen_t length = sizeof actual;
    QCOMPARE(getsockname(socket.socket, reinterpret_cast<sockaddr *>(&actual), &length), 0);
    QCOMPARE(ntohs(actual.sin_port), 3001);
    QCOMPARE(ntohl(actual.sin_addr.s_addr), 0U);
}

void tst_DiscoverySocket::openDoesNotWaitAndIsNotInherited()
{
    const OpenSocket socket;
    QVERIFY(fcntl(socket.socket, F_GETFL) & O_NONBLOCK);
    QVERIFY(fcntl(socket.socket, F_GETFD) & FD_CLOEXEC);
}

void tst_DiscoverySocket::twoSocketsShareThePort()
{
    const OpenSocket first;
    const OpenSocket second;
    QCOMPARE(second.lastError, 0);
    QVERIFY(second.socket > 0);
}

void tst_DiscoverySocket::failureToCreateIsRecorded()
{
    const NoMoreDescriptors none;
    const OpenSocket socket;
    QCOMPARE(socket.lastError, -1);
    QCOMPARE(socket.lastSocketError, EMFILE);
    QCOMPARE(socket.socket, 0);
}

void tst_DiscoverySocket::failureToBindIsRecordedAndLeavesTheSocketOpen()
{
    // A socket that does not share the port keeps it from all others.
    const Announcer holder(u"0.0.0.0"_s, Discovery::port);
    QVERIFY(holder.isBound());
    const OpenSocket socket;
    QCOMPARE(socket.lastError, -2);
    QCOMPARE(socket.lastSocketError, EADDRINUSE);
    QVERIFY(socket.socket > 0);
}

void tst_DiscoverySocket::neverUsesDescriptorZero()
{
    const int standardInput = dup(0);
    ::close(0);
    {
        OpenSocket socket;
        QVERIFY(socket.socket > 0);
        QCOMPARE(socket.lastError, 0);
        QCOMPARE(fcntl(0, F_GETFD), -1);
    }
    if (standardInput >= 0) {
        dup2(standardInput, 0);
        ::close(standardInput);
    }
}

void tst_DiscoverySocket::emptySocketLeavesTheErrorUntouched()
{
    OpenSocket socket;
    QVERIFY(!Discovery::poll(socket));
    QCOMPARE(socket.lastError, 0);
    socket.lastError = -42;
    socket.lastSocketError = 42;
    QVERIFY(!Discovery::poll(socket));
    QCOMPARE(socket.lastError, -42);
    QCOMPARE(socket.lastSocketError, 42);
    QCOMPARE(socket.datagramsReceived, 0);
}

void tst_DiscoverySocket::closedSocketRecordsAnErrorEachTime()
{
    OpenSocket socket;
    Discovery::close(socket);
    QCOMPARE(socket.socket, 0);
    for (int call = 0; call < 2; ++call) {
        socket.lastError = 0;
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.lastError, -5);
    }
    Discovery::close(socket);
    QCOMPARE(socket.socket, 0);
}

void tst_DiscoverySocket::brokenSocketRecordsTheSystemsError()
{
    OpenSocket socket;
    ::close(socket.socket);
    QVERIFY(!Discovery::poll(socket));
    QCOMPARE(socket.lastError, -3);
    QCOMPARE(socket.lastSocketError, EBADF);
    socket.socket = 0;
}

void tst_DiscoverySocket::announcementFillsOneEntry()
{
    OpenSocket socket;
    const Announcer sender(u"127.10.1.1"_s);
    sender.send(announcement({.name = "Stage left"}));
    QVERIFY(Discovery::poll(socket));

    Discovery::DiscoveredServer *table = nullptr;
    std::size_t count = 99;
    Discovery::servers(socket, table, count);
    QCOMPARE(count, 1U);
    QCOMPARE(ntohl(table->source.sin_addr.s_addr), 0x7F0A0101U);
    QCOMPARE(ntohs(table->source.sin_port), sender.port());
    QCOMPARE(QByteArray(table->payload.data()), "Stage left"_ba);
    QCOMPARE(table->netmask, 0x00FFFFFFU);
    QVERIFY(table->seen);
    QCOMPARE(socket.datagramsReceived, 1);
    QCOMPARE(socket.bytesReceived, 128);
    QVERIFY(!Discovery::poll(socket));
}

void tst_DiscoverySocket::shortDatagramIsCountedAndNotTaken_data()
{
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 4, 127})
        QTest::addRow("%d bytes", size) << size;
}

void tst_DiscoverySocket::shortDatagramIsCountedAndNotTaken()
{
    QFETCH(const int, size);
    OpenSocket socket;
    Announcer(u"127.10.1.1"_s).send(announcement({}).first(size));
    QVERIFY(!Discovery::poll(socket));
    QCOMPARE(socket.datagramsReceived, 1);
    QCOMPARE(socket.bytesReceived, size);
    QCOMPARE(Discovery::serverCount(socket), 0);
    QCOMPARE(socket.lastError, 0);
}

void tst_DiscoverySocket::otherTypeIsCountedAndEndsTheDraining()
{
    OpenSocket socket;
    const Announcer first(u"127.10.1.1"_s);
    const Announcer second(u"127.10.1.2"_s);
    first.send(announcement({.type = 2}));
    second.send(announcement({}));

    QCOMPARE(drain(socket), 0);
    QCOMPARE(socket.datagramsReceived, 1);
    QCOMPARE(Discovery::serverCount(socket), 0);
    QCOMPARE(drain(socket), 1);
    QCOMPARE(socket.datagramsReceived, 2);
}

void tst_DiscoverySocket::oversizedDatagramIsAnError_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("error");
    QTest::newRow("1024 bytes") << 1024 << 0;
    QTest::newRow("1025 bytes") << 1025 << -3;
    QTest::newRow("9000 bytes") << 9000 << -3;
}

void tst_DiscoverySocket::oversizedDatagramIsAnError()
{
    QFETCH(const int, size);
    QFETCH(const int, error);
    OpenSocket socket;
    Announcer(u"127.10.1.1"_s).send(announcement({}) + QByteArray(size - 128, '\0'));
    QCOMPARE(Discovery::poll(socket), error == 0);
    QCOMPARE(socket.lastError, error);
    QCOMPARE(socket.lastSocketError, error == 0 ? 0 : EMSGSIZE);
    QCOMPARE(socket.datagramsReceived, error == 0 ? 1 : 0);
    QCOMPARE(Discovery::serverCount(socket), error == 0 ? 1 : 0);
}

void tst_DiscoverySocket::firstAnnouncementOfAnAddressWins()
{
    OpenSocket socket;
    const Announcer sender(u"127.10.1.1"_s);
    sender.send(announcement({.name = "first"}));
    sender.send(announcement(
        {.uuid = QUuid::createUuid(), .name = "second", .mask = QByteArray("\0\0\0\xff", 4)}));
    QCOMPARE(drain(socket), 2);
    QCOMPARE(Discovery::allNames(socket), std::vector<std::string>{"first"});
    QCOMPARE(socket.servers[0].netmask, 0x00FFFFFFU);
}

void tst_DiscoverySocket::portOfTheSenderDoesNotCount()
{
    OpenSocket socket;
    const Announcer first(u"127.10.1.1"_s);
    const Announcer second(u"127.10.1.1"_s);
    QVERIFY(first.port() != second.port());
    first.send(announcement({}));
    second.send(announcement({}));
    QCOMPARE(drain(socket), 2);
    QCOMPARE(Discovery::serverCount(socket), 1);
    QCOMPARE(ntohs(socket.servers[0].source.sin_port), first.port());
}

void tst_DiscoverySocket::eleventhSenderIsDroppedAndHeardLater()
{
    OpenSocket socket;
    for (int i = 1; i <= 11; ++i)
        Announcer(u"127.10.1.%1"_s.arg(i)).send(announcement({.name = QByteArray::number(i)}));
    QCOMPARE(drain(socket), 11);
    QCOMPARE(Discovery::serverCount(socket), 10);
    QVERIFY(!Discovery::findByName(socket, "11"));

    Discovery::resetTable(socket);
    Announcer(u"127.10.1.11"_s).send(announcement({.name = "11"}));
    QCOMPARE(drain(socket), 1);
    QVERIFY(Discovery::findByName(socket, "11"));
}

void tst_DiscoverySocket::countsSurviveAReset()
{
    OpenSocket socket;
    const Announcer sender(u"127.10.1.1"_s);
    for (int round = 1; round <= 3; ++round) {
        sender.send(announcement({}) + "tail");
        QCOMPARE(drain(socket), 1);
        Discovery::resetTable(socket);
        QCOMPARE(Discovery::serverCount(socket), 0);
        QCOMPARE(socket.servers[0].netmask, 0U);
        QCOMPARE(socket.datagramsReceived, round);
        QCOMPARE(socket.bytesReceived, 132 * round);
    }
}

void tst_DiscoverySocket::everyPollClearsTheSeenFlags()
{
    OpenSocket socket;
    const Announcer first(u"127.10.1.1"_s);
    const Announcer second(u"127.10.1.2"_s);
    first.send(announcement({.name = "first"}));
    second.send(announcement({.name = "second"}));
    first.send(announcement({.name = "again"}));
    const auto seen = [&socket] {
        std::vector<std::string> names{"kept"};
        Discovery::seenNames(socket, names);
        return names;
    };
    using Names = std::vector<std::string>;

    QVERIFY(Discovery::poll(socket));
    QCOMPARE(seen(), (Names{"kept", "first"}));
    QVERIFY(Discovery::poll(socket));
    QCOMPARE(seen(), (Names{"kept", "second"}));
    QVERIFY(Discovery::poll(socket));
    QCOMPARE(seen(), (Names{"kept", "first"}));
    QVERIFY(!Discovery::poll(socket));
    QCOMPARE(seen(), Names{"kept"});
}

void tst_DiscoverySocket::listsNames()
{
    OpenSocket socket;
    QVERIFY(Discovery::allNames(socket).empty());
    for (const char *name : {"b", "a", "c"})
        Announcer(u"127.10.1.%1"_s.arg(int(name[0]))).send(announcement({.name = name}));
    QCOMPARE(drain(socket), 3);
    QCOMPARE(Discovery::allNames(socket), (std::vector<std::string>{"b", "a", "c"}));
}

void tst_DiscoverySocket::findsByExactName()
{
    OpenSocket socket;
    Announcer(u"127.10.1.1"_s).send(announcement({.name = "Stage left"}));
    Announcer(u"127.10.1.2"_s).send(announcement({.name = "Stage"}));
    Announcer(u"127.10.1.3"_s).send(announcement({.name = "Stage"}));
    QCOMPARE(drain(socket), 3);
    QCOMPARE(Discovery::findByName(socket, "Stage left"), &socket.servers[0]);
    QCOMPARE(Discovery::findByName(socket, "Stage"), &socket.servers[1]);
    QCOMPARE(Discovery::findByName(socket, "stage"), nullptr);
    QCOMPARE(Discovery::findByName(socket, "Stage left "), nullptr);
    QCOMPARE(Discovery::findByName(socket, ""), nullptr);
}

void tst_DiscoverySocket::negativeCountIsGivenAsNone()
{
    Discovery::DiscoverySocket socket{};
    socket.serverCount = -3;
    Discovery::DiscoveredServer *table = nullptr;
    std::size_t count = 99;
    Discovery::servers(socket, table, count);
    QCOMPARE(count, 0U);
    QCOMPARE(table, socket.servers.data());
}

QTEST_GUILESS_MAIN(tst_DiscoverySocket)
#include "tst_DiscoverySocket.moc"
