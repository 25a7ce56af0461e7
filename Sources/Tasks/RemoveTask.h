// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"
#include "Tasks/RemoveEntries.h"
#include "Tasks/SingleServerTask.h"

#include <optional>

/// Removes visuals from one server, one request at a time. A failed removal does not stop the
/// others.
///
/// Cancel drops the removals that have not been sent. The removal on the wire still completes on
/// the server, and the failures so far are shown.
class RemoveTask final : public SingleServerTask
{
    Q_OBJECT

public:
    RemoveTask(ApplicationModel *applicationModel, BVMainWindow *window,
               ServerConnectionService *service, const QUuid &serverUuid,
               const QList<VisualRef> &visuals);

    /// Without visuals the task does not end: nothing is shown and no result arrives.
    bool start() override;
    /// Also clears the list of visuals.
    void abort() override;
    [[nodiscard]] bool hasErrors() const override;
    [[nodiscard]] QString errorMessage() const override;
    [[nodiscard]] QStringList errorDetails() const override;

private slots:
    void userCanceled();
    void visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    void visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);

private:
    void recordResult(const QUuid &uuid, int folderSlot, int fileSlot,
                      const std::optional<QString> &error);

    RemoveEntries entries;
};
