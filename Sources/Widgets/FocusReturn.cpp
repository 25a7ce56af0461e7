// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/FocusReturn.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>

FocusReturn::FocusReturn(QWidget *topLevel, QWidget *first)
    : QObject(topLevel)
    , window(topLevel)
{
    hold(first);
    window->setFocus();
    connect(qApp, &QApplication::focusChanged, this, &FocusReturn::follow);
}

void FocusReturn::follow(const QWidget *former, QWidget *now)
{
    if (!now || now == window || now->window() != window)
        return;
    // Qt moves the focus while it disables the widget. Later changes come from the operator.
    const bool isMovedByQt = holder && former == holder && !holder->isEnabled();
    if (!isMovedByQt)
        hold(now);
}

void FocusReturn::hold(QWidget *widget)
{
    if (holder)
        holder->removeEventFilter(this);
    holder = widget;
    holder->installEventFilter(this);
}

bool FocusReturn::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::EnabledChange)
        (holder->isEnabled() ? holder.data() : window)->setFocus();
    return QObject::eventFilter(watched, event);
}
