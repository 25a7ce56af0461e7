// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/BoundedDownload.h"

#include "Log/ZorLog.h"
#include "Service/Http/ServerRequest.h"

#include <QAbstractNetworkCache>
#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <algorithm>

namespace {

/// More than the largest piece of data that Qt passes on: it stops up to one piece before its
/// buffer is full, and then reports no more data.
constexpr qint64 bufferMargin = 1 << 20;

void abortAbove(QNetworkReply &reply, qint64 limit)
{
    const qint64 stated = reply.header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (std::max(stated, reply.bytesAvailable()) <= limit)
        return;
    ZOR_LOG(error, "Aborting the download of %s: more than %lld bytes",
            reply.url().toEncoded().constData(), limit);
    reply.abort();
}

/// After a failed decompression Qt continues to download, but reports no more data.
void abortUnreadable(QNetworkReply &reply)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply.error() == QNetworkReply::UnknownContentError && status < 400)
        reply.abort();
}

/// Whether the whole body is shorter than its head states. Qt 6.4 reports no error for some
/// connections that are closed too early. It removes the stated length of a compressed body.
bool isTruncated(const QNetworkReply &reply)
{
    return reply.bytesAvailable() < reply.header(QNetworkRequest::ContentLengthHeader).toLongLong();
}

/// Qt keeps the file of an incomplete body until the cache is deleted.
void dropFromCache(const QNetworkReply &reply)
{
    if (QAbstractNetworkCache *const cache = reply.manager()->cache())
        cache->remove(reply.url());
}

} // namespace

namespace BoundedDownload {

void limitBody(QNetworkReply *reply, qint64 limit)
{
    // Qt queues data faster than it reports them, so counting alone would not bound the memory.
    reply->setReadBufferSize(limit + bufferMargin);
    const auto check = [reply, limit] { abortAbove(*reply, limit); };
    QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, check);
    QObject::connect(reply, &QNetworkReply::readyRead, reply, check);
    QObject::connect(reply, &QNetworkReply::errorOccurred, reply,
                     [reply] { abortUnreadable(*reply); });
}

QNetworkReply *get(QNetworkAccessManager &manager, const QUrl &url, qint64 limit)
{
    QNetworkRequest request = serverRequest(url);
    // Otherwise Qt keeps descriptors and 40 kB for each address for two minutes, also if nothing
    // answers there: somebody may announce thousands of addresses.
    request.setAttribute(QNetworkRequest::ConnectionCacheExpiryTimeoutSecondsAttribute, 0);
    QNetworkReply *reply = manager.get(request);
    limitBody(reply, limit);
    // Emitted before `finished`, when nobody has read the body yet.
    QObject::connect(reply, &QNetworkReply::readChannelFinished, reply, [reply] {
        if (failure(*reply))
            dropFromCache(*reply);
    });
    return reply;
}

std::optional<QString> failure(const QNetworkReply &reply)
{
    if (reply.error() != QNetworkReply::NoError)
        return reply.errorString();
    if (isTruncated(reply)) // the text that Qt has for it
        return QCoreApplication::translate("QHttp", "Connection closed");
    return std::nullopt;
}

} // namespace BoundedDownload
