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
    /// Sets the texts. Without details the details button goes away.
    void displayErrorMessage(const QString &message, const QStringList &details);
    /// Opens or closes the details; the dialog grows and shrinks with them.
    void showDetails(bool on);

private:
    /// The details open downwards, and take the buttons along.
    void stayOnScreen();

    std::unique_ptr<Ui::ErrorMessageDialog> ui;
};
