// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Support/WindowRig.h"

#include <QAccessible>
#include <QHBoxLayout>

using namespace Qt::Literals::StringLiterals;

inline QAccessibleInterface &accessible(QWidget &widget)
{
    return *QAccessible::queryAccessibleInterface(&widget);
}

inline QString name(const QAccessibleInterface &row)
{
    return row.text(QAccessible::Name);
}

inline QString description(const QAccessibleInterface &row)
{
    return row.text(QAccessible::Description);
}

inline QString description(const BVServerBank &bank, int row)
{
    return description(*accessible(listOf(bank)).child(row));
}

inline const QString same = u"same on both servers"_s;
inline const QString differs = u"differs"_s;

/// A bank's list beside a list as Qt has it, with the same rows, size and settings.
class Twins final : public QWidget
{
public:
    Twins()
    {
        auto *const layout = new QHBoxLayout(this);
        for (QListWidget *const list : {ours, qts}) {
            layout->addWidget(list);
            list->setAccessibleName(u"Library"_s);
            list->setSelectionMode(QAbstractItemView::ExtendedSelection);
            for (int row = 0; row < 40; ++row)
                list->addItem(u"%1: Visual"_s.arg(row, 3, 10, QLatin1Char('0')));
        }
        resize(600, 300);
    }

    QListWidget *ours = new MediaListWidget(this);
    QListWidget *qts = new QListWidget(this);
};

/// Folder 1 has another name on the other server, and slot 5 of folder 3 is empty there.
inline Server otherServer(const Server &first)
{
    Server server = sampleServer(u"Stage right"_s, u"127.51.0.2"_s);
    server.hash = hashOf(2);
    server.folders[1].name = u"Others"_s;
    server.folders[3] = folder(3, first.folders[3].name, {visual(3, u"Sunset"_s, 3)});
    return server;
}

/// Two servers on show that differ in folder 1 and in slot 5 of folder 3.
class Comparison final
{
public:
    Comparison()
    {
        rig.connectServer(left);
        rig.connectServer(right);
    }

    [[nodiscard]] BVServerBank &bankA() const { return rig.bankA(); }
    [[nodiscard]] BVServerBank &bankB() const { return rig.bankB(); }

    Server left = sampleServer(u"Stage left"_s, u"127.51.0.1"_s);
    Server right = otherServer(left);
    WindowRig rig;
};
