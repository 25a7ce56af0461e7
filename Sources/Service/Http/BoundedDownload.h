// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

class QNetworkAccessManager;
class QNetworkReply;
class QUrl;

/// Downloads whose size does not depend on the server.
namespace BoundedDownload {

/// Sends a GET and aborts the reply once its body, unpacked, has more than `limit` bytes or its
/// head states more. An abort emits `finished` with OperationCanceledError, as any other does, and
/// is logged. Only a whole body is kept in the manager's disk cache.
///
/// Read the body when the reply has finished and not before. Until then at most `limit` bytes and
/// a megabyte of it, as sent, are in memory, also while the event loop is busy.
QNetworkReply *get(QNetworkAccessManager &manager, const QUrl &url, qint64 limit);

} // namespace BoundedDownload
