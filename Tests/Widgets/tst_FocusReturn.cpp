// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Wait.h"
#include "Widgets/FocusReturn.h"

#include <QDialog>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>

#include <memory>

namespace {

/// A window with a panel of two buttons, and a button beside it.
class Window final : public QWidget
{
public:
    Window()
    {
        first.setObjectName(QStringLiteral("first")); // FocusReturn's first widget
        for (QPushButton *const button : {&first, &other})
            layout.addWidget(button);
        layout.addWidget(&panel);
    }
    [[nodiscard]] bool open()
    {
        show();
        return QTest::qWaitForWindowActive(this, patience);
    }
    /// Opens with the focus on the first button of the panel, set as by the operator.
    [[nodiscard]] bool openInPanel()
    {
        new FocusReturn(this, &first);
        const bool isOpen = open();
        inPanel.setFocus();
        return isOpen;
    }

    QVBoxLayout layout{this};
    QPushButton first;
    QPushButton other;
    QWidget panel;
    QVBoxLayout panelLayout{&panel};
    QPushButton inPanel{&panel};
    QPushButton besideInPanel{&panel};
};

} // namespace

/// Where the focus is after widgets were disabled and enabled again.
class tst_FocusReturn final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void firstWidgetGetsTheFocusWhenEnabled()
    {
        Window window;
        window.panel.setEnabled(false);
        new FocusReturn(&window, &window.inPanel);
        QVERIFY(window.open());
        QVERIFY(window.hasFocus());
        window.panel.setEnabled(true);
        QVERIFY(window.inPanel.hasFocus());
    }

    void operatorsChoiceOverridesTheFirstWidget()
    {
        Window window;
        window.panel.setEnabled(false);
        new FocusReturn(&window, &window.inPanel);
        QVERIFY(window.open());
        QTest::keyClick(&window, Qt::Key_Tab);
        QVERIFY(window.first.hasFocus());
        window.panel.setEnabled(true);
        QVERIFY(window.first.hasFocus());
    }

    void focusReturnsAfterItsPanelWasDisabled()
    {
        Window window;
        QVERIFY(window.openInPanel());
        for (int round = 0; round < 2; ++round) {
            window.panel.setEnabled(false);
            QVERIFY(window.hasFocus());
            window.panel.setEnabled(true);
            QVERIFY(window.inPanel.hasFocus());
        }
    }

    void focusReturnsAfterItsWidgetWasDisabled()
    {
        Window window;
        QVERIFY(window.openInPanel());
        window.inPanel.setEnabled(false);
        QVERIFY(!window.besideInPanel.hasFocus());
        window.besideInPanel.setEnabled(false);
        window.inPanel.setEnabled(true);
        QVERIFY(window.inPanel.hasFocus());
    }

    void aWidgetThatNeverHadTheFocusDoesNotGetIt()
    {
        Window window;
        new FocusReturn(&window, &window.first);
        QVERIFY(window.open());
        window.other.setFocus();
        window.panel.setEnabled(false);
        window.panel.setEnabled(true);
        QVERIFY(window.other.hasFocus());
    }

    void focusStaysWhereTheOperatorPutIt()
    {
        Window window;
        QVERIFY(window.openInPanel());
        window.panel.setEnabled(false);
        window.other.setFocus();
        window.panel.setEnabled(true);
        QVERIFY(window.other.hasFocus());
    }

    void focusIsNotTakenFromADialog()
    {
        Window window;
        QVERIFY(window.openInPanel());
        window.panel.setEnabled(false);

        QDialog dialog(&window);
        QPushButton button(&dialog);
        dialog.open();
        QVERIFY(QTest::qWaitForWindowActive(&dialog, patience));
        EVENTUALLY(button.hasFocus());
        window.panel.setEnabled(true);
        QVERIFY(button.hasFocus());
        QCOMPARE(QApplication::activeWindow(), &dialog);

        dialog.close();
        window.activateWindow(); // a window manager would do this
        EVENTUALLY(window.inPanel.hasFocus());
    }

    void closingADialogDoesNotMoveTheFocus()
    {
        Window window;
        QVERIFY(window.openInPanel());
        {
            QDialog dialog(&window);
            QPushButton button(&dialog);
            dialog.open();
            QVERIFY(QTest::qWaitForWindowActive(&dialog, patience));
            window.panel.setEnabled(false);
        }
        window.activateWindow();
        EVENTUALLY(window.hasFocus());
        window.panel.setEnabled(true);
        QVERIFY(window.inPanel.hasFocus());
    }

    void aWidgetDisabledBehindADialogGetsTheFocusAgain()
    {
        Window window;
        QVERIFY(window.openInPanel());
        {
            QDialog dialog(&window);
            QPushButton button(&dialog);
            dialog.open();
            QVERIFY(QTest::qWaitForWindowActive(&dialog, patience));
            window.inPanel.setEnabled(false);
            window.inPanel.setEnabled(true);
        }
        window.activateWindow();
        EVENTUALLY(window.inPanel.hasFocus());
    }

    void aDeletedWidgetIsForgotten()
    {
        Window window;
        QVERIFY(window.openInPanel());
        auto passing = std::make_unique<QPushButton>(&window);
        passing->show();
        passing->setFocus();
        passing->setEnabled(false);
        passing.reset();
        QTest::keyClick(&window, Qt::Key_Tab);
        QVERIFY(window.first.hasFocus());
        window.first.setEnabled(false);
        window.first.setEnabled(true);
        QVERIFY(window.first.hasFocus());
    }
};

QTEST_MAIN(tst_FocusReturn)
#include "tst_FocusReturn.moc"
