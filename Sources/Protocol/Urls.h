// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QUrl>

class QHostAddress;

/// The port and the URLs of a server. All traffic is plain HTTP.
namespace Protocol {

/// The TCP port of every server.
inline constexpr quint16 port = 4567;

/// The version of the protocol of this client. Every request contains it as "ver".
inline constexpr quint64 clientProtocolVersion = 0x1000000000000;

/// `clientProtocolVersion` in decimal, the value of the key "ver".
[[nodiscard]] QString versionText();

/// The query of every GET: "ver=281474976710656".
[[nodiscard]] QString versionQuery();

/// "http://ADDRESS:4567", without a trailing slash. Names one server to another.
[[nodiscard]] QString serverUrl(const QHostAddress &address);

/// The library document.
[[nodiscard]] QUrl libraryUrl(const QHostAddress &address);

/// The URL of the notification stream as it appears in log lines: with the host, and with "%2" as
/// the query, as required.
[[nodiscard]] QString notifierUrlTemplate(const QHostAddress &address);

/// The notification stream.
[[nodiscard]] QUrl notifierUrl(const QHostAddress &address);

/// Where commands are posted.
[[nodiscard]] QUrl executeUrl(const QHostAddress &address);

/// Where files are uploaded.
[[nodiscard]] QUrl uploadUrl(const QHostAddress &address);

/// The thumbnail of one visual.
[[nodiscard]] QUrl thumbnailUrl(const QHostAddress &address, int folderSlot, int fileSlot);

} // namespace Protocol
