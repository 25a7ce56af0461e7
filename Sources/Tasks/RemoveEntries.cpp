// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Tasks/RemoveEntries.h"

#include "Model/Slots.h"
#include "Text/ShownText.h"

#include <algorithm>

RemoveEntries::RemoveEntries(const QList<VisualRef> &visuals)
{
    for (const VisualRef &visual : visuals) {
        positions.try_emplace(visual, entries.size());
        entries.append({visual.first, visual.second, false, false, {}});
    }
}

qsizetype RemoveEntries::failedCount() const
{
    return std::ranges::count_if(entries, &RemoveEntry::failed);
}

QList<VisualRef> RemoveEntries::visuals() const
{
    QList<VisualRef> refs;
    refs.reserve(entries.size());
    for (const RemoveEntry &entry : entries)
        refs.append({entry.folderSlot, entry.fileSlot});
    return refs;
}

QStringList RemoveEntries::failureLines(const QString &server) const
{
    QStringList lines;
    for (const RemoveEntry &entry : entries) {
        if (entry.failed)
            lines.append(tr("Remove visual %1 in folder %2 on server \"%3\" failed: %4.")
                             .arg(Slots::threeDigits(entry.fileSlot),
                                  Slots::threeDigits(entry.folderSlot), server, entry.error));
    }
    return lines;
}

bool RemoveEntries::record(int folderSlot, int fileSlot, const std::optional<QString> &error)
{
    const auto position = positions.find({folderSlot, fileSlot});
    if (position == positions.end())
        return false;
    RemoveEntry &entry = entries[position->second];
    entry.done = true;
    if (error) {
        entry.failed = true;
        entry.error = shownText(*error);
    }
    return true;
}

void RemoveEntries::clear()
{
    entries.clear();
    positions.clear();
}
