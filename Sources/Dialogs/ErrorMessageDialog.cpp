// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/ErrorMessageDialog.h"

#include "Text/ShownText.h"
#include "ui_ErrorMessageDialog.h"

#include <QPushButton>
#include <QScreen>
#include <QStyle>

#include <algorithm>

namespace {

/// Enough for the four texts from servers that one failure names at most, and the words around
/// them.
constexpr qsizetype longestDetail = 5 * longestShownText;

// A document reads this much within a second and lays it out in steps too short to notice. It is
// about 250 characters for each visual of a full library.
constexpr qsizetype mostCharacters = qsizetype{16} * 1024 * 1024;
constexpr qsizetype mostLines = qsizetype{256} * 1024;

bool breaksLine(QChar c)
{
    return c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator ||
           QChar::isNonCharacter(c.unicode());
}

bool fits(const QStringList &details)
{
    qsizetype characters = 0;
    qsizetype lines = 0;
    for (const QString &detail : details) {
        characters += detail.size();
        lines += 1 + std::ranges::count_if(detail, breaksLine);
        if (characters > mostCharacters || lines > mostLines)
            return false;
    }
    return true;
}

/// Every failure on its line or lines. If they are too much for a window, each is cut to one line
/// and to the same share of the total.
QString shownDetails(QStringList details)
{
    for (QString &detail : details)
        detail = beginningOf(detail, longestDetail);
    if (!fits(details)) {
        const qsizetype share = std::max<qsizetype>(mostCharacters / details.size(), 1);
        for (QString &detail : details)
            detail = shownName(beginningOf(detail, share));
    }
    return details.join(u'\n');
}

} // namespace

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
    ok->setFocus();                                             // the details button would get it
    connect(ok, &QPushButton::pressed, this, &QDialog::accept); // required: not on the click
    connect(ui->errorDetails, &QPushButton::toggled, this, &ErrorMessageDialog::showDetails);
    ui->errorDetailsList->hide();
    adjustSize();
}

ErrorMessageDialog::~ErrorMessageDialog() = default;

void ErrorMessageDialog::displayErrorMessage(const QString &message, const QStringList &details)
{
    ui->errorDetails->setChecked(false);
    ui->errorText->setText(beginningOf(message, longestDetail));
    ui->errorDetailsList->setPlainText(shownDetails(details));
    if (details.isEmpty()) {
        ui->errorDetails->setEnabled(false);
        ui->errorDetails->hide();
    }
    // Otherwise a long message is cut off. Only an activation updates the hints of inner layouts.
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
