// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/BankPair.h"

#include "Model/ApplicationModel.h"
#include "Model/LibraryComparison.h"
#include "UI/BVServerBank.h"

BankPair::BankPair(BVServerBank *firstBank, BVServerBank *secondBank,
                   ApplicationModel *applicationModel)
    : bankA(firstBank)
    , bankB(secondBank)
    , model(applicationModel)
{
}

BVServerBank *BankPair::of(ServerDeck deck) const
{
    return deck == ServerDeckA ? bankA : bankB;
}

BVServerBank *BankPair::other(ServerDeck deck) const
{
    return deck == ServerDeckA ? bankB : bankA;
}

BVServerBank *BankPair::showing(const QUuid &uuid) const
{
    for (BVServerBank *const bank : {bankA, bankB}) {
        if (bank->currentServerUuid() == uuid)
            return bank;
    }
    return nullptr;
}

bool BankPair::isComparing() const
{
    return !bankA->currentServer().uuid.isNull() && !bankB->currentServer().uuid.isNull();
}

bool BankPair::isOutOfSync() const
{
    return !isComparing() || bankA->currentServer().hash != bankB->currentServer().hash;
}

void BankPair::updateSameMarks()
{
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

// A bank that gets a server again goes to the level of the other bank. Otherwise its rows would
// have the marks and the selection of another level. If no bank with a server is in the folder any
// more, both banks go to the folders level.
void BankPair::bringToOneLevel()
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

void BankPair::openFolder(int slot)
{
    const Server &serverA = bankA->currentServer();
    const Server &serverB = bankB->currentServer();
    const Marks marks = LibraryComparison::visualSameMarks(serverA, serverB, slot);
    const bool differs = !LibraryComparison::folderNamesEqual(serverA, serverB, slot);
    bankA->sameMarks = marks;
    bankB->sameMarks = marks;
    bankA->showFolder(slot, differs);
    bankB->showFolder(slot, differs);
    model->selectedFolder = slot;
}

void BankPair::openFolders()
{
    const Marks marks =
        LibraryComparison::folderSameMarks(bankA->currentServer(), bankB->currentServer());
    bankA->sameMarks = marks;
    bankB->sameMarks = marks;
    bankA->showFolders();
    bankB->showFolders();
    model->selectedFolder = -1;
}

void BankPair::redraw()
{
    bankA->serverContentChanged(bankA->currentServerUuid());
    bankB->serverContentChanged(bankB->currentServerUuid());
}

void BankPair::scrollOther(ServerDeck deck, int position)
{
    other(deck)->setScrollPosition(position);
}

void BankPair::selectRowsOfOther(ServerDeck deck)
{
    other(deck)->selectRows(of(deck)->selectedRows());
}

QList<int> BankPair::selectionOfOther(ServerDeck deck) const
{
    return other(deck)->selectedRowsIn(of(deck)->currentFolder);
}

void BankPair::setIconSize(int index)
{
    model->selectedIconSize = index;
    changeView([index](BVServerBank *bank) { bank->setIconSizeIndex(index); });
}

void BankPair::setViewMode(bool listView)
{
    model->selectedViewMode = listView;
    changeView([listView](BVServerBank *bank) { bank->setListMode(listView); });
}

template <typename Change>
void BankPair::changeView(Change change)
{
    // Scrolls only one bank: the other follows. If the banks have different widths, the second
    // bank's own report would scroll the first one again.
    BVServerBank *const scrolled = bankA->firstVisibleRow() == -1 ? bankB : bankA;
    const int row = scrolled->firstVisibleRow();
    change(bankA);
    change(bankB);
    scrolled->scrollToTop(row);
}
