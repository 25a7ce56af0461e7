// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/VisualRef.h"
#include "Tasks/RemoveEntries.h"
#include "Tasks/TaskBase.h"

#include <QHostAddress>
#include <QList>
#include <QUuid>

#include <optional>

class BVProgressDialog;
class TransferDialog;

/// Makes slots of a destination server equal to those of a source server, in three phases that
/// never overlap: folders are renamed, visuals removed, visuals transferred. Each phase starts in
/// the slot that took the last result of the one before, whether that was good or bad.
///
/// The data never passes through this program. For each visual the destination is asked to fetch
/// the file from the source, all at once, and it reports on its notification stream. What ends the
/// transfer phase is its word that no transfer is left, not a count of results. A server that never
/// reports one leaves the operator nothing but Cancel's request.
///
/// Cancelling a rename or a removal ends the task; what is under way on the server goes on, and the
/// renames that wait there go on too. Cancelling the transfers asks every connected server to
/// cancel, and the task ends with the destination's answer. Errors found so far are shown.
class SyncTask final : public TaskBase
{
    Q_OBJECT

public:
    /// The addresses are those by which the two servers reach each other.
    SyncTask(const QUuid &source, const QHostAddress &sourceIp, const QUuid &destination,
             const QHostAddress &destinationIp, const QList<FolderRename> &foldersToRename,
             const QList<VisualRef> &visualsToTransfer, const QList<VisualRef> &visualsToRemove,
             ApplicationModel *applicationModel, BVMainWindow *window,
             ServerConnectionService *service);
    ~SyncTask() override;

    /// With nothing to do `taskFinished` is emitted at once.
    bool start() override;
    /// When only the source was lost, the destination's removals that wait are dropped as well.
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
        bool done = false;
        bool failed = false;
        QString error; ///< as shown
    };

    void startRenames();
    void startRemovals();
    void startTransfers();

    void takeRenameResult(const QUuid &uuid, int folderSlot, const std::optional<QString> &error);
    void takeRemoveResult(const QUuid &uuid, int folderSlot, int fileSlot,
                          const std::optional<QString> &error);

    [[nodiscard]] QString transferLabel(int folderSlot, int fileSlot) const;
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
    bool aborted = false;
    /// Cancelled or aborted: results that still come before the deletion start no further phase.
    bool ended = false;
};
