// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/CommandQueue.h"

#include "Protocol/ResultDocument.h"
#include "Service/Http/BoundedDownload.h"
#include "Service/Http/OneShotBody.h"
#include "Service/Http/ServerRequest.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QNetworkReply *postBody(QNetworkAccessManager &manager, QNetworkRequest request,
                        const QByteArray &body, CommandQueue::Delivery delivery)
{
    request.setHeader(QNetworkRequest::ContentTypeHeader, u"application/x-www-form-urlencoded"_s);
    if (delivery != CommandQueue::Delivery::Once)
        return manager.post(request, body);
    request.setHeader(QNetworkRequest::ContentLengthHeader, body.size());
    request.setAttribute(QNetworkRequest::DoNotBufferUploadDataAttribute, true);
    auto *device = new OneShotBody(body);
    QNetworkReply *reply = manager.post(request, device);
    device->setParent(reply);
    return reply;
}

} // namespace

CommandQueue::CommandQueue(const QUrl &target)
    : url(target)
{
}

quint64 CommandQueue::append(const QByteArray &body, Delivery delivery)
{
    waiting.enqueue({++lastNumber, body, delivery});
    return lastNumber;
}

bool CommandQueue::headMayGo() const
{
    if (waiting.isEmpty() || aloneOnTheWire)
        return false;
    return waiting.head().delivery == Delivery::Alone ? onTheWire.isEmpty()
                                                      : onTheWire.size() < limit;
}

CommandQueue::Sent CommandQueue::sendNext(QNetworkAccessManager &manager)
{
    if (!headMayGo())
        return {};
    const Waiting command = waiting.dequeue();
    QNetworkReply *reply = postBody(manager, serverRequest(url), command.body, command.delivery);
    BoundedDownload::limitBody(reply, ResultDocument::maximumSize);
    onTheWire.append(reply);
    aloneOnTheWire = command.delivery == Delivery::Alone;
    return {command.number, reply};
}

void CommandQueue::ended(QNetworkReply *reply)
{
    if (onTheWire.removeOne(reply))
        aloneOnTheWire = false;
}

qsizetype CommandQueue::clear()
{
    return std::exchange(waiting, {}).size();
}
