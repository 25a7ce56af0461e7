// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/UIController.h"

#include "Dialogs/BVProgressDialog.h"
#include "Model/ApplicationModel.h"
#include "Model/LibraryComparison.h"
#include "Tasks/ThreeDigits.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"

bool UIController::isComparing() const
{
    return !bankA->currentServer().uuid.isNull() && !bankB->currentServer().uuid.isNull();
}

void UIController::updateSameMarks()
{
    updateSyncWarning();
    if (bankA->currentServerUuid().isNull())
        return;
    const Server &serverA = bankA->currentServer();
    const Server &serverB = bankB->currentServer();
    const Marks marks =
        model->selectedFolder == -1
            ? LibraryComparison::folderSameMarks(serverA, serverB)
            : LibraryComparison::visualSameMarks(serverA, serverB, model->selectedFolder);
    bankA->sameMarks = marks;
    if (!bankB->currentServerUuid().isNull())
        bankB->sameMarks = marks;
}

/// A bank without a server falls back to the folders alone. When it has one again it stands where
/// the other does, or else its rows would have the marks and the selection of another level. Once
/// no bank with a server stands in the folder, there is nothing left to join.
void UIController::bringBanksToOneLevel()
{
    const int folder = model->selectedFolder;
    const auto isInside = [folder](const BVServerBank *bank) {
        return !bank->currentServerUuid().isNull() && bank->currentFolder == folder;
    };
    if (!isInside(bankA) && !isInside(bankB)) {
        model->selectedFolder = -1;
    } else if (isComparing() && isInside(bankA) != isInside(bankB)) {
        const bool differs = !LibraryComparison::folderNamesEqual(bankA->currentServer(),
                                                                  bankB->currentServer(), folder);
        bankA->enterFolder(folder, differs);
        bankB->enterFolder(folder, differs);
    }
}

void UIController::updateSyncWarning()
{
    const Server &serverA = bankA->currentServer();
    const Server &serverB = bankB->currentServer();
    mainWindow->setSyncWarning(!isComparing() || serverA.hash != serverB.hash);
}

void UIController::folderChanged(int index)
{
    const Server &serverA = bankA->currentServer();
    const Server &serverB = bankB->currentServer();
    const Marks marks = LibraryComparison::visualSameMarks(serverA, serverB, index);
    const bool differs = !LibraryComparison::folderNamesEqual(serverA, serverB, index);
    folderScrollPosition = bankA->scrollPosition();
    bankA->sameMarks = marks;
    bankB->sameMarks = marks;
    bankA->showFolder(index, differs);
    bankB->showFolder(index, differs);
    model->selectedFolder = index;
}

void UIController::backToFolders()
{
    const Marks marks =
        LibraryComparison::folderSameMarks(bankA->currentServer(), bankB->currentServer());
    updateSyncWarning();
    bankA->sameMarks = marks;
    bankB->sameMarks = marks;
    bankA->showFolders();
    bankB->showFolders();
    model->selectedFolder = -1;
    bankA->setScrollPosition(folderScrollPosition);
}

void UIController::scrollValueChanged(ServerDeck serverDeck, int value)
{
    (serverDeck == ServerDeckA ? bankB : bankA)->setScrollPosition(value);
}

void UIController::serverItemsSelectionChanged(ServerDeck serverDeck)
{
    if (serverDeck == ServerDeckA)
        bankB->selectRows(bankA->selectedRows());
    else
        bankA->selectRows(bankB->selectedRows());
}

QList<int> UIController::selectionOfOtherBank(ServerDeck deck) const
{
    const BVServerBank *const other = deck == ServerDeckA ? bankB : bankA;
    return other->selectedRowsIn(bankOf(deck)->currentFolder);
}

void UIController::redrawBanks()
{
    bankA->serverContentChanged(bankA->currentServerUuid());
    bankB->serverContentChanged(bankB->currentServerUuid());
}

void UIController::increaseThumbnailDownloadSize(int count)
{
    thumbnailProgress->addSteps(count, true);
    thumbnailProgress->setText(tr("Downloading thumbnails"));
    thumbnailProgress->setWindowTitle(tr("Downloading"));
}

void UIController::updateProgress()
{
    thumbnailProgress->advance();
}

void UIController::downloadCancel()
{
    redrawBanks();
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
    if (server.uuid.isNull() || !isOnShow(server.uuid))
        return;
    showErrorMessage(tr("Download of thumbnail for visual %1 from server \"%2\" failed.")
                         .arg(threeDigits(fileSlot), shownName(server.name)));
}

void UIController::setSmallSize()
{
    setIconSize(0);
}

void UIController::setMediumSize()
{
    setIconSize(1);
}

void UIController::setLargeSize()
{
    setIconSize(2);
}

void UIController::setIconSize(int index)
{
    const int row = firstRowOnShow();
    model->selectedIconSize = index;
    bankA->setIconSizeIndex(index);
    bankB->setIconSizeIndex(index);
    showRowFirst(row);
}

void UIController::setListMode()
{
    setViewMode(true);
}

void UIController::setGridMode()
{
    setViewMode(false);
}

void UIController::setViewMode(bool listView)
{
    const int row = firstRowOnShow();
    model->selectedViewMode = listView;
    bankA->setListMode(listView);
    bankB->setListMode(listView);
    showRowFirst(row);
}

int UIController::firstRowOnShow() const
{
    const int row = bankA->firstRowOnShow();
    return row == -1 ? bankB->firstRowOnShow() : row;
}

void UIController::showRowFirst(int row)
{
    // Only one bank is moved: the other follows, and where it is of another width, an answer of
    // its own would move the first one again.
    (bankA->firstRowOnShow() == -1 ? bankB : bankA)->showRowFirst(row);
}
