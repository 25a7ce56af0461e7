// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

class QByteArray;
class QNetworkAccessManager;
class QNetworkReply;
class QUrl;

/// Downloads of limited size.
namespace BoundedDownload {

/// Sends a GET and aborts the reply if its head states more than `limit` bytes, or as soon as its
/// uncompressed body has more. The abort is logged and emits `finished` with
/// OperationCanceledError. Only a complete body is kept in the manager's disk cache. The connection
/// is closed when no other download uses it.
///
/// Read the body by `readBody` when the reply has finished. Until then at most `limit` bytes and
/// one megabyte of it, as sent, are in memory, even while the event loop is busy.
QNetworkReply *get(QNetworkAccessManager &manager, const QUrl &url, qint64 limit);

/// The whole body of a finished download, or nothing if the connection was closed before its end:
/// Qt does not always report that as an error. Call once.
[[nodiscard]] QByteArray readBody(QNetworkReply &reply);

} // namespace BoundedDownload
