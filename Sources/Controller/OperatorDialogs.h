// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCoreApplication>

class ApplicationModel;
class BVMainWindow;

namespace LibraryComparison {
struct SyncPlan;
}

/// Messages and questions to the operator. Every call returns when its dialog is closed. Events are
/// handled meanwhile, so servers may have been added or lost.
///
/// A warning is shown only while its bit in the model's `warningLevel` is set; without it the
/// answer is yes. "Yes, don't ask again" clears the bit and saves the settings.
class OperatorDialogs final
{
    Q_DECLARE_TR_FUNCTIONS(OperatorDialogs)

public:
    /// The window is the parent of every dialog. Neither is owned.
    OperatorDialogs(ApplicationModel *applicationModel, BVMainWindow *window);

    void showError(const QString &message, const QStringList &details) const;

    [[nodiscard]] bool confirmSync(const LibraryComparison::SyncPlan &plan, const QString &source,
                                   const QString &destination) const;
    [[nodiscard]] bool confirmRemoval() const;
    [[nodiscard]] bool confirmMove() const;
    [[nodiscard]] bool confirmOverwrite() const;

    /// The path of the file that the operator chose, empty if none. The dialog starts in
    /// `directory`, or in the documents folder if that is empty.
    [[nodiscard]] QString askForUpload(const QString &directory) const;

private:
    [[nodiscard]] bool confirmWarning(const QString &text, const QString &title, quint32 bit) const;

    ApplicationModel *model;
    BVMainWindow *mainWindow;
};
