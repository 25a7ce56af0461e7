// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/TransferDialog.h"

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>

/// A TransferDialog and its widgets.
struct TransferFixture
{
    explicit TransferFixture(int transfers = 0)
    {
        for (int slot = 1; slot <= transfers; ++slot)
            dialog.addTransfer(0, slot, QStringLiteral("Clips - %1 ").arg(slot));
    }

    template <typename Widget>
    Widget *child(const char *name) const
    {
        return dialog.findChild<Widget *>(QString::fromLatin1(name));
    }

    [[nodiscard]] QString label(int row) const { return table->item(row, 0)->text(); }
    [[nodiscard]] QString state(int row) const { return table->item(row, 1)->text(); }
    [[nodiscard]] const TransferRow &row(int slot) const { return dialog.rows.at({0, slot}); }

    TransferDialog dialog;
    QTableWidget *table = child<QTableWidget>("statusList");
    QProgressBar *bar = child<QProgressBar>("progressBar");
    QLabel *stateLabel = child<QLabel>("transferStateLabel");
    QCheckBox *autoScroll = child<QCheckBox>("ckAutoScroll");
    QPushButton *cancel = child<QPushButton>("cancelSync");
};
