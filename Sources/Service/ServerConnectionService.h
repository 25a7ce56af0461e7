// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/VisualRef.h"

#include <QList>
#include <QObject>

class QHostAddress;
class QUuid;
class ServerConnectionHandler;

/// Sends requests to the connected servers. It owns one ServerConnectionHandler for each server,
/// finds it by the server's id, forwards operations to it and emits its signals.
///
/// An operation on an id without a handler is logged and dropped, with no signal. The loss of a
/// server is reported only by `serverDisconnected`. There is no automatic reconnection.
///
/// The destructor deletes the handlers without a signal.
class ServerConnectionService final : public QObject
{
    Q_OBJECT

public:
    explicit ServerConnectionService(QObject *parent = nullptr);

    /// Connects to a server. An existing handler for this id is kept with its address, and
    /// `serverConnected` with that address is emitted at once.
    void addHandler(const QHostAddress &address, const QUuid &uuid);
    /// Drops a server. Emits `visualRemoveFinished` for removals that have not been sent, but no
    /// `serverDisconnected`.
    void removeHandler(const QUuid &uuid);
    /// Whether there is a handler for this id.
    [[nodiscard]] bool hasHandler(const QUuid &uuid) const;

    /// Requests that the destination fetches each visual from the server at `sourceAddress`. Emits
    /// `syncProgressUpdate` with SyncQueued for each of them before it returns.
    void requestSync(const QHostAddress &sourceAddress, const QUuid &destinationServer,
                     const QList<VisualRef> &visuals);
    /// Requests that every connected server cancels its transfers.
    void cancelAllSyncs();
    /// Removes visuals, one request at a time; `visualRemoveFinished` or `visualRemoveError` for
    /// each.
    void requestRemove(const QUuid &uuid, const QList<VisualRef> &visuals);
    /// Drops the removals that have not been sent. The one in flight is still reported.
    void cancelRemoves(const QUuid &uuid);
    /// Same as `cancelRemoves`. Required, though nothing calls it.
    void clearPendingRemoves(const QUuid &uuid);
    /// Moves a visual within its folder; `movedFileFinished` or `movedFileError`.
    void requestMove(const QUuid &uuid, int folderSlot, int fromSlot, int toSlot);
    /// Renames folders, one request at a time; `folderRenameFinished` or `folderRenameError` for
    /// each. They cannot be cancelled.
    void requestRename(const QUuid &uuid, const QList<FolderRename> &renames);
    /// Uploads a local file; `uploadedFileProgress`, then `uploadedFileFinished` or
    /// `uploadedFileError`. No signal if the file cannot be opened or another upload to this server
    /// is running.
    void requestUpload(const QUuid &uuid, int folderSlot, int fileSlot, const QString &path);
    /// Aborts the upload, without a signal.
    void cancelUpload(const QUuid &uuid);

signals:
    void syncProgressUpdate(const QUuid &serverId, int folderSlot, int fileSlot,
                            int progressPercent, Brenvoka::SyncStates progressState);
    void syncFinished(const QUuid &serverId, int folderId, int fileId);
    void syncError(const QUuid &serverId, int folderSlot, int fileSlot, Brenvoka::SyncStates state,
                   const QString &error, const QString &url);
    /// A server has no running transfer any more, whether they succeeded or not.
    void syncOperationFinished(const QUuid &serverId);
    /// `progress` is in percent.
    void uploadedFileProgress(const QUuid &serverId, int progress);
    void uploadedFileError(const QUuid &serverId, const QString &error);
    void uploadedFileFinished(const QUuid &serverId);
    void movedFileError(const QUuid &serverId, const QString &error);
    void movedFileFinished(const QUuid &serverId);
    void serverLibraryChanged(const QUuid &uuid);
    /// A server's three frame rates, in frames per second, and its flag "FS".
    void serverUpdateStats(const QUuid &uuid, float gf, float tf, float mf, bool fs);
    /// A server's stream has ended. Its handler is already removed, so a receiver may call
    /// `addHandler`. `error` is empty unless there was a network error.
    void serverDisconnected(const QUuid &uuid, Brenvoka::ServerDisconnectReason reason,
                            const QString &error);
    /// The first bytes of a server's stream arrived, or `addHandler` found an existing handler.
    void serverConnected(const QUuid &uuid, const QHostAddress &address);
    void visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    void visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    void folderRenameError(const QUuid &uuid, int folderSlot, const QString &error);
    void folderRenameFinished(const QUuid &uuid, int folderSlot);

private slots:
    void onSyncProgressUpdate(const QUuid &uuid, int folderSlot, int fileSlot, int progressPercent,
                              Brenvoka::SyncStates progressState);
    void onSyncError(const QUuid &uuid, int folderSlot, int fileSlot, Brenvoka::SyncStates state,
                     const QString &error, const QString &url);
    void onSyncRequestFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    void onSyncOperationFinished(const QUuid &uuid);
    void onServerDisconnected(const QHostAddress &address, const QUuid &uuid,
                              Brenvoka::ServerDisconnectReason reason, const QString &error);
    void onServerConnected(const QUuid &uuid, const QHostAddress &address);
    void onUploadedFileProgress(const QUuid &address, int progress);
    void onUploadedFileError(const QUuid &address, const QString &err);
    void onUploadedFileFinished(const QUuid &address);
    void onMoveFileError(const QUuid &serverId, const QString &err);
    void onMoveFileFinished(const QUuid &serverId);
    void onServerLibraryChanged(const QHostAddress &address, const QUuid &uuid);
    void onServerUpdateStats(const QHostAddress &address, const QUuid &uuid, float gf, float tf,
                             float mf, bool fs);
    void onRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    void onRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    void onRenameError(const QUuid &uuid, int folderSlot, const QString &error);
    void onRenameFinished(const QUuid &uuid, int folderSlot);

private:
    [[nodiscard]] ServerConnectionHandler *findHandler(const QUuid &id) const;
    [[nodiscard]] ServerConnectionHandler *findHandlerByAddress(const QHostAddress &address) const;
    [[nodiscard]] ServerConnectionHandler *requireHandler(const QUuid &id,
                                                          const char *colon = "") const;
    [[nodiscard]] bool requireAddress(const QHostAddress &address) const;
    void forwardSignalsOf(ServerConnectionHandler *handler);
    void detach(ServerConnectionHandler *handler);

    QList<ServerConnectionHandler *> handlers;
};
