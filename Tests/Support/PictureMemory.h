// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

/// Keeps QPixmapCache from forgetting: half a minute after its first picture a timer throws the
/// oldest one out, and then more, however much room there is. A test that has put a picture there
/// counts on it, and on a busy machine a test program runs longer than that.
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
