// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QCoreApplication>
#include <QList>
#include <QStringList>

#include <map>
#include <optional>

/// One visual to be removed, and how that came out.
struct RemoveEntry
{
    int folderSlot = -1;
    int fileSlot = -1;
    bool done = false;
    bool failed = false;
    QString error; ///< as shown
};

/// The visuals that a task removes, in the order given. A visual that is given twice has two
/// entries, and the first takes all its results.
class RemoveEntries final
{
    Q_DECLARE_TR_FUNCTIONS(RemoveEntries)

public:
    explicit RemoveEntries(const QList<VisualRef> &visuals);

    [[nodiscard]] bool isEmpty() const { return entries.isEmpty(); }
    [[nodiscard]] qsizetype size() const { return entries.size(); }
    [[nodiscard]] qsizetype failedCount() const;
    [[nodiscard]] QList<VisualRef> visuals() const;
    /// A line for each failed entry, for the error dialog. `server` is its name as shown.
    [[nodiscard]] QStringList failureLines(const QString &server) const;

    /// Takes a result: a failure if there is an `error`, be it empty. A failure stays one, whatever
    /// comes later. Returns false, and changes nothing, for a visual that was not given.
    [[nodiscard]] bool record(int folderSlot, int fileSlot, const std::optional<QString> &error);
    void clear();

private:
    QList<RemoveEntry> entries;
    /// The first entry of each visual: there may be 65,280 results.
    std::map<VisualRef, qsizetype> positions;
};
