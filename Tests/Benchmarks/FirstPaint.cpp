// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// Preloaded into a program: when its window has been painted, prints the processor time of its
// start in milliseconds and its memory in MB, and ends it.

#include "Benchmarks/Comparison.h"
#include "Support/ProcessUse.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>

#include <cstdio>
#include <cstdlib>

namespace {

class FirstPaint final : public QObject
{
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *const widget = qobject_cast<QWidget *>(watched);
        if (event->type() == QEvent::Paint && widget && widget->isWindow())
            QTimer::singleShot(0, this, &FirstPaint::report);
        return false;
    }

private:
    static void report()
    {
        std::printf("%.3f\n", ProcessUse::status("VmRSS"));
        std::fflush(stdout);
        std::_Exit(0);
    }
};

void watch()
{
    QCoreApplication *const application = QCoreApplication::instance();
    application->installEventFilter(new FirstPaint(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)
