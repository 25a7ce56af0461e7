// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class BVProgressDialog;
}

/// A bar with a Cancel button, for every operation but a transfer. It stays off the screen for a
/// job that ends soon.
///
/// The bar counts steps from 0; with a maximum of 0 it shows the busy state. `rejected` tells that
/// the user cancelled. Any way of closing the dialog sets it back to 0 of 0, so that one dialog
/// serves one batch after another.
class BVProgressDialog final : public QDialog
{
    Q_OBJECT

public:
    /// With `autoClose` the last step accepts the dialog; without, it disables the Cancel button,
    /// since a finished job can't be cancelled, and the owner closes the dialog.
    BVProgressDialog(const QString &text, bool autoClose, QWidget *parent);
    ~BVProgressDialog() override;

    /// Lengthens the bar and shows the dialog: at once, or if `delayed` after 500 ms, unless the
    /// bar is full by then.
    void addSteps(int count, bool delayed);
    void showIfUnfinished();

    [[nodiscard]] int progress() const;
    [[nodiscard]] int maximum() const;
    /// Moves the bar. A value beyond the maximum is ignored, except that the busy state (maximum 0)
    /// takes any value.
    void setProgress(int value);
    /// Takes one step.
    void advance();
    /// Whether the bar stands at its maximum; true also for 0 of 0.
    [[nodiscard]] bool isFinished() const;

    /// Replaces the label's text, which is shown as plain text.
    void setText(const QString &text);

public slots:
    void done(int r) override;

private:
    std::unique_ptr<Ui::BVProgressDialog> ui;
    const bool autoClose;
};
