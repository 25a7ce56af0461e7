// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/BVProgressDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEvent>
#include <QPushButton>
#include <QTest>

/// Counts how often a progress dialog was shown.
class ShownDialogs final : public QObject
{
public:
    ShownDialogs() { qApp->installEventFilter(this); }

    int count = 0;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && qobject_cast<BVProgressDialog *>(watched))
            ++count;
        return false;
    }
};

[[nodiscard]] inline QPushButton *cancelButton(const QDialog &dialog)
{
    return dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel);
}

inline void pressCancel(const QDialog &dialog)
{
    QTest::mouseClick(cancelButton(dialog), Qt::LeftButton);
}
