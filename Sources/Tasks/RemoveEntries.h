// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/VisualRef.h"

#include <QCoreApplication>
#include <QList>
#include <QStringList>

#include <map>
#include <optional>

/// One visual to remove, and the outcome.
struct RemoveEntry
{
    int folderSlot = -1;
    int fileSlot = -1;
    bool done = false; ///< required, though nothing reads it
    bool failed = false;
    QString error; ///< as shown
};

/// The visuals that a task removes, in the given order. A visual that is given twice has two
/// entries; the first gets all its results.
class RemoveEntries final
{
    Q_DECLARE_TR_FUNCTIONS(RemoveEntries)

public:
    explicit RemoveEntries(const QList<VisualRef> &visuals);

    [[nodiscard]] bool isEmpty() const { return entries.isEmpty(); }
    [[nodiscard]] qsizetype size() const { return entries.size(); }
    [[nodiscard]] qsizetype failedCount() const;
    [[nodiscard]] QList<VisualRef> visuals() const;
    /// One line for each failed entry, for the error dialog. `server` is the name as shown.
    [[nodiscard]] QStringList failureLines(const QString &server) const;

    /// Records a result: a failure if there is an `error`, even an empty one. A later result does
    /// not undo a failure. Returns false and changes nothing for a visual that was not given.
    [[nodiscard]] bool record(int folderSlot, int fileSlot, const std::optional<QString> &error);
    void clear();

private:
    QList<RemoveEntry> entries;
    /// The first entry of each visual. A search would be slow: there may be 65,280 results.
    std::map<VisualRef, qsizetype> positions;
};
