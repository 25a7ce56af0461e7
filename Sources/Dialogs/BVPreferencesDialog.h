// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDialog>

#include <array>
#include <memory>

class QCheckBox;
namespace Ui {
class BVPreferencesDialog;
}

/// Edits which operations ask for confirmation.
class BVPreferencesDialog final : public QDialog
{
    Q_OBJECT

public:
    BVPreferencesDialog(quint32 level, QWidget *parent);
    ~BVPreferencesDialog() override;

    void accept() override;

    /// The working copy: bits of `Warnings`. Takes the state of the boxes when the dialog is
    /// accepted. All other bits keep their value.
    quint32 warningLevel;

private:
    struct Warning
    {
        quint32 bit;
        QCheckBox *box;
    };
    [[nodiscard]] std::array<Warning, 4> warnings() const;

    std::unique_ptr<Ui::BVPreferencesDialog> ui;
};
