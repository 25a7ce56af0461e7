// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/LibraryIndex.h"
#include "Model/VisualRef.h"
#include "Tasks/RemoveEntries.h"
#include "Tasks/TaskBase.h"

#include <QHostAddress>
#include <QList>
#include <QUuid>

#include <optional>

class BVProgressDialog;
class TransferDialog;

/// Makes slots of a destination server equal to those of a source server in three phases that never
/// overlap: folders are renamed, visuals are removed, visuals are transferred. The last result of a
/// phase, success or failure, starts the next phase.
///
/// No media passes through this program. It sends the destination one command for each visual, all
/// at once, to fetch the file from the source. The destination reports on its notification stream.
/// The transfer phase ends when it reports that no transfer is left, not by a count of results.
/// Until it reports that, the task stays, also after a cancel.
///
/// Cancelling the renames or removals ends the task. The command on the server still completes, and
/// so do renames that wait. Cancelling the transfers sends a cancel to every connected server, and
/// the task ends when the destination reports it. The errors so far are shown.
class SyncTask final : public TaskBase
{
    Q_OBJECT

public:
    /// The addresses are those at which the two servers reach each other.
    SyncTask(const QUuid &source, const QHostAddress &sourceIp, const QUuid &destination,
             const QHostAddress &destinationIp, const QList<FolderRename> &foldersToRename,
             const QList<VisualRef> &visualsToTransfer, const QList<VisualRef> &visualsToRemove,
             ApplicationModel *applicationModel, BVMainWindow *window,
             ServerConnectionService *service);
    ~SyncTask() override;

    /// Emits `taskFinished` at once if there is nothing to do.
    bool start() override;
    /// Also drops the destination's waiting removals, in case only the source was lost.
    void abort() override;
    [[nodiscard]] bool hasErrors() const override;
    [[nodiscard]] QString errorMessage() const override;
    /// Failed removals, then failed renames, then failed transfers.
    [[nodiscard]] QStringList errorDetails() const override;
    /// The destination.
    [[nodiscard]] const QUuid &affectedServer() const override;
    /// True for the source and for the destination.
    [[nodiscard]] bool involvesServer(const QUuid &uuid) const override;

private slots:
    void userRenameCanceled();
    void userRemoveCanceled();
    void userTransferCanceled();
    void folderRenameError(const QUuid &uuid, int folderSlot, const QString &error);
    void folderRenameFinished(const QUuid &uuid, int folderSlot);
    void visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    void visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);
    void visualTransferProgress(const QUuid &serverId, int folderSlot, int fileSlot,
                                int progressPercent, Brenvoka::SyncStates progressState);
    void visualTransferFinished(const QUuid &serverId, int folderSlot, int fileSlot);
    void visualTransferError(const QUuid &serverId, int folderSlot, int fileSlot,
                             Brenvoka::SyncStates state, const QString &error, const QString &url);
    void fileTransferFinished(const QUuid &serverId);

private:
    struct RenameEntry
    {
        int folderSlot = -1;
        QString name;
        bool done = false; ///< required, though nothing reads it
        bool failed = false;
        QString error; ///< as shown
    };

    void startRenames();
    void startRemovals();
    void startTransfers();
    void end();

    void recordRenameResult(const QUuid &uuid, int folderSlot, const std::optional<QString> &error);
    void recordRemoveResult(const QUuid &uuid, int folderSlot, int fileSlot,
                            const std::optional<QString> &error);

    [[nodiscard]] QString transferLabel(int folderSlot, int fileSlot);
    [[nodiscard]] static QString transferErrorLine(const QString &destination,
                                                   const QString &source, int folderSlot,
                                                   int fileSlot, Brenvoka::SyncStates state,
                                                   const QString &error, const QString &url);

    BVProgressDialog *renameDialog = nullptr;
    BVProgressDialog *removeDialog = nullptr;
    TransferDialog *transferDialog = nullptr;
    QUuid sourceServer;
    QUuid destinationServer;
    QHostAddress sourceAddress;
    QHostAddress destinationAddress; ///< required, though nothing reads it
    QList<RenameEntry> renames;
    RemoveEntries removals;
    QList<VisualRef> transfers;
    QStringList transferErrors;
    /// For the labels. Renewed when the source's library has changed.
    std::optional<LibraryIndex> sourceIndex;
    bool aborted = false;
    /// Results that arrive afterwards start no phase. A replaced task is never deleted, so they
    /// continue to arrive.
    bool ended = false;
};
