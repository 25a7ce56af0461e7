// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>
#include <QString>

namespace LibraryComparison {
struct SyncPlan;
}

/// The question before a synchronisation.
class SyncQuestion final
{
    Q_DECLARE_TR_FUNCTIONS(SyncQuestion)

public:
    enum Kind {
        None,        ///< the synchronisation starts at once
        Destructive, ///< visuals are removed or replaced
        Large,       ///< many visuals change
    };

    /// `warningLevel` has a bit of `Warnings` for each kind that is asked. The names are those of
    /// the servers, as they are shown.
    SyncQuestion(const LibraryComparison::SyncPlan &plan, quint32 warningLevel,
                 const QString &source, const QString &destination);

    [[nodiscard]] Kind kind() const { return questionKind; }
    [[nodiscard]] QString text() const { return questionText; } ///< empty for None

private:
    Kind questionKind = None;
    QString questionText;
};
