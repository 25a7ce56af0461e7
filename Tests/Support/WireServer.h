// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPair>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

#include <functional>

/// The bytes of HTTP responses, to be sent whole or cut into pieces by the test.
namespace Wire {

/// A response with Content-Length. `headers` are whole lines, each with its CR LF.
[[nodiscard]] QByteArray response(const QByteArray &body, const QByteArray &headers = {},
                                  const QByteArray &status = "200 OK");

/// The head of a response without a length: its body lasts until the connection is closed. Qt takes
/// a reset of such a response for its end; a chunked one or one with a length ends in an error.
[[nodiscard]] QByteArray streamHead(const QByteArray &headers = {});

/// The head of a chunked response; its body consists of `chunk`s, with `lastChunk` at the end.
[[nodiscard]] QByteArray chunkedHead(const QByteArray &headers = {});
[[nodiscard]] QByteArray chunk(const QByteArray &data);
[[nodiscard]] QByteArray lastChunk();

/// One message of the notification stream: the document and its terminating NUL.
[[nodiscard]] QByteArray frame(const QByteArray &json);

} // namespace Wire

/// One request as it was received, and the way to answer it. It is cheap to copy and can
/// be answered at any time. After the end of its connection, sent bytes are dropped.
class WireRequest final
{
public:
    QByteArray head;    ///< Request line and headers as received, with the empty line.
    QByteArray body;    ///< As many bytes as in Content-Length.
    QByteArray method;  ///< "GET", "POST".
    QByteArray target;  ///< Path and query, as on the request line.
    int connection = 0; ///< Number of the connection, from 0 in order of acceptance.

    /// The target without its query.
    [[nodiscard]] QByteArray path() const;

    /// Head and body, byte for byte.
    [[nodiscard]] QByteArray bytes() const { return head + body; }

    /// The value of a header, without regard to the case of its name; null if it is absent.
    [[nodiscard]] QByteArray header(const QByteArray &name) const;

    /// Whether the connection is still open.
    [[nodiscard]] bool isOpen() const;

    /// Sends bytes unchanged, at once and in a separate segment.
    void send(const QByteArray &bytes) const;

    /// How many of the sent bytes are not in the buffers of the system yet.
    [[nodiscard]] qint64 unsent() const;

    /// Sends the piece again and again, as fast as the client reads, until the connection ends.
    void sendWithoutEnd(const QByteArray &piece) const;

    /// Sends a whole response; the connection stays open for the next request.
    void answer(const QByteArray &responseBody, const QByteArray &headers = {},
                const QByteArray &status = "200 OK") const;

    /// Closes the connection cleanly after all that was sent.
    void close() const;

    /// Resets the connection (RST): the client may lose what it has not read yet.
    void reset() const;

private:
    friend class WireServer;
    QPointer<QTcpSocket> socket;
};

/// A scriptable HTTP peer that runs in the thread and event loop of the test.
///
/// Every request is recorded byte for byte, in order of arrival, and then passed to the handler of
/// its path. A request without a handler stays unanswered: the test finds it in `requests` and
/// answers it later, or never. Connections are kept alive until one side closes.
///
///     WireServer server(loopback(1));
///     server.answer("/brenvoka/library.json", document, "X-BVProtocolVersion: 1\r\n");
///     server.on("/brenvoka/execute.html", [](const WireRequest &r) { r.reset(); });
///     ...
///     QVERIFY(server.waitForRequests(1, "/brenvoka/notifier.html"));
///     const WireRequest stream = server.requests("/brenvoka/notifier.html").last();
///     stream.send(Wire::streamHead());
///     stream.send(Wire::frame(R"({"msg_type":6})"));
///     stream.close();
class WireServer final : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(const WireRequest &)>;

    /// Listens on `address`, such as `loopback(1)`. Ends the program if it cannot.
    explicit WireServer(const QString &address, quint16 port = 4567, QObject *parent = nullptr);
    ~WireServer() override;

    [[nodiscard]] QHostAddress address() const { return listener.serverAddress(); }

    /// Calls `handler` for each complete request of `path`. A path that ends in "/" means all
    /// that begin with it. The latest registration that matches wins.
    void on(const QByteArray &path, Handler handler);

    /// The same, as soon as the head has arrived and before the body is read.
    void onHead(const QByteArray &path, Handler handler);

    /// Answers each request of `path` with the same response.
    void answer(const QByteArray &path, const QByteArray &body, const QByteArray &headers = {},
                const QByteArray &status = "200 OK");

    /// Leaves the requests of `path` unanswered from now on, until the test answers them.
    void hold(const QByteArray &path);

    /// The complete requests so far, of all paths or of one (see `on`), in order of arrival.
    [[nodiscard]] QList<WireRequest> requests(const QByteArray &path = "/") const;

    /// Waits until at least `count` requests of `path` have arrived; false after `patience`.
    [[nodiscard]] bool waitForRequests(int count, const QByteArray &path = "/") const;

    /// Clears the recorded requests; their connections stay open.
    void forgetRequests() { recorded.clear(); }

    /// Every byte received on one connection, complete requests or not.
    [[nodiscard]] QByteArray received(int connection) const { return streams.value(connection); }

    /// How many connections were accepted so far, and how many of them are still open.
    [[nodiscard]] int connectionCount() const { return static_cast<int>(streams.size()); }
    [[nodiscard]] int openConnections() const;

    /// While false, nothing is read: a large upload soon stalls in the buffers of the system.
    void setReading(bool on);

    /// Accepts no further connections: they are refused. What is open stays open.
    void stopListening() { listener.close(); }

    /// Resets every open connection.
    void resetAll();

signals:
    /// After a complete request was recorded, before its handler is called.
    void requestReceived(const WireRequest &request);

    /// A connection ended, whoever closed it.
    void connectionClosed(int connection);

private:
    struct Connection
    {
        int number = 0;
        QByteArray buffer;
        WireRequest current;
        qsizetype missingBody = -1; ///< -1 while the head is incomplete.
    };
    using Rules = QList<QPair<QByteArray, Handler>>;

    void accept();
    void read(QTcpSocket *socket);
    bool readHead(QTcpSocket *socket, Connection &connection);
    static void callRule(const Rules &rules, const WireRequest &request);
    static bool matches(const QByteArray &rule, const QByteArray &path);

    QTcpServer listener;
    Rules rules;
    Rules headRules;
    QList<WireRequest> recorded;
    QList<QByteArray> streams;
    QHash<QTcpSocket *, Connection> connections;
    bool reading = true;
};
