// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowRig.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

/// The main window: what stands in it, and what its buttons and menus do.
class tst_BVMainWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void transferButtonsAreOffAtStart();
    void transferButtonsGoTogether();
    void cannotBeSmallerAndSharesItsWidth();
    void standsAsTheFormSays();
    void everyPictureIsThere();
    void controlsWithoutTextHaveAName();

    void cancelledPreferencesChangeNothing();
    void acceptedPreferencesAreSaved();
    void aboutDialogIsMadeOnce();
    void quitClosesTheWindow_data();
    void quitClosesTheWindow();

    void signIsVisibleWithOneServer();
    void viewButtonsReachBothBanks();
    void storedViewIsChecked_data();
    void storedViewIsChecked();

private:
    static QStringList settings()
    {
        QFile file(settingsFilePath());
        return file.open(QIODevice::ReadOnly)
                   ? QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)
                   : QStringList();
    }
    static ModalDriver::Answer tick(const char *box, QDialogButtonBox::StandardButton button)
    {
        return [=](QDialog &dialog) {
            QTest::mouseClick(dialog.findChild<QCheckBox *>(QLatin1String(box)), Qt::LeftButton);
            QTest::mouseClick(dialog.findChild<QDialogButtonBox *>()->button(button),
                              Qt::LeftButton);
        };
    }
};

void tst_BVMainWindow::transferButtonsAreOffAtStart()
{
    WindowRig rig;
    QVERIFY(!rig.find<QPushButton>("leftToRightButton").isEnabled());
    QVERIFY(!rig.find<QPushButton>("rightToLeftButton").isEnabled());
    rig.connectServer(sampleServer(u"Stage left"_s, loopback(1)));
    QVERIFY(!rig.find<QPushButton>("leftToRightButton").isEnabled());
    rig.connectServer(sampleServer(u"Stage right"_s, loopback(2)));
    QVERIFY(rig.find<QPushButton>("leftToRightButton").isEnabled());
    QVERIFY(rig.find<QPushButton>("rightToLeftButton").isEnabled());
}

void tst_BVMainWindow::transferButtonsGoTogether()
{
    const WindowRig rig;
    for (const bool enabled : {true, false}) {
        rig.window->setTransferEnabled(enabled);
        QCOMPARE(rig.find<QPushButton>("leftToRightButton").isEnabled(), enabled);
        QCOMPARE(rig.find<QPushButton>("rightToLeftButton").isEnabled(), enabled);
    }
}

void tst_BVMainWindow::cannotBeSmallerAndSharesItsWidth()
{
    WindowRig rig;
    QCOMPARE(rig.window->size(), QSize(1163, 674));
    QVERIFY(rig.show());
    rig.window->resize(300, 200);
    QCOMPARE(rig.window->size(), QSize(1163, 670));
    for (const QSize size : {QSize(1163, 670), QSize(1500, 900), QSize(1601, 1000)}) {
        rig.window->resize(size);
        QCOMPARE(rig.window->size(), size);
        EVENTUALLY(qAbs(rig.bankA().width() - rig.bankB().width()) <= 1);
        QVERIFY(rig.bankA().width() >= 526);
        QVERIFY(rig.bankB().geometry().right() < rig.window->width());
        QVERIFY(rig.bankA().height() >= 610);
    }
    QVERIFY(rig.bankA().width() > 700);
}

void tst_BVMainWindow::standsAsTheFormSays()
{
    const WindowRig rig;
    QCOMPARE(rig.window->windowTitle(), u"Zorvik Brenvoka"_s);
    QVERIFY(!rig.window->windowIcon().isNull());
    QCOMPARE(rig.window->minimumSize(), QSize(1163, 670));
    QCOMPARE(rig.window->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
    QCOMPARE(rig.window->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

    for (const char *name : {"listModeButton", "gridModeButton", "smallSizeButton",
                             "mediumSizeButton", "largeSizeButton"}) {
        const auto &button = rig.find<QPushButton>(name);
        QCOMPARE(button.minimumSize(), QSize(35, 35));
        QCOMPARE(button.maximumSize(), QSize(35, 35));
        QCOMPARE(button.iconSize(), QSize(35, 35));
        QVERIFY(button.isCheckable() && button.isFlat() && button.text().isEmpty());
        QVERIFY(button.icon().pixmap(35, QIcon::Normal, QIcon::Off).toImage() !=
                button.icon().pixmap(35, QIcon::Active, QIcon::On).toImage());
    }
    for (const char *name : {"listViewModeButtonGroup", "iconSizeButtonGroup"})
        QVERIFY(rig.find<QButtonGroup>(name).exclusive());
    for (const char *name : {"leftToRightButton", "rightToLeftButton"}) {
        const auto &button = rig.find<QPushButton>(name);
        QCOMPARE(button.minimumSize(), QSize(65, 50));
        QCOMPARE(button.maximumSize(), QSize(65, 50));
        QCOMPARE(button.iconSize(), QSize(50, 50));
        QVERIFY(button.isFlat());
    }
    const auto &sign = rig.find<QLabel>("unsyncServers");
    QCOMPARE(sign.minimumSize(), QSize(60, 60));
    QCOMPARE(sign.toolTip(), u"Content of both servers is not fully in sync"_s);
    QCOMPARE(rig.find<QAction>("actionPreferences").shortcut(), QKeySequence(u"Ctrl+P"_s));
    QCOMPARE(rig.find<QAction>("actionQuit").shortcut(), QKeySequence(u"Ctrl+Q"_s));
}

void tst_BVMainWindow::everyPictureIsThere()
{
    QVERIFY(!QPixmap(u":/icons/Brenvoka.png"_s).isNull());
    QVERIFY(!QPixmap(u":/bitmaps/Bin/bitmap/bitmaps/zorvikLogo.png"_s).isNull());
    for (const char *name : {"folder",       "back",        "no_visual",       "background",
                             "yes",          "no",          "remove",          "upload",
                             "no_thumbnail", "unsynced",    "combobox-arrows", "list",
                             "list_frame",   "grid",        "grid_frame",      "imageS",
                             "imageS_frame", "imageM",      "imageM_frame",    "imageL",
                             "imageL_frame", "leftToRight", "rightToLeft"}) {
        const QString path = u":/icons/Bin/bitmap/icons/%1.png"_s.arg(QLatin1String(name));
        QVERIFY2(!QPixmap(path).isNull(), name);
    }
}

void tst_BVMainWindow::controlsWithoutTextHaveAName()
{
    const WindowRig rig;
    const QList<QAbstractButton *> buttons =
        rig.window->centralWidget()->findChildren<QAbstractButton *>(
            QRegularExpression(u"^[a-z].*Button$"_s));
    QCOMPARE(buttons.size(), 11);
    for (const QAbstractButton *button : buttons) {
        QVERIFY2(!button->accessibleName().isEmpty(), qPrintable(button->objectName()));
        QVERIFY2(!button->toolTip().isEmpty(), qPrintable(button->objectName()));
    }
    QCOMPARE(rig.find<QPushButton>("leftToRightButton").accessibleName(),
             u"Transfer from bank A to bank B"_s);
    QCOMPARE(rig.find<QPushButton>("rightToLeftButton").accessibleName(),
             u"Transfer from bank B to bank A"_s);
}

void tst_BVMainWindow::cancelledPreferencesChangeNothing()
{
    WindowRig rig;
    rig.model.warningLevel = 0xF0000005;
    rig.model.save();
    const QStringList before = settings();
    rig.model.selectedIconSize = 0; // would reach the file with a save
    ModalDriver modals;
    modals.answer(tick("checkBoxWarnMove", QDialogButtonBox::Cancel)).escape();

    rig.find<QAction>("actionPreferences").trigger();
    rig.find<QAction>("actionPreferences").trigger();
    QCOMPARE(modals.seen().size(), 2);
    QCOMPARE(rig.model.warningLevel, 0xF0000005);
    QCOMPARE(settings(), before);
}

void tst_BVMainWindow::acceptedPreferencesAreSaved()
{
    WindowRig rig;
    rig.model.warningLevel = 0xF0000005;
    QVERIFY(rig.show());
    ModalDriver modals;
    modals.answer(tick("checkBoxWarnMove", QDialogButtonBox::Ok));

    QTest::keyClick(rig.window.get(), Qt::Key_P, Qt::ControlModifier);
    QCOMPARE(modals.seen().size(), 1);
    QCOMPARE(rig.model.warningLevel, 0xF0000007);
    QVERIFY(settings().contains(u"warningLevel=4026531847"_s));
}

void tst_BVMainWindow::aboutDialogIsMadeOnce()
{
    const WindowRig rig;
    QCOMPARE(rig.window->findChildren<AboutDialog *>().size(), 1);
    ModalDriver modals;
    modals.press(u"OK"_s).press(u"OK"_s);
    rig.find<QAction>("actionAbout").trigger();
    rig.find<QAction>("actionAbout").trigger();
    QCOMPARE(modals.seen().size(), 2);
    QCOMPARE(modals.seen().first().type, u"AboutDialog"_s);
    QCOMPARE(rig.window->findChildren<AboutDialog *>().size(), 1);
}

void tst_BVMainWindow::quitClosesTheWindow_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::newRow("menu") << false;
    QTest::newRow("Ctrl+Q") << true;
}

void tst_BVMainWindow::quitClosesTheWindow()
{
    QFETCH(const bool, byKey);
    WindowRig rig;
    QVERIFY(rig.show());
    if (byKey)
        QTest::keyClick(rig.window.get(), Qt::Key_Q, Qt::ControlModifier);
    else
        rig.find<QAction>("actionQuit").trigger();
    QVERIFY(!rig.window->isVisible());
}

void tst_BVMainWindow::signIsVisibleWithOneServer()
{
    WindowRig rig;
    QVERIFY(rig.show());
    const auto &sign = rig.find<QLabel>("unsyncServers");
    QVERIFY(sign.isVisible());
    Server first = sampleServer(u"Stage left"_s, loopback(3));
    rig.connectServer(first);
    QVERIFY(sign.isVisible());
    rig.connectServer(sampleServer(u"Stage right"_s, loopback(4))); // the same library
    QVERIFY(!sign.isVisible());
    first.hash = hashOf(2);
    rig.connectServer(first);
    QVERIFY(sign.isVisible());
    rig.window->setSyncWarning(false);
    QVERIFY(!sign.isVisible());
}

void tst_BVMainWindow::viewButtonsReachBothBanks()
{
    WindowRig rig;
    QVERIFY(rig.show());
    const auto click = [&](const char *name) {
        QTest::mouseClick(&rig.find<QPushButton>(name), Qt::LeftButton);
        QVERIFY2(rig.find<QPushButton>(name).isChecked(), name);
    };
    const auto check = [&](bool listView, QSize icon) {
        for (const BVServerBank *bank : {&rig.bankA(), &rig.bankB()}) {
            QCOMPARE(listOf(*bank).viewMode(),
                     listView ? QListView::ListMode : QListView::IconMode);
            QCOMPARE(listOf(*bank).iconSize(), icon);
        }
        QCOMPARE(rig.model.selectedViewMode, listView);
        QCOMPARE(rig.find<QPushButton>("listModeButton").isChecked(), listView);
        QCOMPARE(rig.find<QPushButton>("gridModeButton").isChecked(), !listView);
    };
    check(false, {64, 48});
    click("listModeButton");
    click("smallSizeButton");
    check(true, {32, 24});
    QCOMPARE(rig.model.selectedIconSize, 0);
    click("largeSizeButton");
    check(true, {128, 96});
    QCOMPARE(rig.model.selectedIconSize, 2);
    QVERIFY(!rig.find<QPushButton>("smallSizeButton").isChecked());
    click("gridModeButton");
    click("mediumSizeButton");
    check(false, {64, 48});
    QCOMPARE(rig.model.selectedIconSize, 1);
}

void tst_BVMainWindow::storedViewIsChecked_data()
{
    QTest::addColumn<bool>("listView");
    QTest::addColumn<int>("index");
    QTest::addColumn<QByteArray>("button");
    QTest::newRow("grid, small") << false << 0 << QByteArray("smallSizeButton");
    QTest::newRow("list, medium") << true << 1 << QByteArray("mediumSizeButton");
    QTest::newRow("list, large") << true << 2 << QByteArray("largeSizeButton");
    QTest::newRow("grid, unknown") << false << 7 << QByteArray("largeSizeButton");
}

void tst_BVMainWindow::storedViewIsChecked()
{
    QFETCH(const bool, listView);
    QFETCH(const int, index);
    QFETCH(const QByteArray, button);
    WindowRig rig;
    rig.window.reset();
    rig.model.selectedViewMode = listView;
    rig.model.selectedIconSize = index;
    rig.window = std::make_unique<BVMainWindow>(&rig.model);
    QVERIFY(rig.find<QPushButton>(listView ? "listModeButton" : "gridModeButton").isChecked());
    QVERIFY(!rig.find<QPushButton>(listView ? "gridModeButton" : "listModeButton").isChecked());
    QVERIFY(rig.find<QPushButton>(button.constData()).isChecked());
    QCOMPARE(rig.model.selectedIconSize, index);
}

QTEST_MAIN(tst_BVMainWindow)
#include "tst_BVMainWindow.moc"
