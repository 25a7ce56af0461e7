// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveTask.h"

#include "Dialogs/BVProgressDialog.h"
#include "Service/ServerConnectionService.h"

RemoveTask::RemoveTask(ApplicationModel *applicationModel, BVMainWindow *window,
                       ServerConnectionService *service, const QUuid &serverUuid,
                       const QList<VisualRef> &visuals)
    : SingleServerTask(applicationModel, window, service, serverUuid)
    , entries(visuals)
{
}

bool RemoveTask::start()
{
    progressDialog = createDialog(tr("Removing visuals"), tr("Removing..."), true);
    connect(progressDialog, &QDialog::rejected, this, &RemoveTask::userCanceled);
    connect(connections, &ServerConnectionService::visualRemoveError, this,
            &RemoveTask::visualRemoveError);
    connect(connections, &ServerConnectionService::visualRemoveFinished, this,
            &RemoveTask::visualRemoveFinished);
    progressDialog->addSteps(static_cast<int>(entries.size()), true);
    connections->requestRemove(server, entries.visuals());
    return true;
}

void RemoveTask::abort()
{
    entries.clear();
    SingleServerTask::abort();
}

void RemoveTask::userCanceled()
{
    connections->cancelRemoves(server);
    emit taskFinished(this);
}

void RemoveTask::visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot,
                                   const QString &error)
{
    recordResult(uuid, folderSlot, fileSlot, error);
}

void RemoveTask::visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot)
{
    recordResult(uuid, folderSlot, fileSlot, std::nullopt);
}

void RemoveTask::recordResult(const QUuid &uuid, int folderSlot, int fileSlot,
                              const std::optional<QString> &error)
{
    if (!isResultOf(server, uuid))
        return;
    if (entries.record(folderSlot, fileSlot, error))
        progressDialog->advance();
    finishIfFull();
}

bool RemoveTask::hasErrors() const
{
    return entries.failedCount() > 0;
}

QString RemoveTask::errorMessage() const
{
    return tr("Failed to remove %1 visuals from a total of %2.")
        .arg(QString::number(entries.failedCount()), QString::number(entries.size()));
}

QStringList RemoveTask::errorDetails() const
{
    return entries.failureLines(serverName(server));
}
