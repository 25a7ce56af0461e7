// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/TaskBase.h"

TaskBase::TaskBase(ApplicationModel *applicationModel, BVMainWindow *window,
                   ServerConnectionService *service)
    : model(applicationModel)
    , mainWindow(window)
    , connections(service)
{
}
