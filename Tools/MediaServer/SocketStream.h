// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <httplib.h>

#include <array>
#include <chrono>
#include <string_view>

/// The stream of one connection for the HTTP library. All waits use poll(2).
///
/// The library reads headers byte by byte, so small reads are buffered.
class SocketStream final : public httplib::Stream
{
public:
    /// How long a peer may pause within a request, or leave a response unread.
    static constexpr std::chrono::seconds timeout{60};

    explicit SocketStream(socket_t connection);

    /// Waits for the next request. False when nothing arrived in time.
    [[nodiscard]] bool waitForBytes(std::chrono::milliseconds time) const;

    /// Ends the response and discards what the peer still sends, for at most two seconds: closing
    /// a socket with unread bytes resets the connection, and the peer can lose the response.
    void finish();

    [[nodiscard]] bool is_readable() const override;
    /// Waits until bytes can be written. False on timeout, and at once when the peer has closed
    /// its side or the server ends.
    [[nodiscard]] bool is_writable() const override;
    ssize_t read(char *data, size_t size) override;
    /// Writes as many bytes as possible; waits like `is_writable` if none can be written.
    ssize_t write(const char *data, size_t size) override;
    void get_remote_ip_and_port(std::string &ip, int &port) const override;
    void get_local_ip_and_port(std::string &ip, int &port) const override;
    [[nodiscard]] socket_t socket() const override;

private:
    const socket_t handle;
    std::array<char, 4096> received{};
    std::string_view unread;
};
