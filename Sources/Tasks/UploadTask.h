// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Tasks/SingleServerTask.h"

/// Uploads one local file to one slot of one server. The bar shows the percentage of bytes sent.
/// When all bytes are sent, the server imports the file and Cancel is disabled.
///
/// Cancel ends the upload and shows no error. If the file cannot be opened, no result arrives: the
/// dialog stays at 0 percent until the operator cancels.
class UploadTask final : public SingleServerTask
{
    Q_OBJECT

public:
    /// `folderIndex` and `visualIndex` are slot numbers, `localFile` is a path.
    UploadTask(ApplicationModel *applicationModel, BVMainWindow *window,
               ServerConnectionService *service, const QUuid &serverUuid, int folderIndex,
               int visualIndex, const QString &localFile);

    /// Shows the dialog at once.
    bool start() override;
    void abort() override;
    [[nodiscard]] bool hasErrors() const override;
    [[nodiscard]] QString errorMessage() const override;
    /// One line if the upload failed, otherwise none.
    [[nodiscard]] QStringList errorDetails() const override;

private slots:
    void userCanceled();
    void uploadVisualProgress(const QUuid &serverId, int percent);
    void uploadVisualError(const QUuid &serverId, const QString &message);
    void uploadVisualFinished(const QUuid &serverId);

private:
    void finish();

    bool failed = false;
    QString error;
    int folderSlot;
    int fileSlot;
    QString filePath;
};
