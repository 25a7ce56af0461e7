// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/TaskBase.h"

#include "Dialogs/BVProgressDialog.h"
#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"

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

BVProgressDialog *TaskBase::createDialog(const QString &label, const QString &title,
                                         bool autoClose) const
{
    auto *dialog = new BVProgressDialog(label, autoClose, mainWindow);
    dialog->setWindowTitle(title);
    dialog->setModal(true);
    return dialog;
}

void TaskBase::deleteDialog(QDialog *dialog)
{
    if (!dialog)
        return;
    dialog->disconnect(this);
    delete dialog;
}
