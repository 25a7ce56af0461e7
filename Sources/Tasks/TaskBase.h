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
/// calls `start`. A task talks to servers through ServerConnectionService alone and shows no error
/// box by itself: what went wrong is collected, and asked for after `taskFinished`, in the order
/// `hasErrors`, `errorMessage`, `errorDetails`, `affectedServer`. Then the controller deletes it,
/// and the destructor undoes what `start` did. Requests still open on a server go on.
class TaskBase : public QObject
{
    Q_OBJECT

public:
    /// None of the three is owned; all outlive the task. `window` becomes the parent of dialogs.
    TaskBase(ApplicationModel *applicationModel, BVMainWindow *window,
             ServerConnectionService *service);

    /// Begins the work. Always true.
    virtual bool start() = 0;
    /// Stops because a server went away: no errors are left to show, and `taskFinished` follows.
    virtual void abort() = 0;
    /// Whether the error dialog is to be shown.
    [[nodiscard]] virtual bool hasErrors() const = 0;
    /// The error dialog's headline.
    [[nodiscard]] virtual QString errorMessage() const = 0;
    /// The error dialog's detail lines.
    [[nodiscard]] virtual QStringList errorDetails() const = 0;
    /// The server whose library is fetched after the task.
    [[nodiscard]] virtual const QUuid &affectedServer() const = 0;
    /// Whether a change of that server concerns the task.
    [[nodiscard]] virtual bool involvesServer(const QUuid &uuid) const = 0;

signals:
    /// The only way a task ends. May be emitted twice; the receiver acts on the first.
    void taskFinished(TaskBase *task);

protected:
    /// Whether a result that names `uuid` is one of `server`. Logs it if it is not.
    [[nodiscard]] static bool isResultOf(const QUuid &server, const QUuid &uuid);
    /// The name of a connected server as shown, else an empty text.
    [[nodiscard]] QString serverName(const QUuid &uuid) const;

    /// A modal dialog that is not shown yet, for `start`. The task owns it.
    [[nodiscard]] BVProgressDialog *createDialog(const QString &label, const QString &title,
                                                 bool autoClose) const;
    /// Deletes a dialog, if there is one; nothing that it emits reaches the task any more.
    void deleteDialog(QDialog *dialog);

    ApplicationModel *model;
    BVMainWindow *mainWindow;
    ServerConnectionService *connections;
};
