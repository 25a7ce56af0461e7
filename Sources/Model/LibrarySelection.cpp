// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/LibrarySelection.h"

#include "Model/LibraryIndex.h"
#include "Model/Server.h"
#include "Model/Slots.h"

namespace {

void appendFolder(QList<VisualRef> &visuals, const MediaFolder &files, int slotOfFolder,
                  bool onlyExisting)
{
    for (int slot = 1; slot <= Slots::last; ++slot) {
        if (!onlyExisting || files.indexOfSlot(slot) != -1)
            visuals.append({slotOfFolder, slot});
    }
}

} // namespace

QList<VisualRef> LibrarySelection::ofFolders(const Server &server, const QList<int> &folders,
                                             bool onlyExisting)
{
    QList<VisualRef> visuals;
    const FolderTable table(server.folders);
    for (const int slot : folders) {
        const MediaFolder *const folder = table.folder(slot);
        appendFolder(visuals, folder ? *folder : MediaFolder(), slot, onlyExisting);
    }
    return visuals;
}

QList<VisualRef> LibrarySelection::ofSlots(const Server &server, int folder,
                                           const QList<int> &slotNumbers, bool onlyExisting)
{
    QList<VisualRef> visuals;
    const int position = server.folderPosition(folder);
    // Required: here, and only here, the folder's slot is used as a position. In a library without
    // gaps that is the same folder. If there is no such position, the folder counts as empty.
    const MediaFolder files = server.folderAt(folder);
    for (const int slot : slotNumbers) {
        if (slot > 0 && (!onlyExisting || files.indexOfSlot(slot) != -1))
            visuals.append({position, slot});
    }
    return visuals;
}

QList<VisualRef> LibrarySelection::all()
{
    QList<VisualRef> visuals;
    visuals.reserve(static_cast<qsizetype>(Slots::folderCount) * Slots::last);
    for (int folder = 0; folder < Slots::folderCount; ++folder)
        appendFolder(visuals, {}, folder, false);
    return visuals;
}

QList<VisualRef> LibrarySelection::allOfFolder(const Server &server, int folder)
{
    QList<VisualRef> visuals;
    const int position = server.folderPosition(folder);
    // Required: the last slot is left out, only here.
    for (int slot = 1; slot < Slots::last; ++slot)
        visuals.append({position, slot});
    return visuals;
}
