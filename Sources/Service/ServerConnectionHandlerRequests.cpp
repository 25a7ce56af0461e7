// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The commands and the upload. The notification stream is in ServerConnectionHandler.cpp.
#include "Service/ServerConnectionHandler.h"

#include "Log/ZorLog.h"
#include "Protocol/CommandBodies.h"
#include "Protocol/ResultDocument.h"
#include "Protocol/UploadForm.h"
#include "Protocol/Urls.h"
#include "Service/Http/BoundedDownload.h"
#include "Service/Http/ServerRequest.h"
#include "Service/Http/UploadFile.h"
#include "Service/TakeHead.h"

#include <QHttpMultiPart>

#include <memory>
#include <utility>

using Delivery = CommandQueue::Delivery;

/// The record of the request in flight keeps the returned number until the command is sent.
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
        if (!reply)
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
    const QString sourceUrl = Protocol::serverUrl(source);
    for (const VisualRef &visual : visuals) {
        if (closing)
            return;
        enqueue(CommandBodies::sync(sourceUrl, visual), Delivery::Repeatable);
        sendWaitingCommands();
        emit handlerSyncProgressUpdate(uuid, visual.first, visual.second, 0, Brenvoka::SyncQueued);
    }
}

void ServerConnectionHandler::cancelSyncs()
{
    const DeletionDelay::Scope scope(deletionDelay);
    const QList<TransferId> ids = activeTransfers.keys();
    for (const TransferId &id : ids) {
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
    const std::optional<VisualRef> visual = takeHead(removeQueue);
    if (!visual) {
        removeInFlight = {};
        return;
    }
    removeInFlight = {nullptr, visual->first, visual->second,
                      enqueue(CommandBodies::remove(*visual), Delivery::Once)};
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
    const std::optional<FolderRename> rename = takeHead(renameQueue);
    if (!rename) {
        renameInFlight = {};
        return;
    }
    renameInFlight = {nullptr, rename->folderSlot, rename->name,
                      enqueue(CommandBodies::rename(*rename), Delivery::Once)};
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
    if (closing || uploadReply)
        return;
    auto file = std::make_unique<UploadFile>(path);
    if (!file->isOpen())
        return;
    QHttpMultiPart *const form =
        UploadForm::create(folderSlot, fileSlot, std::move(file)).release();
    uploadReply = networkManager.post(serverRequest(Protocol::uploadUrl(address)), form);
    form->setParent(uploadReply);
    BoundedDownload::limitBody(uploadReply, ResultDocument::maximumSize);
    connect(uploadReply, &QNetworkReply::errorOccurred, this,
            &ServerConnectionHandler::uploadError);
    connect(uploadReply, &QNetworkReply::uploadProgress, this,
            &ServerConnectionHandler::uploadProgress);
}

void ServerConnectionHandler::cancelUpload()
{
    if (!uploadReply)
        return;
    const DeletionDelay::Scope scope(deletionDelay);
    QNetworkReply *reply = std::exchange(uploadReply, nullptr);
    reply->disconnect(this);
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

/// The handler of `finished` deletes the reply. A deletion here could come first: Qt emits the two
/// signals in different turns of the event loop.
void ServerConnectionHandler::uploadError(QNetworkReply::NetworkError error)
{
    const DeletionDelay::Scope scope(deletionDelay);
    ZOR_LOG(error, "File upload error: %d", static_cast<int>(error));
    if (!uploadReply)
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
    Outcome outcome;
    parseResult(reply, outcome.success, outcome.message);
    if (outcome.success) {
        emit uploadedFileFinished(uuid);
        return;
    }
    ZOR_LOG(error, "Upload failed on server %s reason: %s", qPrintable(address.toString()),
            qUtf8Printable(outcome.message));
    emit uploadedFileError(uuid, outcome.message);
}

/// The records identify the command. A sync, a cancel and an abandoned reply have no record.
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
    const Outcome outcome = readOutcome(reply);
    // Required: a refusal is not logged.
    if (reply->error() != QNetworkReply::NoError) {
        ZOR_LOG(error,
                "Element move failed on server %s folder %d from file %d to file %d reason: %s",
                qPrintable(address.toString()), moveInFlight.folderSlot, moveInFlight.fromSlot,
                moveInFlight.toSlot, qUtf8Printable(outcome.message));
    }
    if (outcome.success)
        emit handlerMoveFileFinished(uuid);
    else
        emit handlerMoveFileError(uuid, outcome.message);
    if (moveInFlight.reply == reply)
        moveInFlight = {};
}

void ServerConnectionHandler::removeEnded(QNetworkReply *reply)
{
    const int folderSlot = removeInFlight.folderSlot;
    const int fileSlot = removeInFlight.fileSlot;
    const Outcome outcome =
        readLoggedOutcome(reply, QT_TR_NOOP("Internal error. Element removal failed on server"),
                          QString::asprintf("Element remove failed on server %s folder %d file %d",
                                            qPrintable(address.toString()), folderSlot, fileSlot));
    if (outcome.success)
        emit handlerRemoveFinished(uuid, folderSlot, fileSlot);
    else
        emit handlerRemoveError(uuid, folderSlot, fileSlot, outcome.message);
    if (!closing)
        sendNextRemoval();
}

void ServerConnectionHandler::renameEnded(QNetworkReply *reply)
{
    const int folderSlot = renameInFlight.folderSlot;
    const Outcome outcome =
        readLoggedOutcome(reply, QT_TR_NOOP("Internal error. Folder rename failed on server"),
                          QString::asprintf("Folder rename failed on server %s folder %d",
                                            qPrintable(address.toString()), folderSlot));
    if (outcome.success)
        emit handlerRenameFinished(uuid, folderSlot);
    else
        emit handlerRenameError(uuid, folderSlot, outcome.message);
    if (!closing)
        sendNextRename();
}

/// Logs a failure as `failure` with its reason. A network error without a text gets `internalError`
/// as its message.
Outcome ServerConnectionHandler::readLoggedOutcome(QNetworkReply *reply, const char *internalError,
                                                   const QString &failure)
{
    Outcome outcome = readOutcome(reply);
    if (outcome.success)
        return outcome;
    if (reply->error() != QNetworkReply::NoError && outcome.message.isEmpty()) {
        ZOR_LOG(error, "%s", internalError);
        outcome.message = tr(internalError);
    } else {
        ZOR_LOG(error, "%s reason: %s", qUtf8Printable(failure), qUtf8Printable(outcome.message));
    }
    return outcome;
}

/// The result in the body, otherwise the text of the network error.
Outcome ServerConnectionHandler::readOutcome(QNetworkReply *reply)
{
    Outcome outcome;
    if (reply->error() == QNetworkReply::NoError)
        parseResult(reply, outcome.success, outcome.message);
    else
        outcome.message = reply->errorString();
    return outcome;
}

void ServerConnectionHandler::parseResult(QNetworkReply *reply, bool &success, QString &message)
{
    const Outcome outcome = ResultDocument::parse(reply->readAll());
    success = outcome.success;
    message = outcome.message;
}
