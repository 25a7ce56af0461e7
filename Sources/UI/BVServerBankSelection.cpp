// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The selected rows of a bank, and their visuals.

#include "UI/BVServerBank.h"

#include "Log/ZorLog.h"
#include "Model/Server.h"
#include "Model/Slots.h"

#include "ui_BVServerBank.h"

#include <QSignalBlocker>

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
    QList<VisualRef> visuals;
    if (currentFolder == -1) {
        const FolderPositions positions = currentServer().folderPositions();
        for (const int row : rows)
            visuals += visualsOfFolder(row, positions[static_cast<std::size_t>(row)], onlyExisting);
        return visuals;
    }

    const int position = folderPosition(currentFolder);
    // Required: here, and only here, the folder's slot is used as a position. In a library without
    // gaps that is the same folder. If there is no such position, the folder counts as empty.
    const MediaFolder folder = currentServer().folderAt(currentFolder);
    for (const int row : rows) {
        const int slot = row - 1;
        if (slot > 0 && (!onlyExisting || folder.indexOfSlot(slot) != -1))
            visuals.append({position, slot});
    }
    return visuals;
}

QList<VisualRef> BVServerBank::visualsOfFolder(int folderSlot, int position,
                                               bool onlyExisting) const
{
    QList<VisualRef> visuals;
    if (onlyExisting && position == -1)
        return visuals;
    const MediaFolder folder = currentServer().folderAt(position);
    for (int slot = 1; slot <= Slots::last; ++slot) {
        if (!onlyExisting || folder.indexOfSlot(slot) != -1)
            visuals.append({folderSlot, slot});
    }
    return visuals;
}

QList<VisualRef> BVServerBank::allVisuals() const
{
    QList<VisualRef> visuals;
    if (currentFolder == -1) {
        visuals.reserve(static_cast<qsizetype>(Slots::folderCount) * Slots::last);
        for (int folder = 0; folder < Slots::folderCount; ++folder) {
            for (int slot = 1; slot <= Slots::last; ++slot)
                visuals.append({folder, slot});
        }
        return visuals;
    }

    const int position = folderPosition(currentFolder);
    // Required: the last slot is left out, only at this level and only here.
    for (int slot = 1; slot < Slots::last; ++slot) {
        visuals.append({position, slot});
        ZOR_LOG(info, "%d-%d", position, slot);
    }
    return visuals;
}
