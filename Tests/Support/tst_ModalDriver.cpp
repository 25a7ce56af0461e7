// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/ModalDriver.h"

#include "Dialogs/BVProgressDialog.h"
#include "Dialogs/ErrorMessageDialog.h"

#include <QFile>
#include <QFileDialog>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

QMessageBox::StandardButton ask(const QString &text)
{
    return QMessageBox::question(nullptr, u"Question"_s, text);
}

} // namespace

class TestModalDriver final : public QObject
{
    Q_OBJECT

private slots:
    void answersMessageBoxesInOrder()
    {
        ModalDriver modals;
        modals.press(QMessageBox::Yes).press(u"No"_s).escape();
        QCOMPARE(ask(u"first"_s), QMessageBox::Yes);
        QCOMPARE(ask(u"second"_s), QMessageBox::No);
        QCOMPARE(ask(u"third"_s), QMessageBox::No);
        QCOMPARE(modals.pending(), 0);
        QCOMPARE(modals.seen().size(), 3);
        QCOMPARE(modals.seen().at(1).title, u"Question"_s);
        QCOMPARE(modals.seen().at(1).text, u"second"_s);
        QCOMPARE(modals.seen().at(1).icon, QMessageBox::Question);
        QVERIFY(modals.seen().at(1).buttons.contains("Yes"_L1));
        QVERIFY(modals.seen().at(1).buttons.contains("No"_L1));
    }

    void answersADialogOpenedByAnAnswer()
    {
        QDialog outer;
        QPushButton button(u"More"_s, &outer);
        auto inner = QMessageBox::NoButton;
        connect(&button, &QPushButton::clicked, &outer, [&] {
            inner = ask(u"inner"_s);
            outer.accept();
        });
        ModalDriver modals;
        modals.press(u"More"_s).press(QMessageBox::Yes);
        QCOMPARE(outer.exec(), int(QDialog::Accepted));
        QCOMPARE(inner, QMessageBox::Yes);
    }

    void answersOneDialogThatRunsTwice()
    {
        ErrorMessageDialog dialog(nullptr);
        dialog.displayErrorMessage(u"It failed"_s, {u"first"_s, u"second"_s});
        ModalDriver modals;
        modals.press(QMessageBox::Ok).press(u"OK"_s);
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(dialog.exec(), int(QDialog::Accepted));
        QCOMPARE(modals.seen().at(1).type, u"ErrorMessageDialog"_s);
        QCOMPARE(modals.seen().at(1).text, u"It failed"_s);
        QCOMPARE(modals.seen().at(1).details, u"first\nsecond"_s);
        QCOMPARE(modals.seen().at(1).buttons, QStringList({u"Show Details >>"_s, u"OK"_s}));
    }

    void choosesAFile()
    {
        QTemporaryDir folder;
        QFile file(folder.filePath(u"clip one.mov"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        ModalDriver modals;
        modals.chooseFile(file.fileName()).press(QMessageBox::Cancel);
        QCOMPARE(QFileDialog::getOpenFileName(nullptr, u"Pick"_s), file.fileName());
        QCOMPARE(QFileDialog::getOpenFileName(nullptr, u"Pick"_s), QString());
        QCOMPARE(modals.seen().first().title, u"Pick"_s);
    }

    void leavesProgressDialogsAlone()
    {
        BVProgressDialog progress(u"Removing"_s, true, nullptr);
        progress.setModal(true);
        progress.addSteps(1, false);
        ModalDriver modals;
        modals.press(QMessageBox::Yes);
        QCOMPARE(ask(u"Really?"_s), QMessageBox::Yes);
        QVERIFY(progress.isVisible());
    }

    void reportsAnUnexpectedDialogAndClosesIt()
    {
        QStringList reports;
        ModalDriver modals(50ms, [&](const QString &message) { reports << message; });
        QCOMPARE(ask(u"Who asked?"_s), QMessageBox::NoButton);
        QCOMPARE(reports,
                 QStringList(u"unexpected dialog \"Question\" (QMessageBox): Who asked?"_s));
    }

    void reportsADialogThatStaysOpen()
    {
        QStringList reports;
        ModalDriver modals(50ms, [&](const QString &message) { reports << message; });
        modals.answer([](QDialog &) {});
        QCOMPARE(ask(u"Well?"_s), QMessageBox::NoButton);
        QCOMPARE(reports.size(), 1);
        QVERIFY2(reports.first().contains("stays open"_L1), qUtf8Printable(reports.first()));
    }

    void reportsAButtonThatIsNotThere()
    {
        QStringList reports;
        ModalDriver modals(50ms, [&](const QString &message) { reports << message; });
        modals.press(u"Perhaps"_s);
        QTest::ignoreMessage(QtWarningMsg, "no button \"Perhaps\" to press");
        QCOMPARE(ask(u"Well?"_s), QMessageBox::NoButton);
        QCOMPARE(reports.size(), 1);
    }

    void reportsAnOrderThatWasNeverUsed()
    {
        QStringList reports;
        {
            ModalDriver modals(10s, [&](const QString &message) { reports << message; });
            modals.press(QMessageBox::Yes).press(QMessageBox::No);
        }
        QCOMPARE(reports, QStringList(u"2 modal dialog(s) expected that never appeared"_s));
    }
};

QTEST_MAIN(TestModalDriver)
#include "tst_ModalDriver.moc"
