// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/VisualRef.h"
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

/// One connection to one server, through one address: the notification stream that the server
/// talks on, and the commands and the upload that are sent to it.
///
/// A handler is one-shot. It opens the stream in its constructor, counts as connected when the
/// first bytes arrive, never reconnects and ends with its stream. There is no timer: a server that
/// falls silent stays connected until the network layer ends the reply.
///
/// The stream's body is a sequence of JSON objects in UTF-8, each followed by a NUL byte.
/// Removals, moves, renames and uploads are answered by the body of their own reply; a sync and the
/// cancel of all syncs are answered on the stream alone. Commands wait in one first-in first-out
/// queue (see CommandQueue); `pendingRequests` and the signals of a request come at the moment of
/// the call all the same, as if it had been sent.
///
/// When the stream has ended or `stop` was called, nothing is sent or reported any more: what waits
/// in the queues is dropped, requests do nothing, and answers to what is on the wire are ignored.
///
/// All signals are emitted directly, from the GUI thread. A receiver may do what it likes: call any
/// operation, `stop` and `deleteLater` included, or run an event loop of its own in which the
/// stream goes on. Messages are then handled in order, each once, and the handler puts off its own
/// deletion, and that of its replies, until none of its functions is running.
class ServerConnectionHandler final : public QObject
{
    Q_OBJECT

public:
    /// Opens the notification stream. `serverUuid` is the first argument of most signals.
    ServerConnectionHandler(const QHostAddress &serverAddress, const QUuid &serverUuid,
                            QObject *parent = nullptr);

    [[nodiscard]] const QUuid &serverId() const { return uuid; }
    [[nodiscard]] const QHostAddress &serverAddress() const { return address; }

    /// Ends the connection from this side. Removals behind the one in flight are reported as
    /// finished; all else ends without a signal.
    void stop();

    /// Asks the server to fetch each visual from the server at `source`. One
    /// `handlerSyncProgressUpdate` with SyncQueued for each, before this returns.
    void requestSync(const QHostAddress &source, const QList<VisualRef> &visuals);
    /// Removes visuals, one after the other; each is answered by `handlerRemoveFinished` or
    /// `handlerRemoveError`, and a failure does not stop the rest.
    void requestRemove(const QList<VisualRef> &visuals);
    /// Forgets the removals behind the one in flight, without a signal.
    void cancelRemoves();
    /// Moves a visual within its folder. A second call before the first was answered takes its
    /// place: the first answer is then dropped.
    void requestMove(int folderSlot, int fromSlot, int toSlot);
    /// Marks what the server has queued or is transferring as SyncCanceling, each with a
    /// `handlerSyncProgressUpdate`, and asks the server to cancel all transfers.
    void cancelSyncs();
    /// Renames folders, one after the other; each is answered by `handlerRenameFinished` or
    /// `handlerRenameError`, and a failure does not stop the rest.
    void requestRename(const QList<FolderRename> &renames);
    /// Uploads the file at `path`, read from disk as it goes out, at the length that it has now.
    /// Nothing happens, and nothing is told, when an upload is running already or the file can't be
    /// opened.
    void requestUpload(int folderSlot, int fileSlot, const QString &path);
    /// Ends the upload without a signal.
    void cancelUpload();

    /// Puts a deletion off while a function of this handler is running.
    bool event(QEvent *event) override;

signals:
    /// The first bytes of the stream have arrived; comes before they are handled.
    void handlerServerConnected(const QUuid &uuid, const QHostAddress &address);
    /// The stream has ended by itself; the last signal of this handler. `error` is empty unless a
    /// network error was met.
    void handlerServerDisconnected(const QHostAddress &address, const QUuid &uuid,
                                   Brenvoka::ServerDisconnectReason reason, const QString &error);
    /// How far a transfer is, in percent.
    void handlerSyncProgressUpdate(const QUuid &uuid, int folderSlot, int fileSlot,
                                   int progressPercent, Brenvoka::SyncStates state);
    /// A transfer failed. `error` is the server's text, `url` names the source server.
    void handlerSyncError(const QUuid &uuid, int folderSlot, int fileSlot,
                          Brenvoka::SyncStates state, const QString &error, const QString &url);
    /// A transfer ended well.
    void handlerSyncRequestFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    /// The last of the server's running transfers ended, well or not.
    void handlerSyncOperationFinished(const QUuid &uuid);
    /// The server says that its library is another now; what changed is not told.
    void connectedServerLibraryChanged(const QHostAddress &address, const QUuid &uuid);
    /// The server's three frame rates, in frames per second, and its flag "FS".
    void connectedServerUpdateStats(const QHostAddress &address, const QUuid &uuid, float gfps,
                                    float tfps, float mfps, bool fs);

    /// One removal was refused, or its reply failed: `error` is for the operator, and may be empty
    /// when the server gave no reason. The next removal goes out when this has returned.
    void handlerRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    /// One removal is done, or was dropped by `stop` before it was sent.
    void handlerRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    /// The latest move was refused or its reply failed; see handlerRemoveError.
    void handlerMoveFileError(const QUuid &uuid, const QString &error);
    void handlerMoveFileFinished(const QUuid &uuid);
    /// One rename was refused or its reply failed; see handlerRemoveError.
    void handlerRenameError(const QUuid &uuid, int folderSlot, const QString &error);
    void handlerRenameFinished(const QUuid &uuid, int folderSlot);
    /// How much of the upload has been sent, in percent; not throttled.
    void uploadedFileProgress(const QUuid &uuid, int progress);
    /// The upload failed, was refused, or its answer is no result; nothing more comes of it.
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
    friend struct ServerConnectionHandlerProbe; // the tests' view of the fields

    void close();
    void handleWaitingMessages();
    void handleMessage(const QJsonDocument &document);
    void transfersListed(const QJsonArray &transfers);
    void transferStarted(const QJsonObject &sync);
    void transferProgress(const QJsonObject &sync);
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
    QByteArray receiveBuffer; ///< never holds a NUL
    bool closing = false;     ///< nothing is sent or reported any more
    Brenvoka::ServerDisconnectReason disconnectReason = Brenvoka::DisconnectNone;
    QHash<QUuid, ActiveTransfer> activeTransfers;
    int pendingRequests = 0; ///< commands without an answer; required, though nothing reads it
    QList<VisualRef> removeQueue;
    QList<FolderRename> renameQueue;
    RemoveRequest removeInFlight;
    MoveRequest moveInFlight;
    RenameRequest renameInFlight;
    bool connectedEmitted = false;

    CommandQueue commands;
    QList<QJsonDocument> waitingMessages; ///< taken off the stream and not yet handled
    DeletionDelay deletionDelay;
};
