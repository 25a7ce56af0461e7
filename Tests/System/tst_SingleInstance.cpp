// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "System/SingleInstance.h"

#include "Support/FailOnWarning.h"
#include "Support/NoMoreDescriptors.h"

#include <QDir>
#include <QTest>

#include <cstddef>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Whether another process gets the name; it ends at once. Only root can start it as another user;
/// otherwise it has the same user.
bool anotherProcessAcquires(uid_t user)
{
    const pid_t process = fork();
    if (process == 0) {
        [[maybe_unused]] const int changed = setuid(user);
        _exit(SingleInstance::acquire() ? 0 : 1);
    }
    int status = -1;
    waitpid(process, &status, 0);
    return status == 0;
}

/// The flags of the socket with the name, -1 if this process has none.
int descriptorFlagsOfTheName()
{
    const QByteArray name("\0Global\\Brenvoka", 16);
    for (const QString &entry :
         QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System)) {
        sockaddr_un address{};
        socklen_t length = sizeof address;
        if (getsockname(entry.toInt(), reinterpret_cast<sockaddr *>(&address), &length) == 0 &&
            QByteArray(address.sun_path, int(length - offsetof(sockaddr_un, sun_path))) == name)
            return fcntl(entry.toInt(), F_GETFD);
    }
    return -1;
}

} // namespace

/// The tests depend on each other: a process keeps the name until its end.
class tst_SingleInstance final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void nameIsFreeAgainWhenItsProcessEnds()
    {
        QVERIFY(anotherProcessAcquires(getuid()));
        QVERIFY(anotherProcessAcquires(getuid()));
    }

    void programStartsIfTheNameCannotBeTaken()
    {
        {
            const NoMoreDescriptors none;
            QVERIFY(SingleInstance::acquire());
        }
        QVERIFY(anotherProcessAcquires(getuid()));
    }

    void nameIsTakenOnce()
    {
        QVERIFY(SingleInstance::acquire());
        QVERIFY(!SingleInstance::acquire());
    }

    void nameIsNotInheritedByOtherPrograms() { QCOMPARE(descriptorFlagsOfTheName(), FD_CLOEXEC); }

    void nameIsTakenForEveryUser()
    {
        constexpr uid_t nobody = 65534;
        QVERIFY(!anotherProcessAcquires(getuid()));
        QVERIFY(!anotherProcessAcquires(nobody));
    }
};

QTEST_GUILESS_MAIN(tst_SingleInstance)
#include "tst_SingleInstance.moc"
