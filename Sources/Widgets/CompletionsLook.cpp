// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/CompletionsLook.h"

#include <QAbstractItemView>
#include <QChildEvent>
#include <QCompleter>
#include <QFileDialog>

CompletionsLook::CompletionsLook(QWidget *window)
    : QObject(window)
{
    window->installEventFilter(this);
}

bool CompletionsLook::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ChildPolished) {
        // A polished child is constructed.
        QObject *const child = static_cast<QChildEvent *>(event)->child();
        auto *const dialog =
            qobject_cast<QFileDialog *>(child); // clazy:exclude=child-event-qobject-cast
        // The desktop's native file dialog has no such list.
        if (const auto *const completer = dialog ? dialog->findChild<QCompleter *>() : nullptr)
            completer->popup()->setParent(dialog, Qt::Popup);
    }
    return QObject::eventFilter(watched, event);
}
