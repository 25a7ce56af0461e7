// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class ErrorMessageDialog;
}

/// Shows a message with a list of details that opens on demand. Both may contain text from a server
/// and are shown as plain text. One dialog shows one message.
class ErrorMessageDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit ErrorMessageDialog(QWidget *parent);
    ~ErrorMessageDialog() override;

public slots:
    /// Sets the texts. Without details the details button is hidden. A longer text is cut after
    /// 20,480 UTF-16 units. Details of more than 16 Mi units or 256 Ki lines in total are shown on
    /// one line each, cut to equal shares of 16 Mi units and to at most 4,096 units. None is left
    /// out.
    void displayErrorMessage(const QString &message, const QStringList &details);
    /// Opens or closes the details. The dialog grows or shrinks.
    void showDetails(bool on);

private:
    /// The details open downwards and move the buttons.
    void stayOnScreen();

    std::unique_ptr<Ui::ErrorMessageDialog> ui;
};
