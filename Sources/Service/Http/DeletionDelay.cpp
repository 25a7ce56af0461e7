// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/DeletionDelay.h"

#include <QEvent>
#include <QMetaObject>
#include <QObject>

#include <utility>

DeletionDelay::Scope::Scope(DeletionDelay &owned)
    : delay(owned)
{
    ++delay.running;
}

DeletionDelay::Scope::~Scope()
{
    if (--delay.running > 0)
        return;
    for (const QPointer<QObject> &object : std::exchange(delay.released, {})) {
        if (object)
            object->deleteLater();
    }
    if (std::exchange(delay.ownerDue, false))
        delay.deleteOwner();
}

DeletionDelay::DeletionDelay(QObject *object)
    : owner(object)
{
}

bool DeletionDelay::postpones(const QEvent *event)
{
    if (event->type() != QEvent::DeferredDelete || running == 0)
        return false;
    ownerDue = true;
    return true;
}

void DeletionDelay::release(QObject *object)
{
    const Scope scope(*this);
    released.append(object);
}

// Not deleteLater: newer versions of Qt accept it only once for each object.
void DeletionDelay::deleteOwner()
{
    const auto tryAgain = [this] {
        if (running > 0)
            ownerDue = true;
        else
            delete owner;
    };
    QMetaObject::invokeMethod(owner, tryAgain, Qt::QueuedConnection);
}
