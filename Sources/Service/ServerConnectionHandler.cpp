// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerConnectionHandler.h"

#include "Log/ZorLog.h"
#include "Protocol/Urls.h"
#include "Service/Http/ServerRequest.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QNetworkProxy>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The number of bytes of the stream that Qt reads ahead. TCP then slows down a server that sends
/// messages faster than they are handled. A longer frame still arrives: its parts are joined here.
constexpr qint64 streamReadAhead = qint64{64} * 1024;

} // namespace

ServerConnectionHandler::ServerConnectionHandler(const QHostAddress &serverAddress,
                                                 const QUuid &serverUuid, QObject *parent)
    : QObject(parent)
    , address(serverAddress)
    , uuid(serverUuid)
    , commands(Protocol::executeUrl(serverAddress))
    , deletionDelay(this)
{
    networkManager.setProxy(QNetworkProxy::NoProxy);
    connect(&networkManager, &QNetworkAccessManager::finished, this,
            &ServerConnectionHandler::connectionTerminated);

    const QUrl url = Protocol::notifierUrl(address);
    ZOR_LOG(info, "Connecting to notification stream of server : %s", qPrintable(url.toString()));
    streamReply = networkManager.get(serverRequest(url));
    if (streamReply) {
        streamReply->setReadBufferSize(streamReadAhead);
        connect(streamReply, &QNetworkReply::readyRead, this, &ServerConnectionHandler::canRead);
    }
}

bool ServerConnectionHandler::event(QEvent *event)
{
    return deletionDelay.postpones(event) || QObject::event(event);
}

// abort() finishes a reply before it returns, so it calls connectionTerminated.
void ServerConnectionHandler::stop()
{
    const DeletionDelay::Scope scope(deletionDelay);
    close();
    waitingChunks.clear();
    if (streamReply) {
        streamReply->abort();
        if (streamReply)
            deletionDelay.release(streamReply);
    }
    // Required: removals that were not sent are reported as finished.
    for (const auto &[folderSlot, fileSlot] : std::exchange(removeQueue, {}))
        emit handlerRemoveFinished(uuid, folderSlot, fileSlot);
    if (removeInFlight.reply)
        std::exchange(removeInFlight, {}).reply->abort();
    if (moveInFlight.reply)
        std::exchange(moveInFlight, {}).reply->abort();
    cancelUpload();
}

// Replies that finish later send nothing and are not reported.
void ServerConnectionHandler::close()
{
    closing = true;
    pendingRequests -= static_cast<int>(commands.clear());
    activeTransfers = {};
}

void ServerConnectionHandler::canRead()
{
    const DeletionDelay::Scope scope(deletionDelay);
    if (!streamReply)
        return;
    if (!std::exchange(connectedEmitted, true))
        emit handlerServerConnected(uuid, address);
    if (streamReply && !closing) {
        // `readAll` reads twice, and each read wakes the network thread because of the read-ahead.
        waitingChunks.append({streamReply->read(streamReply->bytesAvailable())});
        handleWaitingMessages();
    }
}

// A receiver's event loop may call this again: the inner call then continues where the outer one
// is. Each message is handled before the next one is parsed.
void ServerConnectionHandler::handleWaitingMessages()
{
    while (!waitingChunks.isEmpty()) {
        const auto message = StreamFraming::takeMessage(receiveBuffer, waitingChunks.first());
        if (!message)
            waitingChunks.removeFirst();
        else if (const auto *const progress = std::get_if<TransferProgress>(&*message))
            transferProgress(*progress);
        else
            handleMessage(std::get<QJsonDocument>(*message));
    }
}

void ServerConnectionHandler::handleMessage(const QJsonDocument &document)
{
    const QJsonObject message = document.object();
    switch (message["msg_type"_L1].toInt(0)) {
    case 0:
        transfersListed(message["active_transfers"_L1].toArray());
        break;
    case 1:
        transferStarted(message["sync"_L1].toObject());
        break;
    case 2:
        transferProgress(TransferProgress::fromJson(message["sync"_L1].toObject()));
        break;
    case 3:
        transferFinished(message["sync"_L1].toObject());
        break;
    case 4:
        disconnectReason = Brenvoka::DisconnectServerShutdown;
        break;
    case 5:
        serverStats(message);
        break;
    case 6:
        emit connectedServerLibraryChanged(address, uuid);
        break;
    default:
        break;
    }
}

void ServerConnectionHandler::transfersListed(const QJsonArray &transfers)
{
    for (const auto transfer : transfers) {
        if (transfer.isObject() && !closing)
            transferStarted(transfer.toObject());
    }
}

void ServerConnectionHandler::transferStarted(const QJsonObject &sync)
{
    const QUuid id(sync["ID"_L1].toString());
    if (id.isNull())
        return;
    ActiveTransfer transfer;
    transfer.state = sync["STATUS"_L1].toInt(0);
    transfer.folderSlot = sync["FLDIDX"_L1].toInt(0);
    transfer.fileSlot = sync["VISIDX"_L1].toInt(0);
    transfer.sourceServer = sync["SERVER"_L1].toString();
    activeTransfers.insert(id, transfer);
    ZOR_LOG(info, "Sync started folder %d visual %d", transfer.folderSlot, transfer.fileSlot);
    // Required: SyncQueued, whatever the state is.
    emit handlerSyncProgressUpdate(uuid, transfer.folderSlot, transfer.fileSlot, 0,
                                   Brenvoka::SyncQueued);
}

void ServerConnectionHandler::transferProgress(const TransferProgress &progress)
{
    const auto entry = activeTransfers.find(progress.id);
    if (progress.id.isNull() || entry == activeTransfers.end())
        return;
    entry->state = progress.state;
    entry->progressPercent = progress.progressPercent;
    entry->speedBps = progress.speedBps;
    emit handlerSyncProgressUpdate(uuid, entry->folderSlot, entry->fileSlot, entry->progressPercent,
                                   static_cast<Brenvoka::SyncStates>(entry->state));
}

void ServerConnectionHandler::transferFinished(const QJsonObject &sync)
{
    const QUuid id(sync["ID"_L1].toString());
    if (id.isNull() || !activeTransfers.contains(id))
        return;
    // Required: the slots of this message, not those of the start.
    const int state = sync["STATUS"_L1].toInt(0);
    const int folderSlot = sync["FLDIDX"_L1].toInt(0);
    const int fileSlot = sync["VISIDX"_L1].toInt(0);
    switch (state) {
    case Brenvoka::SyncFinished:
        ZOR_LOG(info, "Sync finished %d visual %d progress %d", folderSlot, fileSlot, 100);
        emit handlerSyncRequestFinished(uuid, folderSlot, fileSlot);
        break;
    case Brenvoka::SyncCanceling:
    case Brenvoka::SyncCanceled:
        break;
    default:
        emit handlerSyncError(uuid, folderSlot, fileSlot, static_cast<Brenvoka::SyncStates>(state),
                              sync["ERROR"_L1].toString(), sync["SERVER"_L1].toString());
        break;
    }
    if (activeTransfers.remove(id) && activeTransfers.isEmpty() && !closing)
        emit handlerSyncOperationFinished(uuid);
}

void ServerConnectionHandler::serverStats(const QJsonObject &message)
{
    const auto rate = [&message](QLatin1StringView key) {
        return static_cast<float>(message[key].toDouble(0));
    };
    emit connectedServerUpdateStats(address, uuid, rate("GFPS"_L1), rate("TFPS"_L1),
                                    rate("MFPS"_L1), message["FS"_L1].toBool(false));
}

void ServerConnectionHandler::connectionTerminated(QNetworkReply *reply)
{
    const DeletionDelay::Scope scope(deletionDelay);
    if (reply == streamReply)
        streamEnded(reply);
    else if (reply == uploadReply)
        uploadEnded(reply);
    else
        commandEnded(reply);
    deletionDelay.release(reply);
}

void ServerConnectionHandler::streamEnded(QNetworkReply *reply)
{
    ZOR_LOG(info, "Connection to server %s terminated",
            qPrintable(Protocol::notifierUrlTemplate(address)));
    handleWaitingMessages();
    if (!closing) {
        QString error;
        if (disconnectReason == Brenvoka::DisconnectNone) {
            if (reply->error() != QNetworkReply::NoError) {
                error = reply->errorString();
                disconnectReason = Brenvoka::DisconnectNetworkError;
            }
            if (reply->bytesAvailable() > 0)
                canRead();
        }
        if (!closing) {
            close();
            removeQueue = {};
            renameQueue = {};
            // Their replies are deleted when they finish; a later `stop` must not abort them.
            removeInFlight = {};
            renameInFlight = {};
            moveInFlight = {};
            emit handlerServerDisconnected(address, uuid, disconnectReason, error);
        }
    }
    streamReply = nullptr;
}
