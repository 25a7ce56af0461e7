// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/StreamCheck.h"

#include "Protocol/StreamFraming.h"
#include "Protocol/Urls.h"
#include "Service/Http/ServerRequest.h"

#include <QEventLoop>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 readAhead = 1 << 20;

/// What has arrived on the stream. Unfinished messages are dropped above this size: only complete
/// ones count here.
struct Received
{
    qint64 bytes = 0;
    qsizetype messages = 0;
    QByteArray unfinished;

    void add(StreamFraming::Chunk chunk)
    {
        bytes += chunk.bytes.size();
        while (StreamFraming::takeMessage(unfinished, chunk))
            ++messages;
        if (unfinished.size() > readAhead)
            unfinished.clear();
    }
};

Finding refused(const QString &text)
{
    return {Finding::Refused, u"stream"_s, text};
}

Finding findingOf(const QNetworkReply &reply, const Received &received, bool wasOpen)
{
    const int status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (!wasOpen && reply.error() != QNetworkReply::NoError)
        return refused(reply.errorString());
    if (!wasOpen)
        return refused(u"HTTP status %1, but the server ended the stream"_s.arg(status));
    if (received.bytes == 0)
        return {Finding::Advice, u"stream"_s,
                u"nothing arrived; the window lists a server only after the first bytes"_s};
    return {Finding::Passed, u"stream"_s,
            u"HTTP status %1, %2 messages"_s.arg(QString::number(status),
                                                 QString::number(received.messages))};
}

} // namespace

Finding StreamCheck::run(const QHostAddress &address, std::chrono::milliseconds time)
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    const std::unique_ptr<QNetworkReply> reply(
        manager.get(serverRequest(Protocol::notifierUrl(address))));
    reply->setReadBufferSize(readAhead);
    Received received;
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::readyRead, &loop,
                     [&reply, &received] { received.add({reply->readAll()}); });
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
    const bool isOpen = !reply->isFinished();
    reply->disconnect(&loop);
    Finding finding = findingOf(*reply, received, isOpen);
    reply->abort();
    return finding;
}
