// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QPointer>

class QEvent;
class QObject;

/// Keeps an object, and the objects that it releases, alive while one of its functions is running.
///
/// `deleteLater` is not enough for an object that emits signals. A receiver may run an event loop,
/// for example in a message box. A deletion that is requested inside that loop also happens inside
/// it, before the object's running functions return. So the owner creates a Scope in each function
/// that emits, and calls `postpones` in its `event`.
///
/// Does not protect against a plain `delete` of a running owner.
class DeletionDelay final
{
public:
    /// Exists while a function of the owner is running.
    class Scope final
    {
    public:
        explicit Scope(DeletionDelay &owned);
        ~Scope();
        Q_DISABLE_COPY_MOVE(Scope)

    private:
        DeletionDelay &delay;
    };

    /// `object` is the owner, which has this as a member.
    explicit DeletionDelay(QObject *object);

    /// Whether the event requests the owner's deletion while a function is running. The owner then
    /// ignores the event, and is deleted after the last of these functions has returned.
    [[nodiscard]] bool postpones(const QEvent *event);
    /// Calls `deleteLater` on the object as soon as no function is running.
    void release(QObject *object);

private:
    void deleteOwner();

    QObject *owner;
    QList<QPointer<QObject>> released;
    int running = 0;
    bool ownerDue = false;
};
