// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QStringList>

class ApplicationModel;
class BVMainWindow;
class BVProgressDialog;
class QDialog;
class QUuid;
class ServerConnectionService;

/// A long-running operation on a server.
///
/// UIController constructs a task, stores it, connects `taskFinished` as a queued connection and
/// calls `start`. A task sends requests only through ServerConnectionService. It shows no error
/// dialog but collects the errors. After `taskFinished` the controller calls `hasErrors`,
/// `errorMessage`, `errorDetails` and `affectedServer`, in this order, and deletes the task. The
/// destructor undoes `start`. Open requests continue on the server.
class TaskBase : public QObject
{
    Q_OBJECT

public:
    /// None of the three is owned; all outlive the task. `window` is the parent of the dialogs.
    TaskBase(ApplicationModel *applicationModel, BVMainWindow *window,
             ServerConnectionService *service);

    /// Starts the work. Always returns true.
    virtual bool start() = 0;
    /// Stops because a server was lost: drops the errors and emits `taskFinished`.
    virtual void abort() = 0;
    /// Another task is stored in its place: the controller ignores the end of this one and never
    /// deletes it. It continues, but results of later operations start nothing again.
    void setReplaced() { replaced = true; }
    /// Whether the error dialog must be shown.
    [[nodiscard]] virtual bool hasErrors() const = 0;
    /// The headline of the error dialog.
    [[nodiscard]] virtual QString errorMessage() const = 0;
    /// The details of the error dialog, one line each.
    [[nodiscard]] virtual QStringList errorDetails() const = 0;
    /// The server whose library is downloaded after the task.
    [[nodiscard]] virtual const QUuid &affectedServer() const = 0;
    /// Whether a change of this server affects the task.
    [[nodiscard]] virtual bool involvesServer(const QUuid &uuid) const = 0;

signals:
    /// Every task ends with it. May be emitted again; the receiver ignores all but the first.
    void taskFinished(TaskBase *task);

protected:
    /// Whether a result of `uuid` belongs to `server`. Logs it if it does not.
    [[nodiscard]] static bool isResultOf(const QUuid &server, const QUuid &uuid);
    /// The name of a connected server as shown, otherwise an empty text.
    [[nodiscard]] QString serverName(const QUuid &uuid) const;

    /// A modal dialog that is not shown yet, for `start`. The task owns it.
    [[nodiscard]] BVProgressDialog *createDialog(const QString &label, const QString &title,
                                                 bool autoClose) const;
    /// Disconnects the dialog from the task and deletes it, if there is one.
    void deleteDialog(QDialog *dialog);

    bool replaced = false;
    ApplicationModel *model;
    BVMainWindow *mainWindow;
    ServerConnectionService *connections;
};
