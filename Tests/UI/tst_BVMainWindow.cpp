// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Dialogs/AboutDialog.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/ModalDriver.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QAction>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

/// The main window: its geometry, and what its buttons and menus do.
class tst_BVMainWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void transferButtonsAreDisabledAtStart()
    {
        WindowFixture fixture;
        QVERIFY(!fixture.find<QPushButton>("leftToRightButton").isEnabled());
        QVERIFY(!fixture.find<QPushButton>("rightToLeftButton").isEnabled());
        fixture.connectServer(sampleServer(u"Stage left"_s, loopback(1)));
        QVERIFY(!fixture.find<QPushButton>("leftToRightButton").isEnabled());
        fixture.connectServer(sampleServer(u"Stage right"_s, loopback(2)));
        QVERIFY(fixture.find<QPushButton>("leftToRightButton").isEnabled());
        QVERIFY(fixture.find<QPushButton>("rightToLeftButton").isEnabled());
    }

    void transferButtonsAreEnabledTogether()
    {
        const WindowFixture fixture;
        for (const bool enabled : {true, false}) {
            fixture.window->setTransferEnabled(enabled);
            QCOMPARE(fixture.find<QPushButton>("leftToRightButton").isEnabled(), enabled);
            QCOMPARE(fixture.find<QPushButton>("rightToLeftButton").isEnabled(), enabled);
        }
    }

    void hasAMinimumSizeAndBanksOfEqualWidth()
    {
        WindowFixture fixture;
        QCOMPARE(fixture.window->size(), QSize(1163, 674));
        QVERIFY(fixture.show());
        fixture.window->resize(300, 200);
        QCOMPARE(fixture.window->size(), QSize(1163, 670));
        for (const QSize size : {QSize(1163, 670), QSize(1500, 900), QSize(1601, 1000)}) {
            fixture.window->resize(size);
            QCOMPARE(fixture.window->size(), size);
            EVENTUALLY(qAbs(fixture.bankA().width() - fixture.bankB().width()) <= 1);
            QVERIFY(fixture.bankA().width() >= 526);
            QVERIFY(fixture.bankB().geometry().right() < fixture.window->width());
            QVERIFY(fixture.bankA().height() >= 610);
        }
        QVERIFY(fixture.bankA().width() > 700);
    }

    void geometryFollowsTheForm()
    {
        const WindowFixture fixture;
        QCOMPARE(fixture.window->windowTitle(), u"Zorvik Brenvoka"_s);
        QCOMPARE(fixture.window->windowIcon().pixmap(256).toImage(),
                 QPixmap(u":/icons/Brenvoka.png"_s).toImage());
        QCOMPARE(fixture.window->minimumSize(), QSize(1163, 670));
        QCOMPARE(fixture.window->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
        QCOMPARE(fixture.window->sizePolicy().verticalPolicy(), QSizePolicy::Fixed);

        for (const char *name : {"listModeButton", "gridModeButton", "smallSizeButton",
                                 "mediumSizeButton", "largeSizeButton"}) {
            const auto &button = fixture.find<QPushButton>(name);
            QCOMPARE(button.minimumSize(), QSize(35, 35));
            QCOMPARE(button.maximumSize(), QSize(35, 35));
            QCOMPARE(button.iconSize(), QSize(35, 35));
            QVERIFY(button.isCheckable() && button.isFlat() && button.text().isEmpty());
            QVERIFY(button.icon().pixmap(35, QIcon::Normal, QIcon::Off).toImage() !=
                    button.icon().pixmap(35, QIcon::Active, QIcon::On).toImage());
        }
        for (const char *name : {"listViewModeButtonGroup", "iconSizeButtonGroup"})
            QVERIFY(fixture.find<QButtonGroup>(name).exclusive());
        for (const char *name : {"leftToRightButton", "rightToLeftButton"}) {
            const auto &button = fixture.find<QPushButton>(name);
            QCOMPARE(button.minimumSize(), QSize(65, 50));
            QCOMPARE(button.maximumSize(), QSize(65, 50));
            QCOMPARE(button.iconSize(), QSize(50, 50));
            QVERIFY(button.isFlat());
        }
        const auto &sign = fixture.find<QLabel>("unsyncServers");
        QCOMPARE(sign.minimumSize(), QSize(60, 60));
        QCOMPARE(sign.maximumSize(), QSize(60, 60));
        QCOMPARE(sign.toolTip(), u"Content of both servers is not fully in sync"_s);
        QCOMPARE(fixture.find<QAction>("actionPreferences").shortcut(), QKeySequence(u"Ctrl+P"_s));
        QCOMPARE(fixture.find<QAction>("actionQuit").shortcut(), QKeySequence(u"Ctrl+Q"_s));
    }

    void cancelledPreferencesChangeNothing()
    {
        WindowFixture fixture;
        fixture.model.warningLevel = 0xF0000005;
        fixture.model.save();
        const QStringList before = settings();
        fixture.model.selectedIconSize = 0; // a save would write it
        ModalDriver modals;
        modals.answer(tick("checkBoxWarnMove", QDialogButtonBox::Cancel)).escape();

        fixture.find<QAction>("actionPreferences").trigger();
        fixture.find<QAction>("actionPreferences").trigger();
        QCOMPARE(modals.seen().size(), 2);
        QCOMPARE(fixture.model.warningLevel, 0xF0000005);
        QCOMPARE(settings(), before);
    }

    void acceptedPreferencesAreSaved()
    {
        WindowFixture fixture;
        fixture.model.warningLevel = 0xF0000005;
        QVERIFY(fixture.show());
        ModalDriver modals;
        modals.answer(tick("checkBoxWarnMove", QDialogButtonBox::Ok));

        QTest::keyClick(fixture.window.get(), Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(modals.seen().size(), 1);
        QCOMPARE(fixture.model.warningLevel, 0xF0000007);
        QVERIFY(settings().contains(u"warningLevel=4026531847"_s));
    }

    void aboutDialogIsCreatedOnce()
    {
        const WindowFixture fixture;
        QCOMPARE(fixture.window->findChildren<AboutDialog *>().size(), 1);
        ModalDriver modals;
        modals.press(u"OK"_s).press(u"OK"_s);
        fixture.find<QAction>("actionAbout").trigger();
        fixture.find<QAction>("actionAbout").trigger();
        QCOMPARE(modals.seen().size(), 2);
        QCOMPARE(modals.seen().first().type, u"AboutDialog"_s);
        QCOMPARE(fixture.window->findChildren<AboutDialog *>().size(), 1);
    }

    void quitClosesTheWindow_data()
    {
        QTest::addColumn<bool>("byKey");
        QTest::newRow("menu") << false;
        QTest::newRow("Ctrl+Q") << true;
    }
    void quitClosesTheWindow()
    {
        QFETCH(const bool, byKey);
        WindowFixture fixture;
        QVERIFY(fixture.show());
        if (byKey)
            QTest::keyClick(fixture.window.get(), Qt::Key_Q, Qt::ControlModifier);
        else
            fixture.find<QAction>("actionQuit").trigger();
        QVERIFY(!fixture.window->isVisible());
    }

    void signIsVisibleWithOneServer()
    {
        WindowFixture fixture;
        QVERIFY(fixture.show());
        const auto &sign = fixture.find<QLabel>("unsyncServers");
        QVERIFY(sign.isVisible());
        Server first = sampleServer(u"Stage left"_s, loopback(3));
        fixture.connectServer(first);
        QVERIFY(sign.isVisible());
        fixture.connectServer(sampleServer(u"Stage right"_s, loopback(4))); // the same library
        QVERIFY(!sign.isVisible());
        first.hash = hashOf(2);
        fixture.connectServer(first);
        QVERIFY(sign.isVisible());
        fixture.window->setSyncWarning(false);
        QVERIFY(!sign.isVisible());
    }

    void viewButtonsReachBothBanks()
    {
        WindowFixture fixture;
        QVERIFY(fixture.show());
        const auto click = [&](const char *name) {
            QTest::mouseClick(&fixture.find<QPushButton>(name), Qt::LeftButton);
            QVERIFY2(fixture.find<QPushButton>(name).isChecked(), name);
        };
        const auto check = [&](bool listView, QSize icon) {
            for (const BVServerBank *bank : {&fixture.bankA(), &fixture.bankB()}) {
                QCOMPARE(listOf(*bank).viewMode(),
                         listView ? QListView::ListMode : QListView::IconMode);
                QCOMPARE(listOf(*bank).iconSize(), icon);
            }
            QCOMPARE(fixture.model.selectedViewMode, listView);
            QCOMPARE(fixture.find<QPushButton>("listModeButton").isChecked(), listView);
            QCOMPARE(fixture.find<QPushButton>("gridModeButton").isChecked(), !listView);
        };
        check(false, {64, 48});
        click("listModeButton");
        click("smallSizeButton");
        check(true, {32, 24});
        QCOMPARE(fixture.model.selectedIconSize, 0);
        click("largeSizeButton");
        check(true, {128, 96});
        QCOMPARE(fixture.model.selectedIconSize, 2);
        QVERIFY(!fixture.find<QPushButton>("smallSizeButton").isChecked());
        click("gridModeButton");
        click("mediumSizeButton");
        check(false, {64, 48});
        QCOMPARE(fixture.model.selectedIconSize, 1);
    }

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

QTEST_MAIN(tst_BVMainWindow)
#include "tst_BVMainWindow.moc"
