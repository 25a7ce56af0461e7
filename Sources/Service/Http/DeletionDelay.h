// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QPointer>

class QEvent;
class QObject;

/// Keeps an object alive, and those that it lets go, while one of its functions is running.
///
/// `deleteLater` alone does not do that for an object that emits signals: a receiver may run an
/// event loop of its own, as a message box does, and a deletion that is asked for inside that loop
/// is carried out inside it, below the functions that are still to return. The owner holds a Scope
/// in each function that emits and asks `postpones` in its `event`.
///
/// A plain `delete` of a running owner is not caught.
class DeletionDelay final
{
public:
    /// A function of the owner that is running.
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

    /// Whether the event asks for the owner's deletion while a function is running. It is then
    /// carried out after the last of them returned, and the owner drops the event.
    [[nodiscard]] bool postpones(const QEvent *event);
    /// Calls `deleteLater` on the object when no function is running.
    void release(QObject *object);

private:
    void deleteOwner();

    QObject *owner;
    QList<QPointer<QObject>> released;
    int running = 0;
    bool ownerDue = false;
};
