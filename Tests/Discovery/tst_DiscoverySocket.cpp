// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoverySocketFixture.h"
#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <QTest>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

class tst_DiscoverySocket final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void initClearsEverythingButTheTable()
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

    void openBindsToPort3001OfEveryInterface()
    {
        const DiscoverySocketFixture socket;
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

    void socketDoesNotBlockAndIsNotInherited()
    {
        const DiscoverySocketFixture socket;
        QVERIFY(fcntl(socket.socket, F_GETFL) & O_NONBLOCK);
        QVERIFY(fcntl(socket.socket, F_GETFD) & FD_CLOEXEC);
    }

    void twoSocketsShareThePort()
    {
        const DiscoverySocketFixture first;
        const DiscoverySocketFixture second;
        QCOMPARE(second.lastError, 0);
        QVERIFY(second.socket > 0);
    }

    void neverUsesDescriptorZero()
    {
        const int standardInput = dup(0);
        ::close(0);
        {
            DiscoverySocketFixture socket;
            QVERIFY(socket.socket > 0);
            QCOMPARE(socket.lastError, 0);
            QCOMPARE(fcntl(0, F_GETFD), -1);
            QCOMPARE(fcntl(socket.socket, F_GETFD), FD_CLOEXEC);
        }
        if (standardInput >= 0) {
            dup2(standardInput, 0);
            ::close(standardInput);
        }
    }

    void emptySocketLeavesTheErrorUntouched()
    {
        DiscoverySocketFixture socket;
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.lastError, 0);
        socket.lastError = -42;
        socket.lastSocketError = 42;
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.lastError, -42);
        QCOMPARE(socket.lastSocketError, 42);
        QCOMPARE(socket.datagramsReceived, 0);
    }

    void closedSocketRecordsAnErrorEachTime()
    {
        DiscoverySocketFixture socket;
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

    void brokenSocketRecordsTheSystemsError()
    {
        DiscoverySocketFixture socket;
        ::close(socket.socket);
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.lastError, -3);
        QCOMPARE(socket.lastSocketError, EBADF);
        socket.socket = 0;
    }

    void oversizedDatagramIsAnError_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("error");
        QTest::newRow("1024 bytes") << 1024 << 0;
        QTest::newRow("1025 bytes") << 1025 << -3;
        QTest::newRow("9000 bytes") << 9000 << -3;
    }
    void oversizedDatagramIsAnError()
    {
        QFETCH(const int, size);
        QFETCH(const int, error);
        DiscoverySocketFixture socket;
        Announcer(loopback(1)).send(announcement({}) + QByteArray(size - 128, '\0'));
        QCOMPARE(Discovery::poll(socket), error == 0);
        QCOMPARE(socket.lastError, error);
        QCOMPARE(socket.lastSocketError, error == 0 ? 0 : EMSGSIZE);
        QCOMPARE(socket.datagramsReceived, error == 0 ? 1 : 0);
        QCOMPARE(Discovery::serverCount(socket), error == 0 ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(tst_DiscoverySocket)
#include "tst_DiscoverySocket.moc"
