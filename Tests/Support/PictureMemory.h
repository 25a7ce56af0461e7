// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// Keeps QPixmapCache from dropping pictures: half a minute after its first picture a timer removes
/// the oldest one, and then more, even if there is room. A test relies on the pictures that it has
/// cached, and on a busy machine it runs longer than that.
class PictureMemory final : public QObject
{
public:
    /// From now on and for the rest of the program.
    static void keep()
    {
        static auto *const keeper = new PictureMemory;
        Q_UNUSED(keeper)
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        return event->type() == QEvent::Timer && watched->inherits("QPMCache");
    }

private:
    PictureMemory()
        : QObject(QCoreApplication::instance())
    {
        QCoreApplication::instance()->installEventFilter(this);
    }
};
