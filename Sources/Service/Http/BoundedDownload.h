// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QString;
class QUrl;

/// Downloads of limited size.
namespace BoundedDownload {

/// Aborts the reply if its head states more than `limit` bytes, or as soon as its uncompressed body
/// has more. The abort is logged and emits `finished` with OperationCanceledError. Until the body
/// is read, at most `limit` bytes and one megabyte of it, as sent, are in memory, even while the
/// event loop is busy. Call before the event loop runs.
void limitBody(QNetworkReply *reply, qint64 limit);

/// Sends a GET and limits the body of its reply. Only a complete body is kept in the manager's disk
/// cache. The connection is closed when no other download uses it.
///
/// Read the body when the reply has finished and `failure` is empty.
QNetworkReply *get(QNetworkAccessManager &manager, const QUrl &url, qint64 limit);

/// Why a finished download has failed, empty if it has not. Call before the body is read. Unlike
/// the error of the reply it is always set if the connection was closed before the end of the body.
[[nodiscard]] std::optional<QString> failure(const QNetworkReply &reply);

} // namespace BoundedDownload
