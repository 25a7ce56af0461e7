// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The selected rows of a bank, and their visuals.

#include "UI/BVServerBank.h"

#include "Log/ZorLog.h"
#include "Model/LibrarySelection.h"
#include "Model/Server.h"

#include "ui_BVServerBank.h"

#include <QSignalBlocker>

#include <utility>

QList<int> BVServerBank::selectedRows() const
{
    QList<int> rows;
    const QList<QListWidgetItem *> items = ui->mediaListWidget->selectedItems();
    for (const QListWidgetItem *item : items)
        rows.append(ui->mediaListWidget->row(item));
    return rows;
}

int BVServerBank::selectedRowCount() const
{
    return static_cast<int>(ui->mediaListWidget->selectedItems().size());
}

void BVServerBank::selectRows(const QList<int> &rows)
{
    auto *const list = ui->mediaListWidget;
    const QSignalBlocker blocker(list);
    list->clearSelection();
    for (const int row : rows) {
        if (auto *const item = list->item(row))
            item->setSelected(true);
    }
}

QList<VisualRef> BVServerBank::selectedVisuals(bool onlyExisting) const
{
    return visualsOfRows(selectedRows(), onlyExisting);
}

QList<VisualRef> BVServerBank::visualsOfRows(const QList<int> &rows, bool onlyExisting) const
{
    const Server &server = currentServer();
    if (currentFolder == -1)
        return LibrarySelection::ofFolders(server, rows, onlyExisting);
    QList<int> slotNumbers;
    for (const int row : rows)
        slotNumbers.append(row - 1);
    return LibrarySelection::ofSlots(server, currentFolder, slotNumbers, onlyExisting);
}

QList<VisualRef> BVServerBank::allVisuals() const
{
    if (currentFolder == -1)
        return LibrarySelection::all();
    QList<VisualRef> visuals = LibrarySelection::allOfFolder(currentServer(), currentFolder);
    for (const auto &[position, slot] : std::as_const(visuals))
        ZOR_LOG(info, "%d-%d", position, slot);
    return visuals;
}
