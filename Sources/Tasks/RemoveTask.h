// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"
#include "Tasks/RemoveEntries.h"
#include "Tasks/SingleServerTask.h"

#include <optional>

/// Clears slots on one server. The server gets one removal at a time, and a failed one does not
/// stop the others.
///
/// Cancel keeps back what has not been sent. The removal on the wire completes on the server all
/// the same, and the failures so far are shown.
class RemoveTask final : public SingleServerTask
{
    Q_OBJECT

public:
    RemoveTask(ApplicationModel *applicationModel, BVMainWindow *window,
               ServerConnectionService *service, const QUuid &serverUuid,
               const QList<VisualRef> &visuals);

    /// With no visuals the task never ends by itself: nothing is shown and no result comes.
    bool start() override;
    /// Also forgets what was to be removed.
    void abort() override;
    [[nodiscard]] bool hasErrors() const override;
    [[nodiscard]] QString errorMessage() const override;
    [[nodiscard]] QStringList errorDetails() const override;

private slots:
    void userCanceled();
    void visualRemoveError(const QUuid &uuid, int folderSlot, int fileSlot, const QString &error);
    void visualRemoveFinished(const QUuid &uuid, int folderSlot, int fileSlot);

private:
    void takeResult(const QUuid &uuid, int folderSlot, int fileSlot,
                    const std::optional<QString> &error);

    RemoveEntries entries;
};
