// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "DiscoverySocketFixture.h"
#include "Support/Announcer.h"
#include "Support/FailOnWarning.h"
#include "Support/NoMoreDescriptors.h"

#include <QTest>

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A system call that usually succeeds for every socket, and that a sandbox may refuse.
enum class Call { None, SetSocketOption, SetFileFlags };

Call refused = Call::None;

/// While it lives, the system refuses a call.
class Refusal final
{
public:
    explicit Refusal(Call call) { refused = call; }
    ~Refusal() { refused = Call::None; }
    Q_DISABLE_COPY_MOVE(Refusal)
};

int refuse()
{
    errno = EPERM;
    return -1;
}

} // namespace

// The linker's --wrap puts these between the program and the system, and chooses their names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_setsockopt(int handle, int level, int option, const void *value, socklen_t size);
int __wrap_setsockopt(int handle, int level, int option, const void *value, socklen_t size)
{
    return refused == Call::SetSocketOption ? refuse()
                                            : __real_setsockopt(handle, level, option, value, size);
}

int __real_fcntl(int handle, int command, ...);
int __wrap_fcntl(int handle, int command, ...)
{
    if (refused == Call::SetFileFlags && command == F_SETFL)
        return refuse();
    std::va_list arguments;
    va_start(arguments, command);
    const int argument = va_arg(arguments, int);
    va_end(arguments);
    return __real_fcntl(handle, command, argument);
}
}
// NOLINTEND(bugprone-reserved-identifier)

Q_DECLARE_METATYPE(Call)

/// The state of the socket when the system refuses a step of opening it.
class tst_DiscoveryFailures final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void failureToCreateLeavesNoSocket()
    {
        const NoMoreDescriptors none;
        const DiscoverySocketFixture socket;
        QCOMPARE(socket.lastError, -1);
        QCOMPARE(socket.lastSocketError, EMFILE);
        QCOMPARE(socket.socket, 0);
    }

    void failureToPrepareLeavesTheSocketOpenAndUnbound_data()
    {
        QTest::addColumn<Call>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("the port can't be shared") << Call::SetSocketOption << -6;
        QTest::newRow("waiting can't be switched off") << Call::SetFileFlags << -13;
    }
    void failureToPrepareLeavesTheSocketOpenAndUnbound()
    {
        QFETCH(const Call, call);
        QFETCH(const int, error);
        const Refusal refusal(call);
        DiscoverySocketFixture socket;
        QCOMPARE(socket.lastError, error);
        QCOMPARE(socket.lastSocketError, EPERM);
        QVERIFY(socket.socket > 0);
        QVERIFY(Announcer(u"0.0.0.0"_s, Discovery::port).isBound());

        // The first tick already polls it, on the main thread.
        QVERIFY(!Discovery::poll(socket));
        QCOMPARE(socket.lastError, error);
        QCOMPARE(socket.datagramsReceived, 0);
    }

    void failureToBindLeavesTheSocketOpen()
    {
        // A socket that does not share the port blocks it for all others.
        const Announcer holder(u"0.0.0.0"_s, Discovery::port);
        QVERIFY(holder.isBound());
        const DiscoverySocketFixture socket;
        QCOMPARE(socket.lastError, -2);
        QCOMPARE(socket.lastSocketError, EADDRINUSE);
        QVERIFY(socket.socket > 0);
    }
};

QTEST_GUILESS_MAIN(tst_DiscoveryFailures)
#include "tst_DiscoveryFailures.moc"
