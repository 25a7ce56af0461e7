// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The commands and the upload. The notification stream is in ServerConnectionHandler.cpp.
#include "Service/ServerConnectionHandler.h"

#include "Log/ZorLog.h"
#include "Protocol/CommandBodies.h"
#include "Protocol/ResultDocument.h"
#include "Protocol/UploadForm.h"
#include "Protocol/Urls.h"
#include "Service/Http/ServerRequest.h"
#include "Service/Http/UploadFile.h"
#include "Service/TakeHead.h"

#include <QHttpMultiPart>

#include <memory>
#include <utility>

using Delivery = CommandQueue::Delivery;

/// Records of what is in flight take the number that this gives before the command is sent.
quint64 ServerConnectionHandler::enqueue(const QByteArray &body, Delivery delivery)
{
    if (closing)
        return 0;
    ++pendingRequests;
    return commands.append(body, delivery);
}

void ServerConnectionHandler::sendWaitingCommands()
{
    for (;;) {
        const auto [number, reply] = commands.sendNext(networkManager);
        if (reply == nullptr)
            return;
        if (number == removeInFlight.command)
            removeInFlight.reply = reply;
        else if (number == moveInFlight.command)
            moveInFlight.reply = reply;
        else if (number == renameInFlight.command)
            renameInFlight.reply = reply;
    }
}

void ServerConnectionHandler::requestSync(const QHostAddress &source,
                                          const QList<VisualRef> &visuals)
{
    const DeletionDelay::Scope scope(deletionDelay);
    for (const VisualRef &visual : visuals) {
        if (closing)
            return;
        enqueue(CommandBodies::sync(source, visual), Delivery::Repeatable);
        sendWaitingCommands();
        emit handlerSyncProgressUpdate(uuid, visual.first, visual.second, 0, Brenvoka::SyncQueued);
    }
}

void ServerConnectionHandler::cancelSyncs()
{
    const DeletionDelay::Scope scope(deletionDelay);
    const QList<QUuid> ids = activeTransfers.keys();
    for (const QUuid &id : ids) {
        const auto entry = activeTransfers.find(id);
        if (entry == activeTransfers.end() || entry->state >= Brenvoka::SyncImporting)
            continue;
        entry->state = Brenvoka::SyncCanceling;
        emit handlerSyncProgressUpdate(uuid, entry->folderSlot, entry->fileSlot,
                                       entry->progressPercent, Brenvoka::SyncCanceling);
    }
    enqueue(CommandBodies::cancelSyncs(), Delivery::Alone);
    sendWaitingCommands();
}

void ServerConnectionHandler::requestRemove(const QList<VisualRef> &visuals)
{
    if (closing)
        return;
    removeQueue += visuals;
    if (removeInFlight.command == 0)
        sendNextRemoval();
}

void ServerConnectionHandler::cancelRemoves()
{
    removeQueue.clear();
}

void ServerConnectionHandler::sendNextRemoval()
{
    if (removeQueue.isEmpty()) {
        removeQueue = {};
        removeInFlight = {};
        return;
    }
    const VisualRef visual = removeQueue.constFirst();
    takeHead(removeQueue);
    removeInFlight = {nullptr, visual.first, visual.second,
                      enqueue(CommandBodies::remove(visual), Delivery::Once)};
    sendWaitingCommands();
}

void ServerConnectionHandler::requestRename(const QList<FolderRename> &renames)
{
    if (closing)
        return;
    renameQueue += renames;
    if (renameInFlight.command == 0)
        sendNextRename();
}

void ServerConnectionHandler::sendNextRename()
{
    if (renameQueue.isEmpty()) {
        renameQueue = {};
        renameInFlight = {};
        return;
    }
    const FolderRename rename = renameQueue.constFirst();
    takeHead(renameQueue);
    renameInFlight = {nullptr, rename.folderSlot, rename.name,
                      enqueue(CommandBodies::rename(rename), Delivery::Once)};
    sendWaitingCommands();
}

void ServerConnectionHandler::requestMove(int folderSlot, int fromSlot, int toSlot)
{
    if (closing)
        return;
    moveInFlight = {nullptr, folderSlot, fromSlot, toSlot,
                    enqueue(CommandBodies::move(folderSlot, fromSlot, toSlot), Delivery::Once)};
    sendWaitingCommands();
}

void ServerConnectionHandler::requestUpload(int folderSlot, int fileSlot, const QString &path)
{
    if (closing || uploadReply != nullptr)
        return;
    auto file = std::make_unique<UploadFile>(path);
    if (!file->isOpen())
        return;
    QHttpMultiPart *const form =
        UploadForm::create(folderSlot, fileSlot, std::move(file)).release();
    uploadReply = networkManager.post(serverRequest(Protocol::uploadUrl(address)), form);
    form->setParent(uploadReply);
    connect(uploadReply, &QNetworkReply::errorOccurred, this,
            &ServerConnectionHandler::uploadError);
    connect(uploadReply, &QNetworkReply::uploadProgress, this,
            &ServerConnectionHandler::uploadProgress);
}

void ServerConnectionHandler::cancelUpload()
{
    if (uploadReply == nullptr)
        return;
    const DeletionDelay::Scope scope(deletionDelay);
    QNetworkReply *reply = std::exchange(uploadReply, nullptr);
    disconnect(reply, &QNetworkReply::errorOccurred, this, &ServerConnectionHandler::uploadError);
    disconnect(reply, &QNetworkReply::uploadProgress, this,
               &ServerConnectionHandler::uploadProgress);
    reply->abort();
    deletionDelay.release(reply);
}

void ServerConnectionHandler::uploadProgress(qlonglong bytesSent, qlonglong bytesTotal)
{
    if (closing || bytesSent <= 0 || bytesTotal <= 0)
        return;
    const DeletionDelay::Scope scope(deletionDelay);
    const float share = static_cast<float>(bytesSent) / static_cast<float>(bytesTotal);
    emit uploadedFileProgress(uuid, static_cast<int>(share * 100.0));
}

/// The reply is deleted by its `finished`, which a deletion from here could forestall: Qt reports
/// the two in different turns of the event loop.
void ServerConnectionHandler::uploadError(QNetworkReply::NetworkError error)
{
    const DeletionDelay::Scope scope(deletionDelay);
    ZOR_LOG(error, "File upload error: %d", static_cast<int>(error));
    if (uploadReply == nullptr)
        return;
    const QNetworkReply *reply = std::exchange(uploadReply, nullptr);
    if (!closing)
        emit uploadedFileError(uuid, reply->errorString());
}

void ServerConnectionHandler::uploadEnded(QNetworkReply *reply)
{
    uploadReply = nullptr;
    if (closing)
        return;
    bool success = false;
    QString message;
    parseResult(reply, success, message);
    if (success) {
        emit uploadedFileFinished(uuid);
        return;
    }
    ZOR_LOG(error, "Upload failed on server %s reason: %s", qPrintable(address.toString()),
            qUtf8Printable(message));
    emit uploadedFileError(uuid, message);
}

/// The records say which command it was; a sync, a cancel and a reply that nobody waits for any
/// more have none.
void ServerConnectionHandler::commandEnded(QNetworkReply *reply)
{
    --pendingRequests;
    commands.ended(reply);
    sendWaitingCommands();
    if (closing)
        return;
    if (reply == moveInFlight.reply)
        moveEnded(reply);
    else if (reply == removeInFlight.reply)
        removeEnded(reply);
    else if (reply == renameInFlight.reply)
        renameEnded(reply);
}

void ServerConnectionHandler::moveEnded(QNetworkReply *reply)
{
    bool success = false;
    QString message;
    readOutcome(reply, success, message);
    if (reply->error() != QNetworkReply::NoError) {
        ZOR_LOG(error,
                "Element move failed on server %s folder %d from file %d to file %d reason: %s",
                qPrintable(address.toString()), moveInFlight.folderSlot, moveInFlight.fromSlot,
                moveInFlight.toSlot, qUtf8Printable(message));
    }
    if (success)
        emit handlerMoveFileFinished(uuid);
    else
        emit handlerMoveFileError(uuid, message);
    if (moveInFlight.reply == reply)
        moveInFlight = {};
}

void ServerConnectionHandler::removeEnded(QNetworkReply *reply)
{
    const int folderSlot = removeInFlight.folderSlot;
    const int fileSlot = removeInFlight.fileSlot;
    bool success = false;
    QString message;
    readOutcome(reply, success, message);
    if (success) {
        emit handlerRemoveFinished(uuid, folderSlot, fileSlot);
    } else if (reply->error() != QNetworkReply::NoError && message.isEmpty()) {
        ZOR_LOG(error, "Internal error. Element removal failed on server");
        emit handlerRemoveError(uuid, folderSlot, fileSlot,
                                tr("Internal error. Element removal failed on server"));
    } else {
        ZOR_LOG(error, "Element remove failed on server %s folder %d file %d reason: %s",
                qPrintable(address.toString()), folderSlot, fileSlot, qUtf8Printable(message));
        emit handlerRemoveError(uuid, folderSlot, fileSlot, message);
    }
    if (!closing)
        sendNextRemoval();
}

void ServerConnectionHandler::renameEnded(QNetworkReply *reply)
{
    const int folderSlot = renameInFlight.folderSlot;
    bool success = false;
    QString message;
    readOutcome(reply, success, message);
    if (success) {
        emit handlerRenameFinished(uuid, folderSlot);
    } else if (reply->error() != QNetworkReply::NoError && message.isEmpty()) {
        ZOR_LOG(error, "Internal error. Folder rename failed on server");
        emit handlerRenameError(uuid, folderSlot,
                                tr("Internal error. Folder rename failed on server"));
    } else {
        ZOR_LOG(error, "Folder rename failed on server %s folder %d reason: %s",
                qPrintable(address.toString()), folderSlot, qUtf8Printable(message));
        emit handlerRenameError(uuid, folderSlot, message);
    }
    if (!closing)
        sendNextRename();
}

/// The result in the body, or else the text of the network error.
void ServerConnectionHandler::readOutcome(QNetworkReply *reply, bool &success, QString &message)
{
    if (reply->error() == QNetworkReply::NoError)
        parseResult(reply, success, message);
    else
        message = reply->errorString();
}

void ServerConnectionHandler::parseResult(QNetworkReply *reply, bool &success, QString &message)
{
    ResultDocument::parse(reply->readAll(), success, message);
}
