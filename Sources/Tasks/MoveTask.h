// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Tasks/SingleServerTask.h"

/// Moves one visual to another slot of its folder, with one request.
///
/// A move cannot be stopped: Cancel ends the task, but the server still completes the move.
class MoveTask final : public SingleServerTask
{
    Q_OBJECT

public:
    MoveTask(ApplicationModel *applicationModel, BVMainWindow *window,
             ServerConnectionService *service, const QUuid &serverUuid, int folderSlot,
             int fromSlot, int toSlot);

    bool start() override;
    void abort() override;
    [[nodiscard]] bool hasErrors() const override;
    [[nodiscard]] QString errorMessage() const override;
    /// One line if the move failed, otherwise none.
    [[nodiscard]] QStringList errorDetails() const override;

private slots:
    void userCanceled();
    void visualMoveError(const QUuid &uuid, const QString &message);
    void visualMoveFinished(const QUuid &uuid);

private:
    void advance();

    bool failed = false;
    QString error;
    int folder;
    int from;
    int to;
};
