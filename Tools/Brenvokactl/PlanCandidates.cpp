// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Brenvokactl/PlanCandidates.h"

#include "Brenvokactl/CommandLine.h"
#include "Model/LibrarySelection.h"
#include "Model/Server.h"

#include <QSet>

QList<VisualRef> planCandidates(const CommandLine &line, const Server &source)
{
    if (line.folders.isEmpty() && line.visuals.isEmpty())
        return LibrarySelection::all();
    QList<VisualRef> result;
    QSet<VisualRef> known;
    const auto add = [&result, &known](const QList<VisualRef> &visuals) {
        for (const VisualRef &visual : visuals) {
            if (known.contains(visual))
                continue;
            known.insert(visual);
            result.append(visual);
        }
    };
    add(LibrarySelection::ofFolders(source, line.folders, false));
    for (const auto &[folder, slot] : line.visuals)
        add(LibrarySelection::ofSlots(source, folder, {slot}, false));
    return result;
}
