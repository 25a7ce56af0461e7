// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/SyncQuestion.h"

#include "Model/LibraryComparison.h"
#include "Model/Warnings.h"

namespace {

/// From this number of visuals on a synchronisation counts as large.
constexpr qsizetype largeSyncCount = 11;

} // namespace

SyncQuestion::SyncQuestion(const LibraryComparison::SyncPlan &plan, quint32 warningLevel,
                           const QString &source, const QString &destination)
{
    if (plan.visualCount() >= largeSyncCount && (warningLevel & Warnings::largeSync)) {
        questionKind = Large;
        questionText = tr("You are trying to synchronize %1 visuals from server %2 to server %3.\n")
                           .arg(QString::number(plan.visualCount()), source, destination);
        if (plan.isDestructive())
            questionText += tr("The operation may permanently remove or replace visuals in "
                               "destination slots.");
        questionText += tr("\nAre you sure you want to continue?");
        questionText += tr("\n\nNote: The operation can not be undone.");
    } else if (plan.isDestructive() && (warningLevel & Warnings::destructive)) {
        questionKind = Destructive;
        questionText =
            tr("Are you sure you want to synchronize the selected visuals?\n"
               "The operation may permanently remove or replace visuals in destination slots\n\n"
               "Note: The operation can not be  undone."); // required: two blanks
    }
}
