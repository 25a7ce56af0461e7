// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class BVProgressDialog;
}

/// A progress bar with a Cancel button, for every operation but a transfer. It is not shown for a
/// job that ends soon.
///
/// The bar counts steps from 0; with a maximum of 0 it shows the busy state. `rejected` means that
/// the user cancelled. Closing the dialog in any way resets it to 0 of 0, so that one dialog can
/// serve one batch after another.
class BVProgressDialog final : public QDialog
{
    Q_OBJECT

public:
    /// With `closeWhenFull` the last step accepts the dialog. Without it, the last step disables
    /// the Cancel button, because a finished job cannot be cancelled, and the owner closes the
    /// dialog.
    BVProgressDialog(const QString &text, bool closeWhenFull, QWidget *parent);
    ~BVProgressDialog() override;

    /// Raises the maximum and shows the dialog: at once, or if `delayed` after 500 ms, unless the
    /// bar is full by then.
    void addSteps(int count, bool delayed);
    void showIfUnfinished();

    [[nodiscard]] int progress() const;
    [[nodiscard]] int maximum() const;
    /// Sets the value. A value above the maximum is ignored, except in the busy state (maximum 0).
    void setProgress(int value);
    /// Adds one step.
    void advance();
    /// Whether the value is the maximum; also true for 0 of 0.
    [[nodiscard]] bool isFinished() const;

    /// Replaces the label's text, which is shown as plain text.
    void setText(const QString &text);

public slots:
    void done(int r) override;

private:
    std::unique_ptr<Ui::BVProgressDialog> ui;
    const bool autoClose;
};
