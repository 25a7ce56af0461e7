// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/TaskBase.h"

#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Text/ShownText.h"

TaskBase::TaskBase(ApplicationModel *applicationModel, BVMainWindow *window,
                   ServerConnectionService *service)
    : model(applicationModel)
    , mainWindow(window)
    , connections(service)
{
}

bool TaskBase::isResultOf(const QUuid &server, const QUuid &uuid)
{
    if (uuid == server)
        return true;
    ZOR_LOG(info, "Invalid server id in notification %s", qPrintable(uuid.toString()));
    return false;
}

QString TaskBase::serverName(const QUuid &uuid) const
{
    return shownName(model->connectedServer(uuid).name);
}
