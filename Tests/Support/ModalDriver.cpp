// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/ModalDriver.h"

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/TransferDialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

QString labelOf(const QAbstractButton &button)
{
    return button.text().remove(u'&');
}

template <typename Widget>
QList<Widget *> visibleChildren(const QDialog &dialog)
{
    auto children = dialog.findChildren<Widget *>();
    children.removeIf([](const Widget *child) { return !child->isVisible(); });
    return children;
}

SeenDialog describe(const QDialog &dialog)
{
    SeenDialog seen;
    seen.type = QString::fromLatin1(dialog.metaObject()->className());
    seen.title = dialog.windowTitle();
    for (const auto *button : visibleChildren<QPushButton>(dialog))
        seen.buttons << labelOf(*button);
    if (const auto *box = qobject_cast<const QMessageBox *>(&dialog)) {
        seen.text = box->text();
        seen.details = box->informativeText() + box->detailedText();
        seen.icon = box->icon();
        return seen;
    }
    QStringList lines;
    for (const auto *label : visibleChildren<QLabel>(dialog)) {
        if (!label->text().isEmpty())
            lines << label->text();
    }
    seen.text = lines.join(u'\n');
    if (const auto *edit = dialog.findChild<QTextEdit *>())
        seen.details = edit->toPlainText();
    return seen;
}

void click(QAbstractButton *button, const QString &name)
{
    if (!button || !button->isVisible() || !button->isEnabled())
        qWarning("no button \"%s\" to press", qUtf8Printable(name));
    else
        QTest::mouseClick(button, Qt::LeftButton);
}

QDialog *modalDialog()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    const bool asks = dialog && dialog->isVisible() && !qobject_cast<BVProgressDialog *>(dialog) &&
                      !qobject_cast<TransferDialog *>(dialog);
    return asks ? dialog : nullptr;
}

void failRunningTest(const QString &message)
{
    QTest::qFail(qUtf8Printable(message), __FILE__, __LINE__);
}

} // namespace

ModalDriver::ModalDriver(std::chrono::milliseconds limit, Report failureReport)
    : bound(limit)
    , report(failureReport ? std::move(failureReport) : failRunningTest)
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    scheduleNextPoll();
}

ModalDriver::~ModalDriver()
{
    if (!orders.isEmpty())
        report(u"%1 modal dialog(s) expected that never appeared"_s.arg(orders.size()));
}

ModalDriver &ModalDriver::press(QMessageBox::StandardButton button)
{
    return answer([button](QDialog &dialog) {
        QAbstractButton *target = nullptr;
        if (auto *box = qobject_cast<QMessageBox *>(&dialog))
            target = box->button(button);
        else if (auto *buttons = dialog.findChild<QDialogButtonBox *>())
            target = buttons->button(static_cast<QDialogButtonBox::StandardButton>(button));
        click(target, u"0x"_s + QString::number(button, 16));
    });
}

ModalDriver &ModalDriver::press(const QString &label)
{
    return answer([label](QDialog &dialog) {
        const auto buttons = visibleChildren<QPushButton>(dialog);
        const auto found = std::find_if(buttons.begin(), buttons.end(), [&](const auto *button) {
            return labelOf(*button) == label;
        });
        click(found == buttons.end() ? nullptr : *found, label);
    });
}

ModalDriver &ModalDriver::escape()
{
    return answer([](QDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
}

ModalDriver &ModalDriver::chooseFile(const QString &path)
{
    return answer([path](QDialog &dialog) {
        auto *edit = dialog.findChild<QLineEdit *>(u"fileNameEdit"_s);
        auto *buttons = dialog.findChild<QDialogButtonBox *>();
        if (!edit || !buttons)
            return;
        edit->setText(path);
        auto *open = buttons->button(QDialogButtonBox::Open);
        click(open ? open : buttons->button(QDialogButtonBox::Save), u"Open"_s);
    });
}

ModalDriver &ModalDriver::answer(Answer order)
{
    orders << std::move(order);
    return *this;
}

bool ModalDriver::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == current && event->type() == QEvent::Hide) {
        watched->removeEventFilter(this);
        current.clear();
    }
    return false;
}

// One timer for each poll: Qt doesn't fire a timer whose slot is still running, and an answer may
// open the next dialog inside this one's slot.
void ModalDriver::scheduleNextPoll()
{
    QTimer::singleShot(10ms, this, &ModalDriver::poll);
}

void ModalDriver::poll()
{
    scheduleNextPoll();
    auto *dialog = modalDialog();
    if (!dialog)
        return;
    if (dialog != current) {
        current = dialog;
        dialog->installEventFilter(this);
        answered = false;
        since = steady_clock::now();
    }
    if (!answered && !orders.isEmpty()) {
        answered = true;
        since = steady_clock::now();
        dialogs << describe(*dialog);
        orders.takeFirst()(*dialog);
    } else if (steady_clock::now() - since > bound) {
        giveUp(*dialog);
    }
}

void ModalDriver::giveUp(QDialog &dialog)
{
    const auto seen = describe(dialog);
    report((answered ? u"dialog \"%1\" (%2) stays open after its answer: %3"_s
                     : u"unexpected dialog \"%1\" (%2): %3"_s)
               .arg(seen.title, seen.type, seen.text));
    since = steady_clock::now();
    dialog.done(QDialog::Rejected);
}
