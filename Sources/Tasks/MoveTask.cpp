// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/MoveTask.h"

#include "Dialogs/BVProgressDialog.h"
#include "Model/Slots.h"
#include "Service/ServerConnectionService.h"
#include "Text/ShownText.h"

MoveTask::MoveTask(ApplicationModel *applicationModel, BVMainWindow *window,
                   ServerConnectionService *service, const QUuid &serverUuid, int folderSlot,
                   int fromSlot, int toSlot)
    : SingleServerTask(applicationModel, window, service, serverUuid)
    , folder(folderSlot)
    , from(fromSlot)
    , to(toSlot)
{
}

bool MoveTask::start()
{
    progressDialog = createDialog(tr("Moving visuals"), tr("Moving..."), true);
    progressDialog->addSteps(1, true);
    connect(progressDialog, &QDialog::rejected, this, &MoveTask::userCanceled);
    connect(connections, &ServerConnectionService::movedFileError, this,
            &MoveTask::visualMoveError);
    connect(connections, &ServerConnectionService::movedFileFinished, this,
            &MoveTask::visualMoveFinished);
    connections->requestMove(server, folder, from, to);
    return true;
}

void MoveTask::abort()
{
    failed = false;
    SingleServerTask::abort();
}

void MoveTask::userCanceled()
{
    emit taskFinished(this);
}

void MoveTask::visualMoveError(const QUuid &uuid, const QString &message)
{
    if (!isResultOf(server, uuid))
        return;
    failed = true;
    error = shownText(message);
    advance();
}

void MoveTask::visualMoveFinished(const QUuid &uuid)
{
    if (isResultOf(server, uuid))
        advance();
}

void MoveTask::advance()
{
    progressDialog->advance();
    finishIfFull();
}

bool MoveTask::hasErrors() const
{
    return failed;
}

QString MoveTask::errorMessage() const
{
    return tr("Visual could not be moved");
}

QStringList MoveTask::errorDetails() const
{
    if (!failed)
        return {};
    return {tr("Move from %1 to %2 in folder %3 on server \"%4\" failed: %5.")
                .arg(Slots::threeDigits(from), Slots::threeDigits(to), Slots::threeDigits(folder),
                     serverName(server), error)};
}
