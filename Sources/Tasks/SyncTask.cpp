// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/SyncTask.h"

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/TransferDialog.h"
#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Model/Slots.h"
#include "Service/ServerConnectionService.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"

#include <algorithm>

SyncTask::SyncTask(const QUuid &source, const QHostAddress &sourceIp, const QUuid &destination,
                   const QHostAddress &destinationIp, const QList<FolderRename> &foldersToRename,
                   const QList<VisualRef> &visualsToTransfer,
                   const QList<VisualRef> &visualsToRemove, ApplicationModel *applicationModel,
                   BVMainWindow *window, ServerConnectionService *service)
    : TaskBase(applicationModel, window, service)
    , sourceServer(source)
    , destinationServer(destination)
    , sourceAddress(sourceIp)
    , destinationAddress(destinationIp)
    , removals(visualsToRemove)
    , transfers(visualsToTransfer)
{
    for (const FolderRename &rename : foldersToRename)
        renames.append({rename.folderSlot, rename.name, false, false, {}});
}

SyncTask::~SyncTask()
{
    deleteDialog(renameDialog);
    deleteDialog(removeDialog);
    deleteDialog(transferDialog);
    connections->disconnect(this);
}

bool SyncTask::start()
{
    if (renames.isEmpty())
        startRemovals();
    else
        startRenames();
    return true;
}

void SyncTask::abort()
{
    aborted = true;
    ended = true;
    // Required: the dialog of the renames stays until the task is deleted.
    if (removeDialog)
        removeDialog->hide();
    if (transferDialog)
        transferDialog->hide();
    if (connections->hasHandler(destinationServer))
        connections->cancelRemoves(destinationServer);
    emit taskFinished(this);
}

void SyncTask::startRenames()
{
    renameDialog = createDialog(tr("Renaming folders"), tr("Renaming..."), true);
    connect(renameDialog, &QDialog::rejected, this, &SyncTask::userRenameCanceled);
    connect(connections, &ServerConnectionService::folderRenameError, this,
            &SyncTask::folderRenameError);
    connect(connections, &ServerConnectionService::folderRenameFinished, this,
            &SyncTask::folderRenameFinished);
    renameDialog->addSteps(static_cast<int>(renames.size()), true);
    QList<FolderRename> request;
    for (const RenameEntry &entry : std::as_const(renames))
        request.append({entry.folderSlot, entry.name});
    connections->requestRename(destinationServer, request);
}

// An unexpected result after the last step of a phase starts the next phase again, so connections
// are made only once. A replaced task starts nothing again: it also receives the results of later
// operations.
void SyncTask::startRemovals()
{
    if (replaced && removeDialog)
        return;
    if (removals.isEmpty() || ended) {
        startTransfers();
        return;
    }
    deleteDialog(removeDialog);
    removeDialog = createDialog(tr("Removing visuals"), tr("Removing..."), true);
    connect(removeDialog, &QDialog::rejected, this, &SyncTask::userRemoveCanceled);
    connect(connections, &ServerConnectionService::visualRemoveError, this,
            &SyncTask::visualRemoveError, Qt::UniqueConnection);
    connect(connections, &ServerConnectionService::visualRemoveFinished, this,
            &SyncTask::visualRemoveFinished, Qt::UniqueConnection);
    removeDialog->addSteps(static_cast<int>(removals.size()), true);
    connections->requestRemove(destinationServer, removals.visuals());
}

void SyncTask::startTransfers()
{
    if (replaced && transferDialog)
        return;
    if (transfers.isEmpty() || ended) {
        end();
        return;
    }
    deleteDialog(transferDialog);
    transferDialog = new TransferDialog(mainWindow);
    transferDialog->setModal(true);
    connect(transferDialog, &TransferDialog::cancelSync, this, &SyncTask::userTransferCanceled);
    connect(connections, &ServerConnectionService::syncProgressUpdate, this,
            &SyncTask::visualTransferProgress, Qt::UniqueConnection);
    connect(connections, &ServerConnectionService::syncFinished, this,
            &SyncTask::visualTransferFinished, Qt::UniqueConnection);
    connect(connections, &ServerConnectionService::syncError, this, &SyncTask::visualTransferError,
            Qt::UniqueConnection);
    connect(connections, &ServerConnectionService::syncOperationFinished, this,
            &SyncTask::fileTransferFinished, Qt::UniqueConnection);
    transferDialog->makeRows(static_cast<int>(transfers.size()));
    connections->requestSync(sourceAddress, destinationServer, transfers);
    transferDialog->removeEmptyRows();
    transferDialog->show();
}

/// Like the cancel of removals, as required: renames that wait are still sent.
void SyncTask::userRenameCanceled()
{
    userRemoveCanceled();
}

void SyncTask::userRemoveCanceled()
{
    ended = true;
    connections->cancelRemoves(destinationServer);
    emit taskFinished(this);
}

void SyncTask::userTransferCanceled()
{
    connections->cancelAllSyncs();
}

void SyncTask::folderRenameError(const QUuid &uuid, int folderSlot, const QString &error)
{
    recordRenameResult(uuid, folderSlot, error);
}

void SyncTask::folderRenameFinished(const QUuid &uuid, int folderSlot)
{
    recordRenameResult(uuid, folderSlot, std::nullopt);
}

void SyncTask::visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot,
                                 const QString &error)
{
    recordRemoveResult(uuid, folderSlot, fileSlot, error);
}

void SyncTask::visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot)
{
    recordRemoveResult(uuid, folderSlot, fileSlot, std::nullopt);
}

void SyncTask::recordRenameResult(const QUuid &uuid, int folderSlot,
                                  const std::optional<QString> &error)
{
    if (!isResultOf(destinationServer, uuid))
        return;
    const auto entry = std::ranges::find(renames, folderSlot, &RenameEntry::folderSlot);
    if (entry != renames.end()) {
        entry->done = true;
        if (error) {
            entry->failed = true;
            entry->error = shownText(*error);
        }
        renameDialog->advance();
    }
    if (renameDialog->isFinished())
        startRemovals();
}

void SyncTask::recordRemoveResult(const QUuid &uuid, int folderSlot, int fileSlot,
                                  const std::optional<QString> &error)
{
    if (!isResultOf(destinationServer, uuid))
        return;
    if (removals.record(folderSlot, fileSlot, error))
        removeDialog->advance();
    if (removeDialog->isFinished())
        startTransfers();
}

// Required: the results of transfers count, whichever server sends them.
void SyncTask::visualTransferProgress(const QUuid & /*serverId*/, int folderSlot, int fileSlot,
                                      int progressPercent, Brenvoka::SyncStates progressState)
{
    if (!transferDialog)
        return;
    if (progressState == Brenvoka::SyncQueued) {
        const QString label = transferLabel(folderSlot, fileSlot);
        transferDialog->addTransfer(folderSlot, fileSlot, label);
    } else {
        transferDialog->updateTransfer(folderSlot, fileSlot, progressPercent, progressState);
    }
}

void SyncTask::visualTransferFinished(const QUuid & /*serverId*/, int folderSlot, int fileSlot)
{
    if (transferDialog)
        transferDialog->finishTransfer(folderSlot, fileSlot);
}

void SyncTask::visualTransferError(const QUuid &serverId, int folderSlot, int fileSlot,
                                   Brenvoka::SyncStates state, const QString &error,
                                   const QString &url)
{
    if (!transferDialog)
        return;
    transferDialog->updateTransfer(folderSlot, fileSlot, 100, Brenvoka::SyncFailed);
    const Server &server = model->connectedServer(serverId);
    if (server.uuid.isNull())
        return;
    const QString source = model->connectedServer(sourceServer).name;
    ZOR_LOG(error, "%s",
            qUtf8Printable(
                transferErrorLine(server.name, source, folderSlot, fileSlot, state, error, url)));
    transferErrors.append(transferErrorLine(shownName(server.name), shownName(source), folderSlot,
                                            fileSlot, state, shownText(error), shownText(url)));
}

void SyncTask::fileTransferFinished(const QUuid & /*serverId*/)
{
    if (!transferDialog)
        return;
    transferDialog->finished = true;
    transferDialog->hide();
    end();
}

void SyncTask::end()
{
    ended = true;
    emit taskFinished(this);
}

bool SyncTask::hasErrors() const
{
    if (aborted)
        return false;
    if (removals.failedCount() > 0 || std::ranges::any_of(renames, &RenameEntry::failed))
        return true;
    return transferDialog && std::ranges::any_of(transferDialog->rows, [](const auto &row) {
               return row.second.state == Brenvoka::SyncFailed;
           });
}

QString SyncTask::errorMessage() const
{
    return tr("Folder synchronization completed with errors");
}

QStringList SyncTask::errorDetails() const
{
    const QString server = serverName(destinationServer);
    QStringList lines = removals.failureLines(server);
    for (const RenameEntry &entry : renames) {
        if (entry.failed)
            lines.append(tr("Rename folder index %1 to %2 on server \"%3\" failed: %4.")
                             .arg(Slots::threeDigits(entry.folderSlot), shownName(entry.name),
                                  server, entry.error));
    }
    return lines + transferErrors;
}

const QUuid &SyncTask::affectedServer() const
{
    return destinationServer;
}

bool SyncTask::involvesServer(const QUuid &uuid) const
{
    return uuid == sourceServer || uuid == destinationServer;
}

QString SyncTask::transferLabel(int folderSlot, int fileSlot)
{
    const QList<MediaFolder> &folders = model->connectedServer(sourceServer).folders;
    if (!sourceIndex || !sourceIndex->isOf(folders))
        sourceIndex.emplace(folders);
    const MediaFolder *const folder = sourceIndex->folder(folderSlot);
    const Visual *const visual = sourceIndex->visual({folderSlot, fileSlot});
    return tr("%1 - %2 ")
        .arg(folder ? shownName(folder->name) : QString(),
             visual ? shownName(visual->name) : QString());
}

QString SyncTask::transferErrorLine(const QString &destination, const QString &source,
                                    int folderSlot, int fileSlot, Brenvoka::SyncStates state,
                                    const QString &error, const QString &url)
{
    const QString folder = Slots::threeDigits(folderSlot);
    const QString file = Slots::threeDigits(fileSlot);
    switch (state) {
    case Brenvoka::SyncQueued:
        return tr("Visual sync from %2 failed while queued on server \"%1\": %3.")
            .arg(destination, source, error);
    case Brenvoka::SyncTransferring:
        // Required: both markers are the first one, so the line has the name twice and no URL.
        return tr("Server %1 failed to download URL \"%1\".").arg(destination);
    case Brenvoka::SyncImporting:
        return tr("Visual sync from \"%1\" on server \"%2\" in folder %3 at index %4 failed: "
                  "Import failure.")
            .arg(source, destination, folder, file);
    case Brenvoka::SyncFailed:
        return tr("Visual sync from \"%1\" on server \"%2\" in folder %3 at index %4 failed: %5.")
            .arg(source, destination, folder, file, error);
    default: // required as spelt
        return tr("Unexpected failure message for sync op on sever \"%1\" from \"%2\".")
            .arg(destination, url);
    }
}
