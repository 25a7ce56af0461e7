// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVPreferencesDialog.h"

#include "Model/Warnings.h"
#include "Widgets/DarkLook.h"
#include "ui_BVPreferencesDialog.h"

#include <QPushButton>

BVPreferencesDialog::BVPreferencesDialog(quint32 level, QWidget *parent)
    : QDialog(parent)
    , warningLevel(level)
    , ui(std::make_unique<Ui::BVPreferencesDialog>())
{
    ui->setupUi(this);
    for (const auto button : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel})
        ui->buttonBox->button(button)->setMinimumSize(70, 15);
    for (const auto &[bit, box] : warnings()) {
        useDarkBase(box);
        box->setCheckState(warningLevel & bit ? Qt::Checked : Qt::Unchecked);
    }
    connect(ui->buttonBox, &QDialogButtonBox::accepted, this, &BVPreferencesDialog::accept);
    connect(ui->buttonBox, &QDialogButtonBox::rejected, this, &BVPreferencesDialog::reject);
}

BVPreferencesDialog::~BVPreferencesDialog() = default;

void BVPreferencesDialog::accept()
{
    for (const auto &[bit, box] : warnings()) {
        if (box->checkState() == Qt::Unchecked)
            warningLevel &= ~bit;
        else if (box->checkState() == Qt::Checked)
            warningLevel |= bit;
    }
    QDialog::accept();
}

std::array<BVPreferencesDialog::Warning, 4> BVPreferencesDialog::warnings() const
{
    return {{{Warnings::destructive, ui->checkBoxWarnDeleteAndOverwrite},
             {Warnings::move, ui->checkBoxWarnMove},
             {Warnings::upload, ui->checkBoxWarnUpload},
             {Warnings::largeSync, ui->checkBoxWarnLarge}}};
}
