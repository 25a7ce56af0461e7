// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Controller/ControllerFixture.h"
#include "Service/ServerListenerService.h"
#include "Support/Announcer.h"

#include <cstdio>

#include <fcntl.h>
#include <unistd.h>

/// How many silent ticks remove a connection.
inline constexpr int lifetime = 121;

/// Serves a library and a stream, and announces itself.
class AnnouncedServer final
{
public:
    AnnouncedServer(const QString &address, const QString &name)
        : server(address)
        , fields{.uuid = server.uuid, .name = name.toUtf8()}
    {
        server.setLibrary({folder(0, QStringLiteral("Intro"))});
        server.wire.on("/brenvoka/notifier.html", [](const WireRequest &request) {
            request.send(Wire::streamHead() + Wire::frame("{}"));
        });
    }
    void announce() const
    {
        QVERIFY(Announcer(server.wire.address().toString()).send(announcement(fields)));
    }
    ScriptedServer server;

private:
    const AnnouncementFields fields;
};

/// Drops the standard output while it lives: the program prints a line for each sender.
class Silence final
{
public:
    Silence()
    {
        std::fflush(stdout);
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, STDOUT_FILENO);
        close(null);
    }
    ~Silence()
    {
        dup2(former, STDOUT_FILENO);
        close(former);
    }
    Q_DISABLE_COPY_MOVE(Silence)

private:
    const int former = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
};

/// A fixture with a window whose discovery ticks only when the test calls it.
template <typename Fixture>
class DiscoveryTicks : public Fixture
{
public:
    DiscoveryTicks() { timer().stop(); }

    [[nodiscard]] QTimer &timer() const { return *listener->template findChild<QTimer *>(); }
    void tick() const
    {
        const Silence silence;
        tickAloud();
    }
    void tickAloud() const
    {
        QMetaObject::invokeMethod(listener, "listServers", Qt::DirectConnection);
        QCoreApplication::processEvents();
    }
    /// Everything that is not announced any more disappears.
    void expire() const
    {
        for (int silent = 0; silent <= lifetime; ++silent)
            tick();
    }

private:
    ServerListenerService *const listener =
        this->window->template findChild<ServerListenerService *>();
};
