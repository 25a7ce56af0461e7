// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ServerConnectionService.h"

#include "Log/ZorLog.h"
#include "Service/ServerConnectionHandler.h"

#include <algorithm>

ServerConnectionService::ServerConnectionService(QObject *parent)
    : QObject(parent)
{
}

void ServerConnectionService::addHandler(const QHostAddress &address, const QUuid &uuid)
{
    if (const ServerConnectionHandler *existing = findHandler(uuid)) {
        const QHostAddress known = existing->serverAddress(); // a receiver may remove the handler
        emit serverConnected(uuid, known);
        return;
    }
    ZOR_LOG(info, "Adding handler for %s", qPrintable(address.toString()));
    auto *handler = new ServerConnectionHandler(address, uuid, this);
    handlers.append(handler);
    forwardSignalsOf(handler);
}

void ServerConnectionService::removeHandler(const QUuid &uuid)
{
    ServerConnectionHandler *handler = requireHandler(uuid);
    if (!handler)
        return;
    // The leading blank is required.
    ZOR_LOG(info, " Handler removed for server id %s", qPrintable(uuid.toString()));
    handler->stop();
    detach(handler);
}

bool ServerConnectionService::hasHandler(const QUuid &uuid) const
{
    return findHandler(uuid) != nullptr;
}

void ServerConnectionService::onServerDisconnected(const QHostAddress &address, const QUuid &uuid,
                                                   Brenvoka::ServerDisconnectReason reason,
                                                   const QString &error)
{
    ServerConnectionHandler *handler = requireHandler(uuid);
    if (!handler)
        return;
    ZOR_LOG(info, "Handler removed for id %s address %s", qPrintable(uuid.toString()),
            qPrintable(address.toString()));
    detach(handler);
    emit serverDisconnected(uuid, reason, error);
}

/// Disconnects and releases the handler, which may be emitting one of its signals.
void ServerConnectionService::detach(ServerConnectionHandler *handler)
{
    handler->disconnect(this);
    handlers.removeOne(handler);
    handler->deleteLater();
}

void ServerConnectionService::forwardSignalsOf(ServerConnectionHandler *handler)
{
    const auto forward = [this, handler](auto signal, auto slot) {
        connect(handler, signal, this, slot);
    };
    using Handler = ServerConnectionHandler;
    using Service = ServerConnectionService;
    forward(&Handler::handlerSyncProgressUpdate, &Service::onSyncProgressUpdate);
    forward(&Handler::handlerServerDisconnected, &Service::onServerDisconnected);
    forward(&Handler::handlerServerConnected, &Service::onServerConnected);
    forward(&Handler::handlerSyncOperationFinished, &Service::onSyncOperationFinished);
    forward(&Handler::uploadedFileProgress, &Service::onUploadedFileProgress);
    forward(&Handler::uploadedFileError, &Service::onUploadedFileError);
    forward(&Handler::uploadedFileFinished, &Service::onUploadedFileFinished);
    forward(&Handler::connectedServerLibraryChanged, &Service::onServerLibraryChanged);
    forward(&Handler::connectedServerUpdateStats, &Service::onServerUpdateStats);
    forward(&Handler::handlerSyncError, &Service::onSyncError);
    forward(&Handler::handlerSyncRequestFinished, &Service::onSyncRequestFinished);
    forward(&Handler::handlerMoveFileError, &Service::onMoveFileError);
    forward(&Handler::handlerMoveFileFinished, &Service::onMoveFileFinished);
    forward(&Handler::handlerRemoveError, &Service::onRemoveError);
    forward(&Handler::handlerRemoveFinished, &Service::onRemoveFinished);
    forward(&Handler::handlerRenameError, &Service::onRenameError);
    forward(&Handler::handlerRenameFinished, &Service::onRenameFinished);
}

ServerConnectionHandler *ServerConnectionService::findHandler(const QUuid &id) const
{
    const auto found = std::ranges::find(handlers, id, &ServerConnectionHandler::serverId);
    return found == handlers.end() ? nullptr : *found;
}

ServerConnectionHandler *
ServerConnectionService::findHandlerByAddress(const QHostAddress &address) const
{
    const auto found =
        std::ranges::find(handlers, address, &ServerConnectionHandler::serverAddress);
    return found == handlers.end() ? nullptr : *found;
}

/// Logs a missing handler. Some of the operations have a colon in that line, as required.
ServerConnectionHandler *ServerConnectionService::requireHandler(const QUuid &id,
                                                                 const char *colon) const
{
    ServerConnectionHandler *handler = findHandler(id);
    if (!handler)
        ZOR_LOG(info, "Handler not found for id%s %s", colon, qPrintable(id.toString()));
    return handler;
}

bool ServerConnectionService::requireAddress(const QHostAddress &address) const
{
    const bool found = findHandlerByAddress(address) != nullptr;
    if (!found)
        ZOR_LOG(info, "Handler not found for address %s", qPrintable(address.toString()));
    return found;
}

void ServerConnectionService::requestRemove(const QUuid &uuid, const QList<VisualRef> &visuals)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid))
        handler->requestRemove(visuals);
}

void ServerConnectionService::cancelRemoves(const QUuid &uuid)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid))
        handler->cancelRemoves();
}

void ServerConnectionService::clearPendingRemoves(const QUuid &uuid)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid, ":"))
        handler->cancelRemoves();
}

void ServerConnectionService::requestMove(const QUuid &uuid, int folderSlot, int fromSlot,
                                          int toSlot)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid, ":"))
        handler->requestMove(folderSlot, fromSlot, toSlot);
}

void ServerConnectionService::cancelAllSyncs()
{
    const QList<QPointer<ServerConnectionHandler>> all(handlers.begin(), handlers.end());
    for (const QPointer<ServerConnectionHandler> &handler : all) {
        if (handler)
            handler->cancelSyncs();
    }
}

void ServerConnectionService::requestUpload(const QUuid &uuid, int folderSlot, int fileSlot,
                                            const QString &path)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid, ":"))
        handler->requestUpload(folderSlot, fileSlot, path);
}

void ServerConnectionService::cancelUpload(const QUuid &uuid)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid, ":"))
        handler->cancelUpload();
}

void ServerConnectionService::requestSync(const QHostAddress &sourceAddress,
                                          const QUuid &destinationServer,
                                          const QList<VisualRef> &visuals)
{
    ServerConnectionHandler *handler = findHandler(destinationServer);
    if (!handler) {
        ZOR_LOG(error, "Handler not found for id: %s", qPrintable(destinationServer.toString()));
        return;
    }
    handler->requestSync(sourceAddress, visuals);
}

void ServerConnectionService::requestRename(const QUuid &uuid, const QList<FolderRename> &renames)
{
    if (ServerConnectionHandler *handler = requireHandler(uuid, ":"))
        handler->requestRename(renames);
}

void ServerConnectionService::onSyncProgressUpdate(const QUuid &uuid, int folderSlot, int fileSlot,
                                                   int progressPercent,
                                                   Brenvoka::SyncStates progressState)
{
    emit syncProgressUpdate(uuid, folderSlot, fileSlot, progressPercent, progressState);
}

void ServerConnectionService::onSyncError(const QUuid &uuid, int folderSlot, int fileSlot,
                                          Brenvoka::SyncStates state, const QString &error,
                                          const QString &url)
{
    emit syncError(uuid, folderSlot, fileSlot, state, error, url);
}

void ServerConnectionService::onSyncRequestFinished(const QUuid &uuid, int folderSlot, int fileSlot)
{
    emit syncFinished(uuid, folderSlot, fileSlot);
}

void ServerConnectionService::onSyncOperationFinished(const QUuid &uuid)
{
    if (requireHandler(uuid))
        emit syncOperationFinished(uuid);
}

void ServerConnectionService::onServerConnected(const QUuid &uuid, const QHostAddress &address)
{
    if (requireHandler(uuid))
        emit serverConnected(uuid, address);
}

void ServerConnectionService::onUploadedFileProgress(const QUuid &address, int progress)
{
    if (requireHandler(address))
        emit uploadedFileProgress(address, progress);
}

void ServerConnectionService::onUploadedFileError(const QUuid &address, const QString &err)
{
    if (requireHandler(address))
        emit uploadedFileError(address, err);
}

void ServerConnectionService::onUploadedFileFinished(const QUuid &address)
{
    if (requireHandler(address))
        emit uploadedFileFinished(address);
}

void ServerConnectionService::onMoveFileError(const QUuid &serverId, const QString &err)
{
    if (requireHandler(serverId))
        emit movedFileError(serverId, err);
}

void ServerConnectionService::onMoveFileFinished(const QUuid &serverId)
{
    if (requireHandler(serverId))
        emit movedFileFinished(serverId);
}

void ServerConnectionService::onServerLibraryChanged(const QHostAddress &address, const QUuid &uuid)
{
    if (requireAddress(address))
        emit serverLibraryChanged(uuid);
}

void ServerConnectionService::onServerUpdateStats(const QHostAddress &address, const QUuid &uuid,
                                                  float gf, float tf, float mf, bool fs)
{
    if (requireAddress(address))
        emit serverUpdateStats(uuid, gf, tf, mf, fs);
}

void ServerConnectionService::onRemoveError(const QUuid &uuid, int folderSlot, int fileSlot,
                                            const QString &error)
{
    if (requireHandler(uuid))
        emit visualRemoveError(uuid, folderSlot, fileSlot, error);
}

void ServerConnectionService::onRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot)
{
    if (requireHandler(uuid))
        emit visualRemoveFinished(uuid, folderSlot, fileSlot);
}

void ServerConnectionService::onRenameError(const QUuid &uuid, int folderSlot, const QString &error)
{
    if (requireHandler(uuid))
        emit folderRenameError(uuid, folderSlot, error);
}

void ServerConnectionService::onRenameFinished(const QUuid &uuid, int folderSlot)
{
    if (requireHandler(uuid))
        emit folderRenameFinished(uuid, folderSlot);
}
