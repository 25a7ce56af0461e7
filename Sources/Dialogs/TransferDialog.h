// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Brenvoka.h"
#include "Model/VisualRef.h"

#include <QDialog>

#include <map>
#include <memory>

namespace Ui {
class TransferDialog;
}

/// The state of one visual of a synchronisation.
struct TransferRow
{
    int row = -1;                                      ///< its row in the table
    Brenvoka::SyncStates state = Brenvoka::SyncQueued; ///< as last reported
    int percent = 0;                                   ///< 0 to 100
};

/// The progress of one synchronisation: one table row for each visual and an overall bar.
///
/// It has the only record of each visual's outcome. Closing the window hides it; the operation
/// continues. A function for one visual takes at most logarithmic time, so that 256 full folders
/// can be transferred at once.
class TransferDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit TransferDialog(QWidget *parent = nullptr);
    ~TransferDialog() override;

    /// Makes that many empty rows, which is faster than one row for each `addTransfer`.
    void makeRows(int count);
    /// Removes the rows that no transfer uses.
    void removeEmptyRows();
    /// Adds a queued row. A visual that has a row keeps it with its first label.
    void addTransfer(int folderSlot, int fileSlot, const QString &label);
    /// Shows a progress report; `percent` is clamped to 0 to 100. Has no effect for a visual
    /// without a row or one in `SyncCanceling`: a cancelled row keeps that state.
    void updateTransfer(int folderSlot, int fileSlot, int percent, Brenvoka::SyncStates state);
    /// Sets a row's final text. State, percentage and the overall bar do not change. Without any
    /// rows, hides the dialog.
    void finishTransfer(int folderSlot, int fileSlot);

    /// The text of a row in that state; "uninitialized" for a state without a text.
    [[nodiscard]] static QString stateText(Brenvoka::SyncStates state);

    /// The text of the overall progress, and its percentage, 0 to 100. Each report of progress
    /// sets both again.
    void setStateText(const QString &text);
    void setProgressValue(int value);

    /// The rows by folder slot, then file slot. Read only.
    std::map<VisualRef, TransferRow> rows;
    /// Whether the operation is over, so that the Cancel button only hides the dialog.
    bool finished = false;

signals:
    /// The Cancel button was clicked before `finished` was set.
    void cancelSync();

private slots:
    void onCancelSync(bool checked);

private:
    using Row = std::map<VisualRef, TransferRow>::iterator;
    /// The end of `rows` if the visual has none.
    [[nodiscard]] Row findRow(const VisualRef &visual);
    /// Returns false if the row has no cell for it.
    bool showState(int row, const QString &text);
    [[nodiscard]] bool isInView(int row) const;
    void updateOverallProgress();
    void scrollLater(int row);
    void scrollNow();

    std::unique_ptr<Ui::TransferDialog> ui;
    Row lastFound = rows.end();
    int percentSum = 0;
    int awaitedRow = -1; ///< to which the list scrolls in the next turn of the event loop, or -1
};
