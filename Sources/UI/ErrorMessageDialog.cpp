// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/ErrorMessageDialog.h"

#include "ui_ErrorMessageDialog.h"

#include <QPushButton>
#include <QScreen>
#include <QStyle>

ErrorMessageDialog::ErrorMessageDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::ErrorMessageDialog>())
{
    ui->setupUi(this);
    const int extent = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    const auto icon =
        style()->standardIcon(QStyle::SP_MessageBoxCritical, nullptr, this).pixmap(extent);
    ui->errorIcon->setPixmap(icon);
    ui->errorIcon->setMinimumSize(icon.deviceIndependentSize().toSize());
    auto *const ok = ui->buttonBox->button(QDialogButtonBox::Ok);
    ok->setFocus(); // the button of the details comes before it
    connect(ok, &QPushButton::pressed, this, &QDialog::accept);
    connect(ui->errorDetails, &QPushButton::toggled, this, &ErrorMessageDialog::showDetails);
    ui->errorDetailsList->hide();
    adjustSize();
}

ErrorMessageDialog::~ErrorMessageDialog() = default;

void ErrorMessageDialog::displayErrorMessage(const QString &message, const QStringList &details)
{
    ui->errorDetails->setChecked(false);
    ui->errorText->setText(message);
    ui->errorDetailsList->setPlainText(details.join(u'\n'));
    if (details.isEmpty()) {
        ui->errorDetails->setEnabled(false);
        ui->errorDetails->hide();
    }
    // So that a long message is not cut off. Only an activation renews the inner layouts' hints.
    layout()->activate();
    adjustSize();
}

void ErrorMessageDialog::showDetails(bool on)
{
    ui->errorDetails->setText(on ? tr("Hide Details <<") : tr("Show Details >>"));
    ui->errorDetailsList->setVisible(on);
    adjustSize();
    if (isVisible())
        stayOnScreen();
}

void ErrorMessageDialog::stayOnScreen()
{
    const QRect area = screen()->availableGeometry();
    QRect frame = frameGeometry();
    frame.moveBottom(qMin(frame.bottom(), area.bottom()));
    frame.moveTop(qMax(frame.top(), area.top()));
    if (frame.topLeft() != pos())
        move(frame.topLeft());
}
