// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class ErrorMessageDialog;
}

/// Shows a message, with a list of details that opens on demand. Both may hold what a server sent:
/// they are shown as plain text. One dialog serves one message.
class ErrorMessageDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit ErrorMessageDialog(QWidget *parent);
    ~ErrorMessageDialog() override;

public slots:
    /// Sets the texts. Without details the details button goes away. A text of 20,480 UTF-16 units
    /// is cut there. Details of more than 16 Mi units or 256 Ki lines in all are shown on one line
    /// each, cut to equal shares of 16 Mi, at most 4,096: none is left out.
    void displayErrorMessage(const QString &message, const QStringList &details);
    /// Opens or closes the details; the dialog grows and shrinks with them.
    void showDetails(bool on);

private:
    /// The details open downwards, and take the buttons along.
    void stayOnScreen();

    std::unique_ptr<Ui::ErrorMessageDialog> ui;
};
