// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QEvent>
#include <QHash>
#include <QObject>

/// Counts the events that an object receives, by type.
class EventCount final : public QObject
{
public:
    explicit EventCount(QObject &watched) { watched.installEventFilter(this); }

    [[nodiscard]] int of(QEvent::Type type) const { return counts.value(type); }

protected:
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        ++counts[event->type()];
        return false;
    }

private:
    QHash<QEvent::Type, int> counts;
};
