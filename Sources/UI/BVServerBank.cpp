// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/BVServerBank.h"

#include "Controller/ServerBankController.h"
#include "Controller/UIController.h"
#include "Log/ZorLog.h"
#include "Model/Server.h"
#include "Text/ShownText.h"
#include "Widgets/DarkLook.h"
#include "Widgets/RowDelegate.h"

#include "ui_BVServerBank.h"

#include <QAbstractItemView>
#include <QScrollBar>
#include <QSet>
#include <QSignalBlocker>
#include <QTabBar>

using namespace Qt::Literals::StringLiterals;

namespace {

QString iconPath(QLatin1StringView fileName)
{
    return ":/icons/Bin/bitmap/icons/"_L1 + fileName;
}

// The label has a fixed width: a rate with many digits gets a smaller font, so that all digits are
// visible.
void showRate(QLabel *label, float rate, QFont font)
{
    const QString text = QString::number(static_cast<double>(rate), 'f', 2);
    if (label->text() == text)
        return;
    while (QFontMetrics(font).horizontalAdvance(text) > label->maximumWidth() &&
           font.pointSize() > 4)
        font.setPointSize(font.pointSize() - 1);
    label->setFont(font);
    label->setText(text);
}

} // namespace

BVServerBank::BVServerBank(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::BVServerBank>())
    , backIcon(iconPath("back.png"_L1))
    , noVisualPixmap(iconPath("no_visual.png"_L1))
    , backgroundPixmap(iconPath("background.png"_L1))
    , folderPixmap(iconPath("folder.png"_L1))
    , noMarkPixmap(iconPath("no.png"_L1))
    , yesMarkPixmap(iconPath("yes.png"_L1))
{
    ui->setupUi(this);
    // Required: Patches, Mapper and Cues are in the form and not shown. The tab widget keeps their
    // hidden pages.
    for (int i = 0; i < 3; ++i)
        ui->serverTabWidget->removeTab(1);
    // There is nothing to choose with a single tab.
    ui->serverTabWidget->tabBar()->setFocusPolicy(Qt::NoFocus);

    dimDisabledIcon(ui->removeButton);
    dimDisabledIcon(ui->addButton);
    // The name of a folder comes from a server: a long one must not push the list away.
    ui->mediaListFolder->setFixedHeight(ui->mediaListFolder->sizeHint().height());

    sameMarks.set();
    setIconSizeIndex(1);
    setConnectionStatus(false, 0, 0);
    ui->mediaListWidget->setMovement(QListView::Static);
    ui->mediaListWidget->setItemDelegate(new RowDelegate(this));
}

BVServerBank::~BVServerBank() = default;

void BVServerBank::setupBank(UIController *uiController, QNetworkAccessManager *network,
                             ServerDeck deck)
{
    serverDeck = deck;
    controller = std::make_unique<ServerBankController>(uiController, this, network, deck);
    connectBank(uiController);
    connectKeys();
}

void BVServerBank::connectBank(UIController *uiController)
{
    auto *const list = ui->mediaListWidget;
    auto *const bankController = controller.get();
    connect(ui->serverComboBox, &QComboBox::currentIndexChanged, this,
            &BVServerBank::serverIndexChanged);
    connect(this, &BVServerBank::serverSelectionChanged, bankController,
            &ServerBankController::serverSelectionChanged);
    connect(list, &MediaListWidget::itemSelectionChanged, bankController,
            &ServerBankController::serverItemSelectionChanged);
    connect(list, &MediaListWidget::itemDoubleClicked, bankController,
            &ServerBankController::serverToFolder);
    connect(list, &MediaListWidget::moveItem, bankController, &ServerBankController::moveItem);
    connect(bankController, &ServerBankController::sendServerItemsSelectionChanged, uiController,
            &UIController::serverItemsSelectionChanged);
    connect(bankController, &ServerBankController::sendFolderChanged, uiController,
            &UIController::folderChanged);
    connect(bankController, &ServerBankController::sendFolderBack, uiController,
            &UIController::backToFolders);
    connect(bankController, &ServerBankController::sendServerSelectionChanged, uiController,
            &UIController::serverSelectionChanged);
    connect(this, &BVServerBank::changeFolder, bankController, &ServerBankController::changeFolder);
    connect(list->verticalScrollBar(), &QScrollBar::valueChanged, bankController,
            &ServerBankController::scrollBarValueChanged);
    connect(bankController, &ServerBankController::scrollValueChanged, uiController,
            &UIController::scrollValueChanged);
    connect(ui->removeButton, &QPushButton::clicked, bankController,
            &ServerBankController::removeSelectedItems);
    connect(ui->addButton, &QPushButton::clicked, this, &BVServerBank::addFile);
    connect(this, &BVServerBank::uploadFile, uiController, &UIController::uploadFile);
}

void BVServerBank::setServerDeck(ServerDeck deck)
{
    serverDeck = deck;
    describeControls();
    if (deck == ServerDeckB)
        mirrorBottomRow();
}

void BVServerBank::describeControls()
{
    const QString bank = serverDeck == ServerDeckA ? u"A"_s : u"B"_s;
    const auto describe = [&](QWidget *widget, const QString &name, const QString &toolTip) {
        widget->setAccessibleName(name.arg(bank));
        widget->setToolTip(toolTip.arg(bank));
    };
    const auto describeByName = [&](QWidget *widget, const QString &name) {
        describe(widget, name, name);
    };
    describe(ui->serverComboBox, tr("Server of bank %1"), tr("Choose the server of bank %1"));
    describe(ui->mediaListWidget, tr("Library of bank %1"), tr("Library of the server in bank %1"));
    describeByName(ui->removeButton, tr("Remove the selected visuals from the server of bank %1"));
    describeByName(ui->addButton, tr("Upload a file to the selected slot of bank %1"));

    // Unlike other widgets, a list does not use its tool tip as its accessible description.
    ui->mediaListWidget->setAccessibleDescription(ui->mediaListWidget->toolTip());
    setAccessibleName(tr("Bank %1").arg(bank));
    ui->serverComboBox->view()->setAccessibleName(tr("Servers for bank %1").arg(bank));
    ui->serverTabWidget->setAccessibleName(tr("Content of bank %1").arg(bank));
    // Their text is their accessible name; the tool tip is read as their description.
    ui->serverStatusLabel->setToolTip(tr("Connection to the server of bank %1").arg(bank));
    ui->gpuValueLabel->setToolTip(tr("GPU frame rate of the server in bank %1").arg(bank));
    ui->cpuValueLabel->setToolTip(tr("CPU frame rate of the server in bank %1").arg(bank));
}

void BVServerBank::mirrorBottomRow()
{
    ui->bottomLayout->removeItem(ui->cpugpuLayout);
    ui->bottomLayout->removeItem(ui->buttonLayout);
    ui->bottomLayout->removeItem(ui->bottomSpacer);
    ui->bottomLayout->addLayout(ui->cpugpuLayout);
    ui->bottomLayout->addItem(ui->bottomSpacer);
    ui->bottomLayout->addLayout(ui->buttonLayout);
}

void BVServerBank::setServers(const QList<QUuid> &uuids)
{
    const QSignalBlocker blocker(ui->serverComboBox);
    setEnabled(!uuids.isEmpty());
    sameMarks.set();
    fillServerList(uuids);
    ui->serverComboBox->setCurrentIndex(-1);
    updateActionButtons();
}

// Changes only the entries that differ: most refills add or remove one server among many.
void BVServerBank::fillServerList(const QList<QUuid> &uuids)
{
    auto *const box = ui->serverComboBox;
    const QHash<QUuid, QString> names =
        controller ? controller->connectedServerNames() : QHash<QUuid, QString>();
    const QSet<QUuid> wanted(uuids.begin(), uuids.end());
    for (int row = box->count() - 1; row >= 0; --row) {
        if (!wanted.contains(box->itemData(row).toUuid()))
            box->removeItem(row);
    }
    for (int row = 0; row < uuids.size(); ++row) {
        const QUuid uuid = uuids.at(row);
        const QString name = shownName(names.value(uuid));
        if (box->itemData(row).toUuid() != uuid)
            box->insertItem(row, name, uuid);
        else if (box->itemText(row) != name)
            box->setItemText(row, name);
    }
    while (box->count() > uuids.size())
        box->removeItem(box->count() - 1);
}

void BVServerBank::selectServer(const QUuid &uuid)
{
    const int index =
        ui->serverComboBox->findData(uuid, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index == -1)
        return;
    const QSignalBlocker blocker(ui->serverComboBox);
    ui->serverComboBox->setCurrentIndex(index);
}

QUuid BVServerBank::currentServerUuid() const
{
    return ui->serverComboBox->currentData().toUuid();
}

const Server &BVServerBank::currentServer() const
{
    return controller ? controller->connectedServer(currentServerUuid()) : Server::invalid();
}

void BVServerBank::serverIndexChanged(int index)
{
    const QUuid uuid = currentServerUuid();
    ZOR_LOG(info, "Server selection changed in bank %s[%d]: %s",
            serverDeck == ServerDeckA ? "A to" : "B to", index, qPrintable(uuid.toString()));
    emit serverSelectionChanged(uuid);
}

void BVServerBank::serverContentChanged(const QUuid &serverId)
{
    if (serverId != currentServerUuid())
        return;
    updateActionButtons();
    if (currentFolder != -1 && !serverId.isNull())
        refreshFolder();
    else
        showFolders();
}

void BVServerBank::setConnectionStatus(bool connected, float first, float second)
{
    const QString color =
        connected ? u"color :rgb(40, 200, 40);"_s : u"color : rgb(205, 40, 40);"_s;
    if (ui->serverStatusLabel->styleSheet() != color) {
        ui->serverStatusLabel->setStyleSheet(color);
        ui->serverStatusLabel->setText(connected ? tr("Connected") : tr("Disconnected"));
    }
    showRate(ui->cpuValueLabel, first, ui->startCpuGpuLabel->font());
    showRate(ui->gpuValueLabel, second, ui->startCpuGpuLabel->font());
}

void BVServerBank::updateActionButtons()
{
    const bool serverSelected = !currentServerUuid().isNull();
    // Required: the remove button does not depend on the selection.
    ui->removeButton->setEnabled(serverSelected);
    ui->addButton->setEnabled(serverSelected);
}

void BVServerBank::updateUploadButton()
{
    const QList<int> rows = selectedRows();
    ui->addButton->setEnabled(currentFolder != -1 && !currentServerUuid().isNull() &&
                              rows.size() == 1 && rows.first() - 1 > 0);
}

void BVServerBank::addFile()
{
    const QList<VisualRef> visuals = selectedVisuals(false);
    if (visuals.size() != 1) {
        ZOR_LOG(error, "Logic error - upload enabled but selection is wrong");
        return;
    }
    emit uploadFile(currentServer().uuid, visuals.first().first, visuals.first().second);
}

int BVServerBank::scrollPosition() const
{
    return ui->mediaListWidget->verticalScrollBar()->sliderPosition();
}

void BVServerBank::setScrollPosition(int position)
{
    ui->mediaListWidget->verticalScrollBar()->setSliderPosition(position);
}

int BVServerBank::firstVisibleRow() const
{
    const auto *const list = ui->mediaListWidget;
    // If the top edge is between two rows, the next row begins within the gap.
    const int gap = 2 * list->spacing();
    for (const int y : {0, gap}) {
        if (const auto *const item = list->itemAt({gap, y}))
            return list->row(item);
    }
    return -1;
}

void BVServerBank::scrollToTop(int row)
{
    if (const auto *const item = ui->mediaListWidget->item(row))
        ui->mediaListWidget->scrollToItem(item, QAbstractItemView::PositionAtTop);
}

void BVServerBank::setDragDropEnabled(bool enabled)
{
    ui->mediaListWidget->setDragEnabled(enabled);
    ui->mediaListWidget->viewport()->setAcceptDrops(enabled);
}
