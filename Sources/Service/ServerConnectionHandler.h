// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/VisualRef.h"
#include "Protocol/StreamFraming.h"
#include "Service/CommandQueue.h"
#include "Service/Http/DeletionDelay.h"
#include "Service/ServerConnectionRecords.h"

#include <QHash>
#include <QHostAddress>
#include <QJsonDocument>
#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QUuid>

class QJsonArray;
class QJsonObject;
struct Outcome;

/// One connection to one server at one address: the notification stream from the server, and the
/// commands and the upload to it.
///
/// A handler is used once. It opens the stream in its constructor, is connected when the first
/// bytes arrive, never reconnects and ends with its stream. There is no timer: a silent server
/// stays connected until the network layer finishes the reply.
///
/// The body of the stream is a sequence of JSON objects in UTF-8, each followed by a NUL byte.
/// Removals, moves, renames and uploads are answered by the body of their own reply. A sync and the
/// cancel of all syncs are answered only on the stream. Commands wait in one first-in first-out
/// queue (see CommandQueue). `pendingRequests` and the signals of a request do not wait: they
/// change and are emitted during the call.
///
/// After the end of the stream or a call of `stop`, nothing is sent or reported: waiting commands
/// are dropped, requests do nothing, and answers to commands on the wire are ignored.
///
/// All signals are emitted directly, from the GUI thread. A receiver may call any function,
/// including `stop` and `deleteLater`, or run its own event loop while the stream continues.
/// Messages are then still handled in order and once each. The handler delays its own deletion, and
/// that of its replies, until none of its functions is running.
class ServerConnectionHandler final : public QObject
{
    Q_OBJECT

public:
    /// Opens the notification stream. `serverUuid` is the first argument of most signals.
    ServerConnectionHandler(const QHostAddress &serverAddress, const QUuid &serverUuid,
                            QObject *parent = nullptr);

    [[nodiscard]] const QUuid &serverId() const { return uuid; }
    [[nodiscard]] const QHostAddress &serverAddress() const { return address; }

    /// Ends the connection. Removals that wait behind the one in flight are reported as finished;
    /// everything else ends without a signal.
    void stop();

    /// Requests that the server fetches each visual from the server at `source`. Emits
    /// `handlerSyncProgressUpdate` with SyncQueued for each of them before it returns.
    void requestSync(const QHostAddress &source, const QList<VisualRef> &visuals);
    /// Removes visuals, one request at a time. Each one ends with `handlerRemoveFinished` or
    /// `handlerRemoveError`. A failure does not stop the others.
    void requestRemove(const QList<VisualRef> &visuals);
    /// Drops the removals that wait behind the one in flight, without a signal.
    void cancelRemoves();
    /// Moves a visual within its folder. A second call before the answer to the first replaces it:
    /// the first answer is then ignored.
    void requestMove(int folderSlot, int fromSlot, int toSlot);
    /// Marks queued and running transfers as SyncCanceling, emits `handlerSyncProgressUpdate` for
    /// each, and requests that the server cancels all transfers.
    void cancelSyncs();
    /// Renames folders, one request at a time. Each one ends with `handlerRenameFinished` or
    /// `handlerRenameError`. A failure does not stop the others.
    void requestRename(const QList<FolderRename> &renames);
    /// Uploads the file at `path` with its present length. The file is read while it is sent. If an
    /// upload is running or the file cannot be opened, nothing happens and nothing is reported.
    void requestUpload(int folderSlot, int fileSlot, const QString &path);
    /// Aborts the upload without a signal.
    void cancelUpload();

    /// Delays a deletion while a function of this handler is running.
    bool event(QEvent *event) override;

signals:
    /// The first bytes of the stream have arrived. Emitted before they are handled.
    void handlerServerConnected(const QUuid &uuid, const QHostAddress &address);
    /// The stream has ended without `stop`. The last signal of this handler. `error` is empty
    /// unless there was a network error.
    void handlerServerDisconnected(const QHostAddress &address, const QUuid &uuid,
                                   Brenvoka::ServerDisconnectReason reason, const QString &error);
    /// The progress of a transfer in percent.
    void handlerSyncProgressUpdate(const QUuid &uuid, int folderSlot, int fileSlot,
                                   int progressPercent, Brenvoka::SyncStates state);
    /// A transfer failed. `error` is the text from the server, `url` is the source server.
    void handlerSyncError(const QUuid &uuid, int folderSlot, int fileSlot,
                          Brenvoka::SyncStates state, const QString &error, const QString &url);
    /// A transfer has succeeded.
    void handlerSyncRequestFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    /// The server has no running transfer any more, whether they succeeded or not.
    void handlerSyncOperationFinished(const QUuid &uuid);
    /// The server's library changed. The message does not say what.
    void connectedServerLibraryChanged(const QHostAddress &address, const QUuid &uuid);
    /// The server's three frame rates, in frames per second, and its flag "FS".
    void connectedServerUpdateStats(const QHostAddress &address, const QUuid &uuid, float gfps,
                                    float tfps, float mfps, bool fs);

    /// One removal was refused or its reply failed. `error` is for the operator, and empty if the
    /// server gave no reason. The next removal is sent after this signal.
    void handlerRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    /// One removal has succeeded, or `stop` dropped it before it was sent.
    void handlerRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    /// The last move was refused or its reply failed; see handlerRemoveError.
    void handlerMoveFileError(const QUuid &uuid, const QString &error);
    void handlerMoveFileFinished(const QUuid &uuid);
    /// One rename was refused or its reply failed; see handlerRemoveError.
    void handlerRenameError(const QUuid &uuid, int folderSlot, const QString &error);
    void handlerRenameFinished(const QUuid &uuid, int folderSlot);
    /// How much of the upload has been sent, in percent; not throttled.
    void uploadedFileProgress(const QUuid &uuid, int progress);
    /// The upload failed, was refused, or its answer is not a result. Its last signal.
    void uploadedFileError(const QUuid &uuid, const QString &error);
    void uploadedFileFinished(const QUuid &uuid);

    /// Required, though never emitted: the stream is framed where it is read.
    void processReceivedData();

private slots:
    void canRead();
    void connectionTerminated(QNetworkReply *reply);
    void uploadError(QNetworkReply::NetworkError error);
    void uploadProgress(qlonglong bytesSent, qlonglong bytesTotal);

private:
    friend struct ServerConnectionHandlerProbe; // lets tests read the fields

    void close();
    void handleWaitingMessages();
    void handleMessage(const QJsonDocument &document);
    void transfersListed(const QJsonArray &transfers);
    void transferStarted(const QJsonObject &sync);
    void transferProgress(const TransferProgress &progress);
    void transferFinished(const QJsonObject &sync);
    void serverStats(const QJsonObject &message);

    quint64 enqueue(const QByteArray &body, CommandQueue::Delivery delivery);
    void sendWaitingCommands();
    void sendNextRemoval();
    void sendNextRename();
    [[nodiscard]] static Outcome readOutcome(QNetworkReply *reply);
    [[nodiscard]] static Outcome readLoggedOutcome(QNetworkReply *reply, const char *internalError,
                                                   const QString &failure);
    static void parseResult(QNetworkReply *reply, bool &success, QString &message);

    void streamEnded(QNetworkReply *reply);
    void uploadEnded(QNetworkReply *reply);
    void commandEnded(QNetworkReply *reply);
    void moveEnded(QNetworkReply *reply);
    void removeEnded(QNetworkReply *reply);
    void renameEnded(QNetworkReply *reply);

    QNetworkAccessManager networkManager;
    QHostAddress address;
    QUuid uuid;
    QNetworkReply *streamReply = nullptr;
    QNetworkReply *uploadReply = nullptr;
    QByteArray receiveBuffer; ///< never contains a NUL
    bool closing = false;     ///< nothing is sent or reported any more
    Brenvoka::ServerDisconnectReason disconnectReason = Brenvoka::DisconnectNone;
    QHash<TransferId, ActiveTransfer> activeTransfers;
    int pendingRequests = 0; ///< commands without an answer; required, though nothing reads it
    QList<VisualRef> removeQueue;
    QList<FolderRename> renameQueue;
    RemoveRequest removeInFlight;
    MoveRequest moveInFlight;
    RenameRequest renameInFlight;
    bool connectedEmitted = false;

    CommandQueue commands;
    QList<StreamFraming::Chunk> waitingChunks; ///< received and not yet handled
    DeletionDelay deletionDelay;
};
