// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/BVProgressDialog.h"
#include "Support/Wait.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

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

/// Waits for a timer that fires after those of the dialogs that were to appear after 500 ms.
inline void waitPastTheDelay()
{
    QTimer later;
    later.setTimerType(Qt::PreciseTimer);
    later.setSingleShot(true);
    QSignalSpy spy(&later, &QTimer::timeout);
    later.start(std::chrono::milliseconds(600));
    QVERIFY(spy.wait(patience));
}

[[nodiscard]] inline QPushButton *cancelButton(const QDialog &dialog)
{
    return dialog.findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel);
}

inline void pressCancel(const QDialog &dialog)
{
    QTest::mouseClick(cancelButton(dialog), Qt::LeftButton);
}
