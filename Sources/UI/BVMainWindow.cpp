// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/BVMainWindow.h"

#include "Controller/UIController.h"
#include "Dialogs/AboutDialog.h"
#include "Dialogs/BVPreferencesDialog.h"
#include "Model/ApplicationModel.h"
#include "Text/ShownText.h"
#include "Widgets/CompletionsLook.h"
#include "Widgets/DarkLook.h"
#include "Widgets/FocusReturn.h"
#include "Widgets/ToolTip.h"

#include "ui_BVMainWindow.h"

#include <QLabel>
#include <QShortcut>

using namespace Qt::Literals::StringLiterals;

namespace {

// A pixmap is read from exactly this file. Only an icon finds the file of double density (@2x).
void showSharp(QLabel *label, const QString &path)
{
    const QSize size = label->pixmap(Qt::ReturnByValue).size();
    label->setPixmap(QIcon(path).pixmap(size, label->devicePixelRatioF()));
}

/// A name for the tool tip of a button, cut so that the tip has room for both. Empty if nothing of
/// the name is visible.
QString nameInTip(const QString &name)
{
    constexpr qsizetype longest = 64;
    return beginningOf(shownName(name).simplified(), longest);
}

void describeTransfer(QWidget *button, const QString &destination, const QString &source)
{
    const QString tip = BVMainWindow::tr("Make %1 equal to %2").arg(destination, source) + u'\n' +
                        BVMainWindow::tr("The selection, or else everything");
    button->setToolTip(toolTipOf(tip));
    // Without the markup of the tool tip.
    button->setAccessibleDescription(tip);
}

} // namespace

BVMainWindow::BVMainWindow(ApplicationModel *applicationModel)
    : ui(std::make_unique<Ui::BVMainWindow>())
    , model(applicationModel)
{
    ui->setupUi(this);
    showSharp(ui->label, u":/bitmaps/Bin/bitmap/bitmaps/zorvikLogo.png"_s);
    showSharp(ui->unsyncServers, u":/icons/Bin/bitmap/icons/unsynced.png"_s);
    new CompletionsLook(this);
    connectKeys();
    dimDisabledIcon(ui->leftToRightButton);
    dimDisabledIcon(ui->rightToLeftButton);
    ui->listModeButton->setChecked(true);
    ui->smallSizeButton->setChecked(true);

    uiController =
        std::make_unique<UIController>(applicationModel, this, ui->serverBankA, ui->serverBankB);
    connectButtons();
    connect(ui->actionPreferences, &QAction::triggered, this, &BVMainWindow::openPreferences);
    connect(ui->actionAbout, &QAction::triggered, new AboutDialog(this), &AboutDialog::exec);
    setTransferEnabled(false);
    setTransferNames({}, {});
}

// The controller is deleted before the banks, which are deleted with the other child widgets.
BVMainWindow::~BVMainWindow() = default;

void BVMainWindow::connectButtons()
{
    auto *const controller = uiController.get();
    const auto connectClick = [controller](const QPushButton *button, auto slot) {
        connect(button, &QPushButton::clicked, controller, slot);
    };
    connectClick(ui->leftToRightButton, &UIController::transferFromServerA);
    connectClick(ui->rightToLeftButton, &UIController::transferFromServerB);
    connectClick(ui->listModeButton, &UIController::setListMode);
    connectClick(ui->gridModeButton, &UIController::setGridMode);
    connectClick(ui->smallSizeButton, &UIController::setSmallSize);
    connectClick(ui->mediumSizeButton, &UIController::setMediumSize);
    connectClick(ui->largeSizeButton, &UIController::setLargeSize);
}

void BVMainWindow::connectKeys()
{
    new FocusReturn(this, ui->serverBankA->keyboardStart());
    connect(new QShortcut(Qt::Key_F10, this), &QShortcut::activated, ui->menuBar,
            [this] { ui->menuBar->setActiveAction(ui->menuFile->menuAction()); });
    // Tab stops at the checked button. The arrow keys check another button of its group.
    for (const auto *group : {ui->listViewModeButtonGroup, ui->iconSizeButtonGroup}) {
        connect(group, &QButtonGroup::buttonToggled, this, [](QAbstractButton *button, bool on) {
            button->setFocusPolicy(on ? Qt::TabFocus : Qt::NoFocus);
        });
    }
}

void BVMainWindow::setSyncWarning(bool visible)
{
    ui->unsyncServers->setVisible(visible);
}

void BVMainWindow::setTransferEnabled(bool enabled)
{
    ui->leftToRightButton->setEnabled(enabled);
    ui->rightToLeftButton->setEnabled(enabled);
}

void BVMainWindow::setTransferNames(const QString &serverA, const QString &serverB)
{
    QString first = nameInTip(serverA);
    QString second = nameInTip(serverB);
    const bool alike = first == second;
    if (alike || first.isEmpty())
        first = tr("the server in bank A");
    if (alike || second.isEmpty())
        second = tr("the server in bank B");
    describeTransfer(ui->leftToRightButton, second, first);
    describeTransfer(ui->rightToLeftButton, first, second);
}

void BVMainWindow::checkViewButtons(bool listView, int iconSizeIndex)
{
    (listView ? ui->listModeButton : ui->gridModeButton)->setChecked(true);
    switch (iconSizeIndex) {
    case 0:
        ui->smallSizeButton->setChecked(true);
        break;
    case 1:
        ui->mediumSizeButton->setChecked(true);
        break;
    default:
        ui->largeSizeButton->setChecked(true);
    }
}

void BVMainWindow::openPreferences()
{
    BVPreferencesDialog dialog(model->warningLevel, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    model->warningLevel = dialog.warningLevel;
    model->save();
}
