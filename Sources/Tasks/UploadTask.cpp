// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/UploadTask.h"

#include "Dialogs/BVProgressDialog.h"
#include "Model/Slots.h"
#include "Service/ServerConnectionService.h"
#include "Text/ShownText.h"

UploadTask::UploadTask(ApplicationModel *applicationModel, BVMainWindow *window,
                       ServerConnectionService *service, const QUuid &serverUuid, int folderIndex,
                       int visualIndex, const QString &localFile)
    : SingleServerTask(applicationModel, window, service, serverUuid)
    , folderSlot(folderIndex)
    , fileSlot(visualIndex)
    , filePath(localFile)
{
}

bool UploadTask::start()
{
    progressDialog = createDialog(tr("Uploading visual"), tr("Uploading..."), false);
    connect(progressDialog, &QDialog::rejected, this, &UploadTask::userCanceled);
    connect(connections, &ServerConnectionService::uploadedFileProgress, this,
            &UploadTask::uploadVisualProgress);
    connect(connections, &ServerConnectionService::uploadedFileError, this,
            &UploadTask::uploadVisualError);
    connect(connections, &ServerConnectionService::uploadedFileFinished, this,
            &UploadTask::uploadVisualFinished);
    progressDialog->addSteps(100, false);
    connections->requestUpload(server, folderSlot, fileSlot, filePath);
    return true;
}

void UploadTask::abort()
{
    failed = false;
    SingleServerTask::abort();
}

void UploadTask::userCanceled()
{
    connections->cancelUpload(server);
    failed = false;
    emit taskFinished(this);
}

void UploadTask::uploadVisualProgress(const QUuid &serverId, int percent)
{
    if (!isResultOf(server, serverId))
        return;
    progressDialog->setProgress(percent);
    if (progressDialog->isFinished()) {
        progressDialog->setWindowTitle(tr("Importing..."));
        progressDialog->setText(tr("Importing visual"));
    }
}

void UploadTask::uploadVisualError(const QUuid &serverId, const QString &message)
{
    if (!isResultOf(server, serverId))
        return;
    failed = true;
    error = shownText(message);
    finish();
}

void UploadTask::uploadVisualFinished(const QUuid &serverId)
{
    if (isResultOf(server, serverId))
        finish();
}

void UploadTask::finish()
{
    progressDialog->accept();
    emit taskFinished(this);
}

bool UploadTask::hasErrors() const
{
    return failed;
}

QString UploadTask::errorMessage() const
{
    return tr("Visual could not be uploaded");
}

QStringList UploadTask::errorDetails() const
{
    if (!failed)
        return {};
    return {tr("Upload for visual %1 in folder %2 to server \"%3\" failed: %4.")
                .arg(Slots::threeDigits(fileSlot), Slots::threeDigits(folderSlot),
                     serverName(server), error)};
}
