// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/BVProgressDialog.h"

#include "Widgets/DarkLook.h"
#include "ui_BVProgressDialog.h"

#include <QPushButton>
#include <QTimer>

using namespace std::chrono_literals;

BVProgressDialog::BVProgressDialog(const QString &text, bool closeWhenFull, QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::BVProgressDialog>())
    , autoClose(closeWhenFull)
{
    ui->setupUi(this);
    useDarkBase(ui->progressBar);
    ui->label->setText(text);
    ui->progressBar->setMaximum(0);
    ui->buttonBox->button(QDialogButtonBox::Cancel)->setMinimumSize(70, 15);
}

BVProgressDialog::~BVProgressDialog() = default;

void BVProgressDialog::addSteps(int count, bool delayed)
{
    ui->progressBar->setMaximum(maximum() + count);
    if (delayed)
        QTimer::singleShot(500ms, Qt::PreciseTimer, this, &BVProgressDialog::showIfUnfinished);
    else
        show();
}

void BVProgressDialog::showIfUnfinished()
{
    if (progress() < maximum())
        show();
}

int BVProgressDialog::progress() const
{
    return ui->progressBar->value();
}

int BVProgressDialog::maximum() const
{
    return ui->progressBar->maximum();
}

void BVProgressDialog::setProgress(int value)
{
    ui->progressBar->setValue(value);
    if (value != maximum())
        return;
    if (autoClose)
        accept();
    else
        ui->buttonBox->setEnabled(false);
}

void BVProgressDialog::advance()
{
    setProgress(progress() + 1);
}

bool BVProgressDialog::isFinished() const
{
    return progress() == maximum();
}

void BVProgressDialog::setText(const QString &text)
{
    ui->label->setText(text);
}

void BVProgressDialog::done(int r)
{
    // A maximum below the value resets the bar to -1, so the maximum is set first.
    ui->progressBar->setMaximum(0);
    ui->progressBar->setValue(0);
    QDialog::done(r);
}
