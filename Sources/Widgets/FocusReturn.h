// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

/// Keeps the keyboard's place in a window whose widgets are disabled for a while, as a bank is
/// while its thumbnails are loaded.
///
/// Qt takes the focus from a widget that is disabled, and gives it to the window's first widget
/// when a dialog closes meanwhile. Here it waits on the window itself, where no key means anything,
/// and returns to the widget when that is enabled again; but not when the operator has put it
/// elsewhere in the meantime. Only the window's own focus is moved, never that of a dialog in front
/// of it.
class FocusReturn final : public QObject
{
    Q_OBJECT

public:
    /// The window becomes the parent. `first` is one of its widgets: it gets the focus as soon as
    /// it is enabled, if the operator has not chosen before.
    FocusReturn(QWidget *window, QWidget *first);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow(const QWidget *former, QWidget *now);
    void hold(QWidget *widget);

    QWidget *window;
    QPointer<QWidget> holder; ///< the widget that the operator has put the focus on
};
