// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/SingleServerTask.h"

#include "Dialogs/BVProgressDialog.h"
#include "Service/ServerConnectionService.h"

SingleServerTask::SingleServerTask(ApplicationModel *applicationModel, BVMainWindow *window,
                                   ServerConnectionService *service, const QUuid &serverUuid)
    : TaskBase(applicationModel, window, service)
    , server(serverUuid)
{
}

SingleServerTask::~SingleServerTask()
{
    deleteDialog(progressDialog);
    connections->disconnect(this);
}

void SingleServerTask::abort()
{
    if (progressDialog)
        progressDialog->hide();
    emit taskFinished(this);
}

const QUuid &SingleServerTask::affectedServer() const
{
    return server;
}

bool SingleServerTask::involvesServer(const QUuid &uuid) const
{
    return uuid == server;
}

void SingleServerTask::finishIfFull()
{
    if (progressDialog->isFinished())
        emit taskFinished(this);
}
