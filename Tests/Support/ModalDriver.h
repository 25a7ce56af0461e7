// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QMessageBox>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <chrono>
#include <functional>

class QDialog;

/// What a modal dialog showed when it was answered.
struct SeenDialog
{
    QString type;        ///< class name, such as "QMessageBox"
    QString title;       ///< of the window
    QString text;        ///< of a message box, else of all visible labels, one line each
    QString details;     ///< detailed or informative text, or the text of a text edit
    QStringList buttons; ///< labels of the visible push buttons, without mnemonics
    QMessageBox::Icon icon = QMessageBox::NoIcon; ///< of a message box
};

/// Answers modal dialogs that open in a nested event loop, so that a test can call code that opens
/// a dialog.
///
///     ModalDriver modals;
///     modals.press(QMessageBox::Yes).press(u"OK"_s);
///     controller.removeSelectedItems();        // asks, then reports
///     QCOMPARE(modals.seen().size(), 2);
///
/// Orders are used up first in, first out, one for each dialog that appears. The dialogs that show
/// progress (BVProgressDialog, TransferDialog) are ignored: they ask nothing.
///
/// Nothing hangs: a dialog without an order, or one that stays open after its answer, fails the
/// test after the bound and is closed. An order that is still unused when the driver is deleted
/// fails the test, too.
class ModalDriver final : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(QDialog &)>;
    using Report = std::function<void(const QString &)>;

    /// `bound` is how long a dialog may stay open without an order or after its answer. `report`
    /// takes failures; by default they fail the running test function.
    explicit ModalDriver(std::chrono::milliseconds bound = std::chrono::seconds(30),
                         Report report = {});
    ~ModalDriver() override;

    /// Clicks a standard button of a message box, file dialog or dialog with a button box.
    ModalDriver &press(QMessageBox::StandardButton button);
    /// Clicks the push button with that label, without mnemonic.
    ModalDriver &press(const QString &label);
    /// Presses the Escape key.
    ModalDriver &escape();
    /// Enters a path in a file dialog and accepts it.
    ModalDriver &chooseFile(const QString &path);
    /// Hands the dialog to the test, which has to close it.
    ModalDriver &answer(Answer answer);

    /// The dialogs answered so far, oldest first.
    [[nodiscard]] const QList<SeenDialog> &seen() const { return dialogs; }
    /// The number of orders that still wait for a dialog.
    [[nodiscard]] qsizetype pending() const { return orders.size(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void poll();
    void scheduleNextPoll();
    void giveUp(QDialog &dialog);

    std::chrono::milliseconds bound;
    Report report;
    QList<Answer> orders;
    QList<SeenDialog> dialogs;
    QPointer<QDialog> current;                   ///< the dialog on the screen
    bool answered = false;                       ///< whether `current` has had its order
    std::chrono::steady_clock::time_point since; ///< when it appeared or was answered
};
