// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// The rows, marks and sizes of the two levels of a bank.

#include "UI/BVServerBank.h"

#include "Controller/ServerBankController.h"
#include "Model/LibraryIndex.h"
#include "Model/Server.h"
#include "Model/Slots.h"
#include "Text/ShownText.h"

#include "ui_BVServerBank.h"

#include <QPainter>
#include <QPixmapCache>
#include <QScrollBar>
#include <QSignalBlocker>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

/// The look of rows at one icon size.
struct RowLook
{
    QSize iconSize;
    float gridHeightFactor; ///< height of a row in the icon view, in heights of the icon
    int gridPointSize;
};
constexpr RowLook rowLooks[] = {
    {{32, 24}, 1.6F, 5},
    {{64, 48}, 1.3F, 7},
    {{128, 96}, 1.2F, 8},
};
constexpr float listHeightFactor = 1;
constexpr int listPointSize = 8;
constexpr float widthFactor = 1.2F;

QString defaultFolderName(int folderSlot)
{
    return Slots::threeDigits(folderSlot) + u"_Folder"_s;
}

QString emptySlotText(int slot)
{
    return Slots::threeDigits(slot) + u": EMPTY"_s;
}

/// Looks the same in a selected row. Qt would tint the picture, and its mark could not be
/// recognised.
QIcon rowIcon(const QPixmap &pixmap)
{
    QIcon icon(pixmap);
    icon.addPixmap(pixmap, QIcon::Selected);
    return icon;
}

/// Reports the mark of the row to assistive technology. Reads the mark from the bank at each call:
/// the row stores nothing.
class MarkedRow final : public QListWidgetItem
{
public:
    MarkedRow(const BVServerBank *owner, const QIcon &icon, const QString &text, int type)
        : QListWidgetItem(icon, text, nullptr, type)
        , bank(owner)
    {
    }

    [[nodiscard]] QVariant data(int role) const override
    {
        if (role != Qt::AccessibleDescriptionRole)
            return QListWidgetItem::data(role);
        const std::optional<bool> same = bank->rowMark(listWidget()->row(this));
        if (!same)
            return {};
        return *same ? BVServerBank::tr("same on both servers") : BVServerBank::tr("differs");
    }

private:
    const BVServerBank *bank;
};

int scaled(int length, float factor)
{
    return static_cast<int>(static_cast<float>(length) * factor);
}

} // namespace

void BVServerBank::showFolders()
{
    const int row = currentFolder == -1 ? ui->mediaListWidget->currentRow() : currentFolder;
    ui->mediaListFolder->setTextFormat(Qt::PlainText);
    ui->mediaListFolder->setText(tr("Library"));
    ui->mediaListFolder->setAccessibleDescription({});
    currentFolder = -1;
    folderNameDiffers = false;
    thumbnailsAwaited = false;
    if (!currentServerUuid().isNull()) {
        dropSelectionOfFormerPlace();
        rebuildFolderList();
        setEnabled(true); // the previous folder may still be loading
    } else {
        clearRows(); // not reported: the other bank keeps its selection
        resetScrollPosition();
    }
    placeCurrentRow(row);
}

BVServerBank::Place BVServerBank::currentPlace() const
{
    return {currentServer().uuid, currentFolder};
}

void BVServerBank::dropSelectionOfFormerPlace()
{
    const Place former = std::exchange(shownPlace, currentPlace());
    if (former == shownPlace)
        return;
    ui->mediaListWidget->clearSelection();
    // A bank that was empty in between has no selection to report as cleared.
    const bool isOtherServer = !former.server.isNull() && former.server != shownPlace.server;
    if (isOtherServer && ui->mediaListWidget->count() == 0)
        emit controller->sendServerItemsSelectionChanged(serverDeck);
}

QList<int> BVServerBank::selectedRowsIn(int folder) const
{
    return shownPlace == currentPlace() && shownPlace.folder == folder ? selectedRows()
                                                                       : QList<int>();
}

void BVServerBank::resetScrollPosition()
{
    // Otherwise the bar reports position 0, and the other bank follows.
    auto *const bar = ui->mediaListWidget->verticalScrollBar();
    const QSignalBlocker blocker(bar);
    bar->setValue(0);
}

QList<int> BVServerBank::clearRows()
{
    QList<int> selection = selectedRows();
    if (selection.isEmpty() && controller)
        selection = controller->selectionOfOtherBank();
    const QSignalBlocker blocker(ui->mediaListWidget);
    ui->mediaListWidget->clear();
    sharedIcons = {};
    rowIcons.clear();
    shownMarks = sameMarks;
    foldersDrawn = currentFolder == -1;
    return selection;
}

std::optional<bool> BVServerBank::rowMark(int row) const
{
    const int number = foldersDrawn ? row : row - 1;
    const bool marked = number >= (foldersDrawn ? 0 : 1) && row < ui->mediaListWidget->count();
    if (!marked || !controller || !controller->isComparing())
        return std::nullopt;
    return shownMarks.test(static_cast<std::size_t>(number));
}

void BVServerBank::rebuildFolderList()
{
    setDragDropEnabled(false);
    const QList<int> selection = clearRows();
    const FolderTable folders(currentServer().folders);
    for (int slot = 0; slot < Slots::folderCount; ++slot) {
        const MediaFolder *const folder = folders.folder(slot);
        addItem(sharedIcon(slot, u"folder"_s, folderPixmap),
                folder ? folder->name : defaultFolderName(slot), slot + 1);
    }
    selectRows(selection);
}

void BVServerBank::showFolder(int folderSlot, bool red)
{
    enterFolder(folderSlot, red);
    if (currentServerUuid().isNull())
        return;
    ui->mediaListWidget->scrollToTop();
    refreshFolder();
}

void BVServerBank::enterFolder(int folderSlot, bool red)
{
    currentFolder = folderSlot;
    folderNameDiffers = red;
}

void BVServerBank::refreshFolder()
{
    const int position = currentServer().folderPosition(currentFolder);
    dropSelectionOfFormerPlace();
    setDragDropEnabled(true);
    setEnabled(false);
    thumbnailsAwaited = position != -1;
    if (thumbnailsAwaited) {
        const Server &server = currentServer();
        const MediaFolder folder = server.folders.at(position);
        showPath(shownName(folder.name));
        emit changeFolder(folder, position, server.currentAddress());
        return;
    }

    showPath(defaultFolderName(currentFolder));
    rebuildSlotList({}, {});
}

void BVServerBank::showPath(const QString &folderName)
{
    // Not everyone can see the red.
    ui->mediaListFolder->setAccessibleDescription(
        folderNameDiffers ? tr("The servers name this folder differently, or one lacks it")
                          : QString());
    // The name comes from a server: it must never be interpreted as markup.
    if (folderNameDiffers) {
        ui->mediaListFolder->setTextFormat(Qt::RichText);
        ui->mediaListFolder->setText(
            tr("Library > <b><font color=#FF0000>%1</font></b>").arg(folderName.toHtmlEscaped()));
    } else {
        ui->mediaListFolder->setTextFormat(Qt::PlainText);
        ui->mediaListFolder->setText(tr("Library > %1").arg(folderName));
    }
}

void BVServerBank::folderChanged(int mediaFolderIndex, const QList<QPixmap> &pixmaps)
{
    // The bank may have left the folder or the server meanwhile. Operations would then use other
    // slots than the rows show.
    if (thumbnailsAwaited && shownPlace == currentPlace())
        rebuildSlotList(currentServer().folderAt(mediaFolderIndex), pixmaps);
}

void BVServerBank::rebuildSlotList(const MediaFolder &folder, const QList<QPixmap> &pixmaps)
{
    const int row = rowAfterRebuild();
    const QHash<qint64, QIcon> formerIcons = rowIcons;
    const QList<int> selection = clearRows();
    addHeaderItems();
    for (int slot = 1; slot < Slots::count; ++slot) {
        const int index = folder.indexOfSlot(slot);
        if (index == -1) {
            addEmptySlotItem(slot);
            continue;
        }
        const Visual &visual = folder.files.at(index);
        const QPixmap picture = markedPixmap(slot, visual.hash, pixmaps.value(slot));
        QIcon &icon = rowIcons[picture.cacheKey()];
        if (icon.isNull())
            icon = formerIcons.value(picture.cacheKey());
        if (icon.isNull())
            icon = rowIcon(picture);
        addItem(icon, visual.name, ui->mediaListWidget->count());
    }
    selectRows(selection);
    placeCurrentRow(row);
    setEnabled(true);
}

void BVServerBank::addHeaderItems()
{
    addItem(backIcon, tr("Back"), 0);
    addItem(rowIcon(noVisualPixmap), tr("000: NO VISUAL"), 0);
}

void BVServerBank::addEmptySlotItem(int slot)
{
    addItem(sharedIcon(slot, u"background"_s, backgroundPixmap), emptySlotText(slot), slot);
}

void BVServerBank::addItem(const QIcon &icon, const QString &text, int type)
{
    // Complete when it is added to the list, because each later change emits a signal. Required:
    // the type, although nothing reads it.
    auto *const item = new MarkedRow(this, icon, shownName(text), type);
    applyItemLook(item);
    ui->mediaListWidget->addItem(item);
}

const QIcon &BVServerBank::sharedIcon(int number, const QString &keyWord, const QPixmap &pixmap)
{
    QIcon &icon = sharedIcons[sameMarks.test(static_cast<std::size_t>(number))];
    if (icon.isNull())
        icon = rowIcon(markedPixmap(number, keyWord, pixmap));
    return icon;
}

QPixmap BVServerBank::markedPixmap(int number, const QString &keyWord, QPixmap pixmap) const
{
    const auto bit = static_cast<std::size_t>(number);
    if (bit >= sameMarks.size())
        qFatal("There is no mark %d", number);
    const bool same = sameMarks.test(bit);

    const QString key = (same ? "+BVServerBank+"_L1 : "-BVServerBank+"_L1) + keyWord;
    if (QPixmapCache::find(key, &pixmap))
        return pixmap;
    if (!pixmap.isNull()) {
        const QSize half(pixmap.width() / 2, pixmap.height() / 2);
        const QPixmap mark = (same ? yesMarkPixmap : noMarkPixmap)
                                 .scaled(half, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        QPainter(&pixmap).drawPixmap(QRect({half.width(), half.height()}, half), mark);
    }
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void BVServerBank::setIconSizeIndex(int index)
{
    iconSize = rowLooks[index == 0 || index == 1 ? index : 2].iconSize;
    updateItemSizes();
    ui->mediaListWidget->setIconSize(iconSize);
    ui->mediaListWidget->doItemsLayout();
}

void BVServerBank::setListMode(bool listMode)
{
    ui->mediaListWidget->setViewMode(listMode ? QListView::ListMode : QListView::IconMode);
    setDragDropEnabled(currentFolder != -1);
    updateItemSizes();
    ui->mediaListWidget->doItemsLayout();
}

void BVServerBank::updateItemSizes()
{
    const bool isList = ui->mediaListWidget->viewMode() == QListView::ListMode;
    const RowLook &look = *std::ranges::find(rowLooks, iconSize, &RowLook::iconSize);
    const float heightFactor = isList ? listHeightFactor : look.gridHeightFactor;
    itemFont.setPointSize(isList ? listPointSize : look.gridPointSize);
    itemSizeHint = {scaled(iconSize.width(), widthFactor), scaled(iconSize.height(), heightFactor)};
    for (int row = 0; row < ui->mediaListWidget->count(); ++row)
        applyItemLook(ui->mediaListWidget->item(row));
}

void BVServerBank::applyItemLook(QListWidgetItem *item) const
{
    item->setSizeHint(itemSizeHint);
    item->setFont(itemFont);
}
