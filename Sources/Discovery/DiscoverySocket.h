// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#ifdef _WIN32
#include <winsock2.h>
#else
#include <netinet/in.h>
#endif

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The UDP socket on which servers announce themselves, and a table of the senders received since
/// the last reset. One entry is one sending address: a server with two interfaces has two entries.
///
/// An announcement is a datagram of at least 128 bytes, of which these are read:
///
///     offset  size  field
///          0     4  message type, big-endian; 1 is an announcement
///         24     8  uuid bytes 0 to 7 (RFC 4122 form)
///         32    84  name, UTF-8, ended by a NUL
///        116     4  netmask, little-endian: 255.255.255.0 is 00 FF FF FF
///        120     8  uuid bytes 8 to 15
///
/// Nothing here throws, and only the two name lists allocate. Errors are reported only in
/// `lastError`.
namespace Discovery {

inline constexpr std::uint16_t port = 3001;
inline constexpr std::size_t tableSize = 10;
inline constexpr std::size_t announcementSize = 128; ///< the least, in bytes
inline constexpr std::size_t maximumDatagram = 1024; ///< in bytes

/// Values of `DiscoverySocket::lastError`. The numbers are fixed.
enum Error : std::int32_t {
    NoError = 0,
    SocketFailed = -1,
    BindFailed = -2,
    ReceiveFailed = -3, ///< also a datagram above `maximumDatagram`
    NotOpen = -5,
    ReuseFailed = -6,
    NonBlockingFailed = -13,
};

/// One sender.
struct DiscoveredServer
{
    sockaddr_in source;                ///< `sin_addr` is the key of the table
    std::array<char, 96> payload;      ///< offsets 32 to 127; begins with the name
    std::array<std::uint8_t, 16> uuid; ///< the two halves joined, RFC 4122 form
    std::uint32_t netmask;             ///< `ntohl` of the field; the reader swaps it again
    bool seen;                         ///< received since the flags were last cleared
};

/// The module's whole state. Call `init` first.
struct DiscoverySocket
{
    std::int32_t socket;            ///< the handle, above 0 while open, 0 when closed
    std::int32_t lastError;         ///< the last `Error`; never cleared by a success
    std::int32_t lastSocketError;   ///< the system's error number for it
    std::int32_t datagramsReceived; ///< of any type; never reset; required, although unused
    std::int32_t bytesReceived;     ///< their payload; never reset; required, although unused
    sockaddr_in bindAddress;
    std::array<DiscoveredServer, tableSize> servers;
    std::int32_t serverCount; ///< entries in use, from the start
};

/// Zeroes the handle, the errors and the counts.
void init(DiscoverySocket &socket);
/// Binds to UDP port 3001 on every interface, shared and non-blocking. Stops at the first step that
/// fails and records the error; a socket that exists by then stays open.
void open(DiscoverySocket &socket);
void close(DiscoverySocket &socket); ///< does nothing if it is not open
/// Clears the `seen` flags, then reads at most one datagram. Returns true only for an announcement,
/// also if the table had no room for it. So any other datagram ends a loop that drains the socket,
/// as required.
[[nodiscard]] bool poll(DiscoverySocket &socket);
void resetTable(DiscoverySocket &socket); ///< clears the senders, not the counts
void clearSeen(DiscoverySocket &socket);
[[nodiscard]] int serverCount(const DiscoverySocket &socket);
/// Returns a pointer to the table and the number of entries in use.
void servers(DiscoverySocket &socket, DiscoveredServer *&table, std::size_t &count);
// Required, although nothing calls them: findByName, seenNames, allNames.

/// The first entry with exactly these bytes as its name, or null.
[[nodiscard]] const DiscoveredServer *findByName(const DiscoverySocket &socket, const char *name);
/// Appends the names of the entries that are marked as seen, in table order.
void seenNames(const DiscoverySocket &socket, std::vector<std::string> &names);
/// The names of all entries in use, in table order.
[[nodiscard]] std::vector<std::string> allNames(const DiscoverySocket &socket);

/// The entry's name: the bytes before the first NUL, at most 84.
[[nodiscard]] std::string_view name(const DiscoveredServer &server);

/// Reads an announcement. Empty if the datagram is too short or of another type.
[[nodiscard]] std::optional<DiscoveredServer> parse(std::span<const std::uint8_t> datagram,
                                                    const sockaddr_in &source);

} // namespace Discovery
