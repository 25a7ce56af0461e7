// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Tasks/TaskBase.h"

#include <QUuid>

class BVProgressDialog;

/// A task on one server, with one progress dialog.
class SingleServerTask : public TaskBase
{
    Q_OBJECT

public:
    SingleServerTask(ApplicationModel *applicationModel, BVMainWindow *window,
                     ServerConnectionService *service, const QUuid &serverUuid);
    ~SingleServerTask() override;

    void abort() override;
    [[nodiscard]] const QUuid &affectedServer() const final;
    [[nodiscard]] bool involvesServer(const QUuid &uuid) const final;

protected:
    /// Ends the task if the bar is full or the dialog is closed.
    void finishIfFull();

    BVProgressDialog *progressDialog = nullptr; ///< null until `start`; owned
    const QUuid server;
};
