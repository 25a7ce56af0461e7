// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Support/Wait.h"

#include <QByteArray>
#include <QTest>

#include <memory>

#include <fcntl.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

/// Both ends of a pipe, a terminal or a socket. Reading never waits, writing does.
class Channel final
{
public:
    Channel(int readEnd, int writeEnd)
        : reader(readEnd)
        , writer(writeEnd)
    {
        for (const int end : {reader, writer})
            fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(reader, F_SETFL, O_NONBLOCK);
    }
    ~Channel()
    {
        closeReader();
        close(writer);
    }
    Q_DISABLE_COPY_MOVE(Channel)

    void closeReader()
    {
        if (reader >= 0)
            close(reader);
        reader = -1;
    }
    /// Writes until it is full. The kernel moves bytes of a terminal to the other end later, so
    /// there is space again until that end is full.
    void fill() const
    {
        fcntl(writer, F_SETFL, O_NONBLOCK);
        while (writeWhatFits())
            (void)waitFor([&] { return !isatty(writer) || readerIsFull(); });
        fcntl(writer, F_SETFL, 0);
    }
    /// Everything that has arrived so far.
    [[nodiscard]] QByteArray readAll() const
    {
        QByteArray all;
        QByteArray piece(65536, '\0');
        while (true) {
            const ssize_t size = read(reader, piece.data(), size_t(piece.size()));
            if (size <= 0)
                return all.replace('\r', "");
            all += piece.first(size);
        }
    }
    /// Reads until the text ends so: a terminal passes on bytes with a delay.
    [[nodiscard]] QByteArray readUntil(const QByteArray &ending) const
    {
        QByteArray all;
        (void)waitFor([&] { return (all += readAll()).endsWith(ending); });
        return all;
    }

    int reader;
    const int writer;

private:
    /// Whether anything did.
    [[nodiscard]] bool writeWhatFits() const
    {
        const QByteArray filling(4096, '.');
        bool any = false;
        for (size_t size = 4096; size > 0;) {
            if (write(writer, filling.constData(), size) > 0)
                any = true;
            else
                size /= 2;
        }
        return any;
    }
    /// Whether a terminal's reader has as many bytes as Linux queues for it.
    [[nodiscard]] bool readerIsFull() const
    {
        int size = 0;
        return ioctl(reader, FIONREAD, &size) == 0 && size >= 4095;
    }
};

inline std::unique_ptr<Channel> openPipe()
{
    int ends[2];
    return pipe(ends) == 0 ? std::make_unique<Channel>(ends[0], ends[1]) : nullptr;
}

inline std::unique_ptr<Channel> openSocketPair()
{
    int ends[2];
    return socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0
               ? std::make_unique<Channel>(ends[0], ends[1])
               : nullptr;
}

inline std::unique_ptr<Channel> openTerminal()
{
    int controller = -1;
    int user = -1;
    return openpty(&controller, &user, nullptr, nullptr, nullptr) == 0
               ? std::make_unique<Channel>(controller, user)
               : nullptr;
}

/// As after Ctrl+S.
inline std::unique_ptr<Channel> openStoppedTerminal()
{
    std::unique_ptr<Channel> terminal = openTerminal();
    if (terminal)
        tcflow(terminal->writer, TCOOFF);
    return terminal;
}
