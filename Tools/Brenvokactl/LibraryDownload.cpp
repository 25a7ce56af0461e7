// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/LibraryDownload.h"

#include "Protocol/LibraryReply.h"
#include "Protocol/Urls.h"
#include "Service/Http/BoundedDownload.h"

#include <QDateTime>
#include <QEventLoop>
#include <QHostAddress>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Runs the event loop until the reply has finished. Returns false if it was aborted at the end of
/// the time.
bool waitFor(QNetworkReply &reply, std::chrono::milliseconds timeout)
{
    QEventLoop loop;
    bool inTime = true;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &reply, [&reply, &inTime] {
        inTime = false;
        reply.abort();
    });
    QObject::connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timer.start(timeout);
    if (!reply.isFinished())
        loop.exec();
    return inTime;
}

/// Whether a cache answers from its copy for some time, as in RFC 9111.
bool isCacheable(const QNetworkReply &reply)
{
    const QByteArray control = reply.rawHeader("Cache-Control").toLower();
    if (control.contains("no-store") || control.contains("no-cache"))
        return false;
    if (const qsizetype place = control.indexOf("max-age="); place >= 0)
        return control.mid(place + 8).split(',').first().trimmed().toLongLong() > 0;
    QDateTime expires = QLocale::c().toDateTime(QString::fromLatin1(reply.rawHeader("Expires")),
                                                u"ddd, dd MMM yyyy hh:mm:ss 'GMT'"_s);
    expires.setTimeSpec(Qt::UTC);
    return expires > QDateTime::currentDateTimeUtc();
}

QString errorOf(const QNetworkReply &reply, std::chrono::milliseconds timeout, bool inTime)
{
    if (!inTime)
        return u"no complete answer within %1 s"_s.arg(
            std::chrono::duration_cast<std::chrono::seconds>(timeout).count());
    if (reply.error() == QNetworkReply::OperationCanceledError)
        return u"the library has more than 256 MiB"_s;
    return BoundedDownload::failure(reply).value_or(QString());
}

} // namespace

LibraryDownload LibraryDownload::get(const QHostAddress &address, std::chrono::milliseconds timeout)
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    const std::unique_ptr<QNetworkReply> reply(
        BoundedDownload::get(manager, Protocol::libraryUrl(address), LibraryReply::maximumSize));
    const bool inTime = waitFor(*reply, timeout);

    LibraryDownload result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.version = reply->rawHeader("X-BVProtocolVersion");
    result.features = reply->rawHeader("X-BVFeatureList");
    result.staysFresh = isCacheable(*reply);
    result.error = errorOf(*reply, timeout, inTime);
    if (result.error.isEmpty())
        result.body = reply->readAll();
    return result;
}
