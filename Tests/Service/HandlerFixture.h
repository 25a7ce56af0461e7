// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Service/ServerConnectionHandler.h"
#include "Support/Wait.h"
#include "Support/WireFile.h"
#include "Support/WireServer.h"

#include <QEventLoop>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;

inline const QByteArray notifierPath = "/brenvoka/notifier.html";
inline const QByteArray executePath = "/brenvoka/execute.html";
inline const QByteArray uploadPath = "/brenvoka/upload.html";
inline const QByteArray successBody = R"({"msg_type":7,"RESULT":0})";

/// JSON with single quotation marks, which read better among C++ texts.
inline QByteArray json(QByteArray text)
{
    return text.replace('\'', '"');
}

/// Reads private fields of a handler, and passes it messages without a stream.
struct ServerConnectionHandlerProbe
{
    explicit ServerConnectionHandlerProbe(ServerConnectionHandler &probed)
        : handler(probed)
    {
    }

    void handle(const QJsonDocument &message) { handler.handleMessage(message); }
    void forgetTransfers() { handler.activeTransfers.clear(); }
    [[nodiscard]] int pendingRequests() const { return handler.pendingRequests; }
    [[nodiscard]] QByteArray receiveBuffer() const { return handler.receiveBuffer; }
    [[nodiscard]] QHash<TransferId, ActiveTransfer> activeTransfers() const
    {
        return handler.activeTransfers;
    }
    [[nodiscard]] QList<VisualRef> removeQueue() const { return handler.removeQueue; }
    [[nodiscard]] QList<FolderRename> renameQueue() const { return handler.renameQueue; }
    RemoveRequest &removeInFlight() { return handler.removeInFlight; }
    RenameRequest &renameInFlight() { return handler.renameInFlight; }
    [[nodiscard]] MoveRequest moveInFlight() const { return handler.moveInFlight; }
    [[nodiscard]] bool nothingInFlight() const
    {
        return idle(handler.removeInFlight) && idle(handler.moveInFlight) &&
               idle(handler.renameInFlight);
    }
    [[nodiscard]] QNetworkReply *streamReply() const { return handler.streamReply; }
    [[nodiscard]] QNetworkReply *uploadReply() const { return handler.uploadReply; }
    /// The replies that have not been deleted, in the order of their requests.
    [[nodiscard]] QList<QNetworkReply *> replies() const
    {
        return handler.networkManager.findChildren<QNetworkReply *>();
    }
    /// The number of all requests that Qt has and that have not finished.
    [[nodiscard]] int runningReplies() const
    {
        return static_cast<int>(std::ranges::count_if(
            handler.networkManager.findChildren<QNetworkReply *>(), &QNetworkReply::isRunning));
    }

private:
    ServerConnectionHandler &handler;

    template <typename Request>
    static bool idle(const Request &request)
    {
        return request.command == 0 && request.reply == nullptr && request.folderSlot == -1;
    }
};

/// Every signal of a handler, in order of emission, as a line: "progress 3 17 42 1" is a
/// handlerSyncProgressUpdate. Id and address are compared with the handler's and left out.
class HandlerEvents final : public QObject
{
public:
    explicit HandlerEvents(const ServerConnectionHandler &source)
        : handler(source)
    {
        using H = ServerConnectionHandler;
        record(&H::handlerServerConnected, u"connected"_s);
        record(&H::handlerServerDisconnected, u"disconnected"_s);
        record(&H::handlerSyncProgressUpdate, u"progress"_s);
        record(&H::handlerSyncError, u"sync error"_s);
        record(&H::handlerSyncRequestFinished, u"sync finished"_s);
        record(&H::handlerSyncOperationFinished, u"all syncs finished"_s);
        record(&H::connectedServerLibraryChanged, u"library changed"_s);
        record(&H::connectedServerUpdateStats, u"stats"_s);
        record(&H::handlerRemoveError, u"remove error"_s);
        record(&H::handlerRemoveFinished, u"removed"_s);
        record(&H::handlerMoveFileError, u"move error"_s);
        record(&H::handlerMoveFileFinished, u"moved"_s);
        record(&H::handlerRenameError, u"rename error"_s);
        record(&H::handlerRenameFinished, u"renamed"_s);
        record(&H::uploadedFileProgress, u"upload progress"_s);
        record(&H::uploadedFileError, u"upload error"_s);
        record(&H::uploadedFileFinished, u"uploaded"_s);
        record(&H::processReceivedData, u"processReceivedData"_s);
    }

    QStringList lines;

private:
    template <typename... Arguments>
    void record(void (ServerConnectionHandler::*signal)(Arguments...), const QString &name)
    {
        connect(&handler, signal, this, [this, name](const Arguments &...arguments) {
            QStringList words{name};
            (words.append(word(arguments)), ...);
            words.removeAll(QString());
            lines.append(words.join(u' '));
        });
    }

    QString word(const QUuid &id) const { return id == handler.serverId() ? QString() : u"?"_s; }
    QString word(const QHostAddress &address) const
    {
        return address == handler.serverAddress() ? QString() : u"?"_s;
    }
    static QString word(const QString &text) { return u'"' + text + u'"'; }
    static QString word(bool flag) { return flag ? u"true"_s : u"false"_s; }
    static QString word(int number) { return QString::number(number); }
    static QString word(float number) { return QString::number(number); }

    const ServerConnectionHandler &handler;
};

/// A server and a handler that is connected to it.
class HandlerFixture
{
public:
    /// `address` is the server's, such as `loopback(1)`.
    explicit HandlerFixture(const QString &address)
        : server(address)
    {
        server.on(notifierPath,
                  [](const WireRequest &request) { request.send(Wire::chunkedHead()); });
    }

    /// Waits for the request of the stream, whose head is sent.
    [[nodiscard]] bool open()
    {
        if (!server.waitForRequests(1, notifierPath))
            return false;
        stream = server.requests(notifierPath).constFirst();
        return true;
    }

    /// Sends bytes of the stream, which the handler gets in one piece.
    void send(const QByteArray &bytes) const { stream.send(Wire::chunk(bytes)); }
    void sendFrame(const QByteArray &json) const { send(Wire::frame(json)); }

    [[nodiscard]] QList<WireRequest> commands() const { return server.requests(executePath); }
    [[nodiscard]] bool waitForCommands(int count) const
    {
        return waitFor([&] { return commands().size() >= count; });
    }
    /// The command with that body, which must have arrived. Commands in flight have different
    /// connections and may arrive in any order.
    [[nodiscard]] WireRequest command(const QByteArray &body) const
    {
        for (const WireRequest &request : commands()) {
            if (request.body == body)
                return request;
        }
        qFatal("No command %s", body.constData());
    }
    [[nodiscard]] QByteArrayList commandBodies() const
    {
        QByteArrayList bodies;
        for (const WireRequest &request : commands())
            bodies.append(request.body);
        return bodies;
    }

    WireServer server;
    WireRequest stream;
    const QUuid id = QUuid::createUuid();
    ServerConnectionHandler handler{server.address(), id};
    ServerConnectionHandlerProbe probe{handler};
    HandlerEvents events{handler};
};
