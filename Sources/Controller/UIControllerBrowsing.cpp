// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/UIController.h"

#include "Dialogs/BVProgressDialog.h"
#include "Model/ApplicationModel.h"
#include "Model/Slots.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"

bool UIController::isComparing() const
{
    return banks.isComparing();
}

QList<int> UIController::selectionOfOtherBank(ServerDeck deck) const
{
    return banks.selectionOfOther(deck);
}

void UIController::updateSameMarks()
{
    updateBetweenBanks();
    banks.updateSameMarks();
}

void UIController::updateBetweenBanks()
{
    mainWindow->setSyncWarning(banks.isOutOfSync());
    mainWindow->setTransferNames(bankA->currentServer().name, bankB->currentServer().name);
}

void UIController::folderChanged(int index)
{
    folderScrollPosition = bankA->scrollPosition();
    banks.openFolder(index);
}

void UIController::backToFolders()
{
    updateBetweenBanks();
    banks.openFolders();
    bankA->setScrollPosition(folderScrollPosition);
}

void UIController::scrollValueChanged(ServerDeck serverDeck, int value)
{
    banks.scrollOther(serverDeck, value);
}

void UIController::serverItemsSelectionChanged(ServerDeck serverDeck)
{
    banks.selectRowsOfOther(serverDeck);
}

void UIController::increaseThumbnailDownloadSize(int count)
{
    thumbnailProgress->addSteps(count, true);
    thumbnailProgress->setText(tr("Downloading thumbnails"));
}

void UIController::updateProgress()
{
    // Required: both services report each reply of either, so the bar closes halfway.
    thumbnailProgress->advance();
}

void UIController::downloadCancel()
{
    banks.redraw(); // required: before the cancel
    emit downloadCanceled();
}

void UIController::aborted()
{
    bankA->setEnabled(true);
    bankB->setEnabled(true);
    thumbnailProgress->hide();
}

void UIController::thumbnailError(int fileSlot, const QHostAddress &serverIp)
{
    const Server &server = model->connectedServerByAddress(serverIp);
    if (server.uuid.isNull() || !banks.showing(server.uuid))
        return;
    showErrorMessage(tr("Download of thumbnail for visual %1 from server \"%2\" failed.")
                         .arg(Slots::threeDigits(fileSlot), shownName(server.name)));
}

void UIController::setSmallSize()
{
    banks.setIconSize(0);
}

void UIController::setMediumSize()
{
    banks.setIconSize(1);
}

void UIController::setLargeSize()
{
    banks.setIconSize(2);
}

void UIController::setListMode()
{
    banks.setViewMode(true);
}

void UIController::setGridMode()
{
    banks.setViewMode(false);
}
