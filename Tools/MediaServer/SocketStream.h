// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <httplib.h>

#include <array>
#include <chrono>
#include <string_view>

/// The bytes of one connection, as the HTTP library wants them. All waiting is done by poll(2).
///
/// The library reads heads byte by byte, so what has arrived is taken from the socket at once and
/// kept until it is asked for.
class SocketStream final : public httplib::Stream
{
public:
    /// How long a peer may stay silent within a request, or leave a response unread.
    static constexpr std::chrono::seconds patience{60};

    explicit SocketStream(socket_t connection);

    /// Waits for the next request. False when the peer has gone or nothing came in time.
    [[nodiscard]] bool waitForBytes(std::chrono::milliseconds time) const;

    /// Ends the response and throws away what the peer still sends, for two seconds at most:
    /// closing with bytes unread would reset the connection and take the response with it.
    void finish();

    [[nodiscard]] bool is_readable() const override;
    /// Waits until there is room. False when there is none in time, and at once when no more is
    /// read: the peer has closed its side, or the server ends.
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    /// Writes as much as there is room for, and waits for room as `is_writable` does.
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    [[nodiscard]] socket_t socket() const override;

private:
    const socket_t handle;
    std::array<char, 4096> received{};
    std::string_view unread;
};
