// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>

class QWidget;

/// Keeps the keyboard focus in a window whose widgets are disabled for a while, like a bank while
/// its thumbnails are loaded.
///
/// Qt takes the focus from a widget that is disabled, and gives it to the window's first widget
/// when a dialog closes meanwhile. This class gives the focus to the window itself, where no key
/// has an effect, and back to the widget when that is enabled again, unless the operator has moved
/// the focus in the meantime. It moves only the window's own focus, never that of a dialog in front
/// of it.
class FocusReturn final : public QObject
{
    Q_OBJECT

public:
    /// `topLevel` becomes the parent. `first` is one of its widgets: it gets the focus as soon as
    /// it is enabled, unless the operator has chosen another widget before.
    FocusReturn(QWidget *topLevel, QWidget *first);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow(const QWidget *former, QWidget *now);
    void hold(QWidget *widget);

    QWidget *window;
    QPointer<QWidget> holder; ///< the widget to which the operator gave the focus
};
