// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"

#include "ui_AboutDialog.h"

#include <QFile>
#include <QTextStream>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto productName = "Zorvik Brenvoka"_L1;
constexpr auto productVersion = "1.0.3"_L1; // required: not that of the application

/// Removes the quotation marks: the lines of the resource are written as C++ literals.
QString readQuotedLine(QTextStream &stream)
{
    constexpr qint64 maxLength = 512;
    return stream.readLine(maxLength).remove("u8\""_L1).remove(u'"');
}

} // namespace

AboutDialog::AboutDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::AboutDialog>())
{
    ui->setupUi(this);
    setWindowTitle(tr("About %1 %2").arg(productName, productVersion));
    ui->infoLabel->setText(productName);
    ui->labelVersion->setText(tr("Version %1").arg(productVersion));

    QFile credits(u":/text/Docs/team.txt"_s);
    if (!credits.open(QIODevice::ReadOnly | QIODevice::Text))
        return;
    QTextStream stream(&credits);
    ui->labelCopyRight->setText(readQuotedLine(stream));
    ui->labelTeam->setText(readQuotedLine(stream));
}

AboutDialog::~AboutDialog() = default;
