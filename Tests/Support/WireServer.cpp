// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/WireServer.h"
#include "Support/Wait.h"

#include <QTest>

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

namespace {

#ifdef Q_OS_WIN
using NativeSocket = SOCKET;
#else
using NativeSocket = int;
#endif

} // namespace

namespace Wire {

QByteArray response(const QByteArray &body, const QByteArray &headers, const QByteArray &status)
{
    return "HTTP/1.1 " + status + "\r\n" + headers +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray streamHead(const QByteArray &headers)
{
    return "HTTP/1.1 200 OK\r\n" + headers + "Connection: close\r\n\r\n";
}

QByteArray chunkedHead(const QByteArray &headers)
{
    return "HTTP/1.1 200 OK\r\n" + headers + "Transfer-Encoding: chunked\r\n\r\n";
}

QByteArray chunk(const QByteArray &data)
{
    return QByteArray::number(data.size(), 16) + "\r\n" + data + "\r\n";
}

QByteArray lastChunk()
{
    return "0\r\n\r\n";
}

QByteArray frame(const QByteArray &json)
{
    return json + '\0';
}

} // namespace Wire

QByteArray WireRequest::path() const
{
    const qsizetype query = target.indexOf('?');
    return query < 0 ? target : target.left(query);
}

QByteArray WireRequest::header(const QByteArray &name) const
{
    const QByteArray prefix = name.toLower() + ':';
    for (const QByteArray &line : head.split('\n')) {
        if (line.toLower().startsWith(prefix))
            return line.mid(prefix.size()).trimmed();
    }
    return {};
}

bool WireRequest::isOpen() const
{
    return socket && socket->state() == QAbstractSocket::ConnectedState;
}

void WireRequest::send(const QByteArray &bytes) const
{
    if (!isOpen())
        return;
    socket->write(bytes);
    socket->flush();
}

qint64 WireRequest::unsent() const
{
    if (!isOpen())
        return 0;
    socket->flush();
    return socket->bytesToWrite();
}

void WireRequest::sendWithoutEnd(const QByteArray &piece) const
{
    if (!isOpen())
        return;
    const auto refill = [peer = socket.data(), piece] {
        while (peer->bytesToWrite() < 1 << 20 && peer->write(piece) > 0) {
        }
    };
    QObject::connect(socket, &QTcpSocket::bytesWritten, socket, refill);
    refill();
}

void WireRequest::answer(const QByteArray &responseBody, const QByteArray &headers,
                         const QByteArray &status) const
{
    send(Wire::response(responseBody, headers, status));
}

void WireRequest::close() const
{
    if (isOpen())
        socket->disconnectFromHost();
}

void WireRequest::reset() const
{
    if (!socket)
        return;
    const linger atOnce{1, 0};
    setsockopt(static_cast<NativeSocket>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER,
               reinterpret_cast<const char *>(&atOnce), sizeof atOnce);
    socket->abort();
}

WireServer::WireServer(const QString &address, quint16 port, QObject *parent)
    : QObject(parent)
{
    connect(&listener, &QTcpServer::newConnection, this, &WireServer::accept);
    if (!listener.listen(QHostAddress(address), port))
        qFatal("Cannot listen on %s port %d: %s", qPrintable(address), int(port),
               qPrintable(listener.errorString()));
}

WireServer::~WireServer()
{
    for (QTcpSocket *socket : connections.keys())
        socket->disconnect(this);
}

void WireServer::on(const QByteArray &path, Handler handler)
{
    rules.append({path, std::move(handler)});
}

void WireServer::onHead(const QByteArray &path, Handler handler)
{
    headRules.append({path, std::move(handler)});
}

void WireServer::answer(const QByteArray &path, const QByteArray &body, const QByteArray &headers,
                        const QByteArray &status)
{
    on(path, [=](const WireRequest &request) { request.answer(body, headers, status); });
}

void WireServer::hold(const QByteArray &path)
{
    on(path, [](const WireRequest &) {});
}

QList<WireRequest> WireServer::requests(const QByteArray &path) const
{
    QList<WireRequest> found;
    for (const WireRequest &request : recorded) {
        if (matches(path, request.path()))
            found.append(request);
    }
    return found;
}

bool WireServer::waitForRequests(int count, const QByteArray &path) const
{
    return waitFor([&] { return requests(path).size() >= count; });
}

int WireServer::openConnections() const
{
    return static_cast<int>(connections.size());
}

void WireServer::setReading(bool on)
{
    reading = on;
    for (QTcpSocket *socket : connections.keys())
        read(socket);
}

void WireServer::resetAll()
{
    for (QTcpSocket *socket : connections.keys()) {
        WireRequest request;
        request.socket = socket;
        request.reset();
    }
}

void WireServer::accept()
{
    while (QTcpSocket *socket = listener.nextPendingConnection()) {
        const int number = connectionCount();
        streams.append(QByteArray());
        connections[socket].number = number;
        socket->setParent(this);
        socket->setReadBufferSize(1 << 16);
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket, number] {
            connections.remove(socket);
            socket->deleteLater();
            emit connectionClosed(number);
        });
        read(socket);
    }
}

void WireServer::read(QTcpSocket *socket)
{
    if (!reading || !connections.contains(socket))
        return;
    Connection &incoming = connections[socket];
    QByteArray bytes = socket->readAll();
    bytes.squeeze(); // it may have room for 32 KB, and `streams` keeps it
    streams[incoming.number] += bytes;
    incoming.buffer += bytes;

    // A handler may end this connection or open others, so nothing is kept across a call.
    while (connections.contains(socket)) {
        Connection &connection = connections[socket];
        if (connection.missingBody < 0 && !readHead(socket, connection))
            return;
        if (!connections.contains(socket))
            return;
        Connection &complete = connections[socket];
        if (complete.buffer.size() < complete.missingBody)
            return;
        complete.current.body = complete.buffer.left(complete.missingBody);
        complete.buffer.remove(0, complete.missingBody);
        complete.missingBody = -1;
        const WireRequest request = complete.current;
        recorded.append(request);
        emit requestReceived(request);
        callRule(rules, request);
    }
}

bool WireServer::readHead(QTcpSocket *socket, Connection &connection)
{
    const qsizetype end = connection.buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    WireRequest request;
    request.socket = socket;
    request.connection = connection.number;
    request.head = connection.buffer.left(end + 4);
    const QList<QByteArray> words = request.head.left(request.head.indexOf('\r')).split(' ');
    request.method = words.value(0);
    request.target = words.value(1);
    connection.buffer.remove(0, end + 4);
    connection.missingBody = request.header("Content-Length").toLongLong();
    connection.current = request;
    callRule(headRules, request);
    return true;
}

void WireServer::callRule(const Rules &rules, const WireRequest &request)
{
    const Rules current = rules;
    for (auto rule = current.crbegin(); rule != current.crend(); ++rule) {
        if (matches(rule->first, request.path())) {
            rule->second(request);
            return;
        }
    }
}

bool WireServer::matches(const QByteArray &rule, const QByteArray &path)
{
    return rule.endsWith('/') ? path.startsWith(rule) : path == rule;
}
