// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The keys of the list of a bank, in addition to those of every list.

#include "UI/BVServerBank.h"

#include "Controller/ServerBankController.h"

#include "ui_BVServerBank.h"

#include <QShortcut>

#include <algorithm>

void BVServerBank::connectKeys()
{
    auto *const list = ui->mediaListWidget;
    const auto onKeys = [this, list](const QList<QKeySequence> &keys, auto action) {
        auto *const shortcut = new QShortcut(list);
        shortcut->setKeys(keys);
        shortcut->setContext(Qt::WidgetShortcut);
        shortcut->setAutoRepeat(false); // a repeated key would open, go back and open again
        connect(shortcut, &QShortcut::activated, this, action);
    };
    QList<QKeySequence> back = QKeySequence::keyBindings(QKeySequence::Back);
    // Some platforms already include it, and a key that is given twice is ambiguous.
    if (!back.contains(QKeySequence(Qt::Key_Backspace)))
        back.append(Qt::Key_Backspace);

    onKeys({Qt::Key_Return, Qt::Key_Enter}, [this, list] { openRow(list->currentRow()); });
    onKeys(back, [this] {
        if (currentFolder != -1)
            openRow(0);
    });
    onKeys({Qt::Key_Delete}, [this] { ui->removeButton->click(); });
    onKeys({Qt::Key_Insert}, [this] { ui->addButton->click(); });
}

QWidget *BVServerBank::keyboardStart() const
{
    return ui->mediaListWidget;
}

void BVServerBank::openRow(int row)
{
    if (auto *const item = ui->mediaListWidget->item(row))
        controller->serverToFolder(item);
}

int BVServerBank::rowAfterRebuild() const
{
    return foldersDrawn ? 0 : ui->mediaListWidget->currentRow();
}

void BVServerBank::placeCurrentRow(int row)
{
    auto *const list = ui->mediaListWidget;
    // Otherwise the list scrolls to its current row, and the other bank as well.
    const bool scrolls = list->hasAutoScroll();
    list->setAutoScroll(false);
    list->setCurrentRow(std::max(row, 0), QItemSelectionModel::NoUpdate);
    list->setAutoScroll(scrolls);
}
