// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/UIController.h"

#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Model/LibraryComparison.h"
#include "Tasks/MoveTask.h"
#include "Tasks/RemoveTask.h"
#include "Tasks/SyncTask.h"
#include "Tasks/UploadTask.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"

#include <QFileInfo>

void UIController::transferFromServerA()
{
    if (!bankA->currentServerUuid().isNull())
        startTransfer(bankA, bankB);
}

void UIController::transferFromServerB()
{
    if (!bankB->currentServerUuid().isNull())
        startTransfer(bankB, bankA);
}

void UIController::startTransfer(BVServerBank *source, BVServerBank *destination)
{
    const Server &sourceRecord = source->currentServer();
    const Server &destinationRecord = destination->currentServer();
    const SubnetMatch match = sourceRecord.findCommonSubnet(destinationRecord);
    if (!match.found) {
        ZOR_LOG(info, "Server don't share a subnet");
        showErrorMessage(tr("The servers don't share a subnet"));
        return;
    }
    // A bank that is still loading may not have the selected rows of the other bank yet.
    const BVServerBank *const selected = source->selectedRowCount() < 1 ? destination : source;
    const QList<VisualRef> candidates =
        selected->selectedRowCount() < 1 ? source->allVisuals()
                                         : source->visualsOfRows(selected->selectedRows(), false);
    const LibraryComparison::SyncPlan plan =
        LibraryComparison::planSync(sourceRecord, destinationRecord, candidates);

    // The records may be removed while the operator is asked.
    const QUuid sourceUuid = sourceRecord.uuid;
    const QUuid destinationUuid = destinationRecord.uuid;
    if (!dialogs.confirmSync(plan, sourceRecord.name, destinationRecord.name))
        return;
    startTask(new SyncTask(sourceUuid, match.addresses.first, destinationUuid,
                           match.addresses.second, plan.renames, plan.transfers, plan.removals,
                           model, mainWindow, &connections));
}

void UIController::handleRemoveVisuals(ServerDeck serverDeck)
{
    if (model->servers.isEmpty())
        return;
    // Required: asked before it is known whether there is anything to remove.
    if (!dialogs.confirmRemoval())
        return;
    const BVServerBank *const bank = banks.of(serverDeck);
    const QList<VisualRef> visuals = bank->selectedVisuals(true);
    if (visuals.isEmpty())
        return;
    startTask(new RemoveTask(model, mainWindow, &connections, bank->currentServerUuid(), visuals));
}

void UIController::handleMoveVisual(int from, int to, ServerDeck serverDeck)
{
    if (model->servers.isEmpty())
        return;
    // Copied: the bank may show something else when the operator has answered.
    const QUuid uuid = banks.of(serverDeck)->currentServerUuid();
    const int folder = model->selectedFolder;
    if (!dialogs.confirmMove())
        return;
    startTask(new MoveTask(model, mainWindow, &connections, uuid, folder, from, to));
}

void UIController::uploadFile(QUuid uuid, int folderIndex, int visualIndex)
{
    const BVServerBank *const bank = banks.showing(uuid);
    if (!bank)
        return;
    const QList<VisualRef> visuals = bank->selectedVisuals(false);
    if (visuals.size() != 1)
        return;
    const auto [folder, slot] = visuals.first();
    if (!LibraryComparison::slotEmpty(bank->currentServer(), folder, slot) &&
        !dialogs.confirmOverwrite())
        return;
    const QString path = dialogs.askForUpload(lastUploadDirectory);
    if (path.isEmpty())
        return;
    lastUploadDirectory = QFileInfo(path).absolutePath();
    startTask(
        new UploadTask(model, mainWindow, &connections, uuid, folderIndex, visualIndex, path));
}

void UIController::startTask(TaskBase *task)
{
    if (currentTask) // required: a second task may start
        currentTask->setReplaced();
    currentTask = task;
    connect(task, &TaskBase::taskFinished, this, &UIController::onTaskFinished,
            Qt::QueuedConnection);
    task->start();
}

void UIController::onTaskFinished(TaskBase *task)
{
    if (!task || task != currentTask) {
        ZOR_LOG(error, "Finish notification received from invalid task");
        return;
    }
    const bool hasErrors = task->hasErrors();
    const QString message = task->errorMessage();
    const QStringList details = task->errorDetails();
    const QUuid affected = task->affectedServer();
    disconnect(task, &TaskBase::taskFinished, this, &UIController::onTaskFinished);
    delete task;
    currentTask = nullptr;

    requestLibrary(connectedServer(affected));
    if (hasErrors)
        showErrorMessageWithDetail(message, details);
}

bool UIController::isShowingTwoServers() const
{
    const QUuid uuidA = bankA->currentServerUuid();
    const QUuid uuidB = bankB->currentServerUuid();
    return !uuidA.isNull() && !uuidB.isNull() && uuidA != uuidB;
}

bool UIController::isTransferPossible() const
{
    // Required: bank A's server is tested against itself. Whether the two servers can reach each
    // other is tested at the click.
    const Server &server = bankA->currentServer();
    return isShowingTwoServers() && server.findCommonSubnet(server).found;
}

void UIController::updateTransferButtons()
{
    if (isShowingTwoServers() && !isTransferPossible()) {
        ZOR_LOG(info, "Server don't share a subnet");
        showErrorMessage(tr("The servers don't share a subnet"));
    }
    // Tested again, because the servers may have changed while the message was open.
    mainWindow->setTransferEnabled(isTransferPossible());
}
