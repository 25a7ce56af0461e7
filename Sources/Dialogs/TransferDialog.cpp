// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/TransferDialog.h"

#include "Widgets/DarkLook.h"
#include "Widgets/RowDelegate.h"
#include "ui_TransferDialog.h"

#include <QAccessible>
#include <QSignalBlocker>
#include <QTimer>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString transferringText = TransferDialog::tr("Transfer in progress...");
const QString importingText = TransferDialog::tr("Importing in progress...");

constexpr int labelColumn = 0;
constexpr int stateColumn = 1;

/// Prepared once: one message may report the percentage of 65,280 visuals.
const QString &percentText(int percent)
{
    static const auto texts = [] {
        std::array<QString, 101> all;
        for (std::size_t number = 0; number < all.size(); ++number)
            all[number] = TransferDialog::tr("%1%").arg(number);
        return all;
    }();
    return texts[static_cast<std::size_t>(percent)];
}

} // namespace

TransferDialog::TransferDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::TransferDialog>())
{
    ui->setupUi(this);
    useDarkBase(ui->progressBar);
    useDarkBase(ui->ckAutoScroll);
    ui->statusList->setColumnCount(2);
    ui->statusList->setItemDelegate(new RowDelegate(this));
    // Not visible; a screen reader reads them as the headers of a cell.
    ui->statusList->setHorizontalHeaderLabels({tr("Visual"), tr("State")});
    ui->statusList->horizontalHeader()->setSectionResizeMode(labelColumn, QHeaderView::Stretch);
    connect(ui->cancelSync, &QPushButton::clicked, this, &TransferDialog::onCancelSync);
}

TransferDialog::~TransferDialog() = default;

void TransferDialog::makeRows(int count)
{
    ui->statusList->setRowCount(count);
}

void TransferDialog::removeEmptyRows()
{
    ui->statusList->setRowCount(static_cast<int>(rows.size()));
}

void TransferDialog::addTransfer(int folderSlot, int fileSlot, const QString &label)
{
    const int row = static_cast<int>(rows.size());
    if (!rows.try_emplace({folderSlot, fileSlot}, TransferRow{row}).second)
        return;
    if (row == ui->statusList->rowCount())
        ui->statusList->insertRow(row);
    ui->statusList->setItem(row, labelColumn, new QTableWidgetItem(label));
    ui->statusList->setItem(row, stateColumn,
                            new QTableWidgetItem(stateText(Brenvoka::SyncQueued)));
}

// A message that reports all transfers has them in their order, so the row after the last one is
// tried first: a search among 65,280 rows takes longer than to set the text of one.
TransferDialog::Row TransferDialog::findRow(const VisualRef &visual)
{
    Row next = lastFound == rows.end() ? rows.begin() : std::next(lastFound);
    if (next == rows.end() || next->first != visual)
        next = rows.find(visual);
    return lastFound = next;
}

void TransferDialog::updateTransfer(int folderSlot, int fileSlot, int percent,
                                    Brenvoka::SyncStates state)
{
    const auto found = findRow({folderSlot, fileSlot});
    if (found == rows.end())
        return;
    auto &transfer = found->second;
    if (transfer.state == Brenvoka::SyncCanceling)
        return;
    percent = std::clamp(percent, 0, 100);
    percentSum += percent - transfer.percent;
    transfer.percent = percent;
    transfer.state = state;

    if (!showState(transfer.row,
                   state == Brenvoka::SyncTransferring ? percentText(percent) : stateText(state)))
        return;
    updateOverallProgress();
    if (ui->ckAutoScroll->isChecked() && state != Brenvoka::SyncCanceling &&
        state != Brenvoka::SyncFinished)
        scrollLater(transfer.row);
}

// The table is notified only of changes that somebody can notice. The notification of a row out of
// view would take as long as storing its text.
bool TransferDialog::showState(int row, const QString &text)
{
    auto *const item = ui->statusList->item(row, stateColumn);
    if (!item)
        return false;
    const bool isNoticed = isInView(row) || QAccessible::isActive();
    const QSignalBlocker blocker(isNoticed ? nullptr : ui->statusList->model());
    item->setText(text);
    return true;
}

bool TransferDialog::isInView(int row) const
{
    const int top = ui->statusList->rowViewportPosition(row);
    return top < ui->statusList->viewport()->height() && top + ui->statusList->rowHeight(row) > 0;
}

// One message may report 65,280 visuals. To scroll to each would take seconds.
void TransferDialog::scrollLater(int row)
{
    if (std::exchange(awaitedRow, row) == -1)
        QTimer::singleShot(0, this, &TransferDialog::scrollNow);
}

void TransferDialog::scrollNow()
{
    const int row = std::exchange(awaitedRow, -1);
    ui->statusList->scrollToItem(ui->statusList->item(row, stateColumn),
                                 QAbstractItemView::EnsureVisible);
}

void TransferDialog::finishTransfer(int folderSlot, int fileSlot)
{
    if (rows.empty()) {
        hide();
        return;
    }
    const auto found = findRow({folderSlot, fileSlot});
    if (found == rows.end())
        return;
    const auto &transfer = found->second;
    // Required: a failed transfer is shown as finished, too.
    showState(transfer.row,
              stateText(transfer.state == Brenvoka::SyncCanceling ? Brenvoka::SyncCanceled
                                                                  : Brenvoka::SyncFinished));
}

QString TransferDialog::stateText(Brenvoka::SyncStates state)
{
    switch (state) {
    case Brenvoka::SyncQueued:
        return tr("queued...");
    case Brenvoka::SyncImporting:
        return tr("importing...");
    case Brenvoka::SyncFailed:
        return tr("failed");
    case Brenvoka::SyncCanceling:
        return tr("canceling...");
    case Brenvoka::SyncCanceled:
        return tr("canceled");
    case Brenvoka::SyncFinished:
        return tr("finished");
    case Brenvoka::SyncTransferring: // shown by its percentage
        break;
    }
    return tr("uninitialized");
}

void TransferDialog::setStateText(const QString &text)
{
    if (ui->transferStateLabel->text() != text)
        ui->transferStateLabel->setText(text);
}

void TransferDialog::setProgressValue(int value)
{
    if (ui->progressBar->value() != value)
        ui->progressBar->setValue(value);
}

void TransferDialog::onCancelSync(bool)
{
    if (finished)
        hide();
    else
        emit cancelSync();
}

void TransferDialog::updateOverallProgress()
{
    const int mean = percentSum / static_cast<int>(rows.size());
    setStateText(mean == 100 ? importingText : transferringText);
    setProgressValue(mean);
}
