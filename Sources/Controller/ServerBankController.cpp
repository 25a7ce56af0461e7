// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/ServerBankController.h"

#include "Controller/UIController.h"
#include "UI/BVServerBank.h"

#include <QListWidget>
#include <QMetaType>

namespace {

constexpr QSize thumbnailSize(128, 96);
constexpr int backRow = 0;

} // namespace

ServerBankController::ServerBankController(UIController *central, BVServerBank *panel,
                                           QNetworkAccessManager *network, ServerDeck deck)
    : QObject(panel)
    , serverDeck(deck)
    , thumbnailService(thumbnailSize, network)
    , bank(panel)
    , uiController(central)
{
    qRegisterMetaType<MediaFolder>("MediaFolder");
    connectServices();
}

// The service is connected to the network manager. Required: its signal `error` stays unconnected.
// A failed thumbnail is shown as a picture and not reported.
void ServerBankController::connectServices()
{
    connect(this, &ServerBankController::loadThumbnails, &thumbnailService,
            &ThumbnailService::loadThumbnails);
    connect(uiController, &UIController::downloadCanceled, &thumbnailService,
            &ThumbnailService::abort);
    connect(&thumbnailService, &ThumbnailService::finished, bank, &BVServerBank::folderChanged);
    connect(&thumbnailService, &ThumbnailService::progress, uiController,
            &UIController::updateProgress);
    connect(&thumbnailService, &ThumbnailService::aborted, uiController, &UIController::aborted);
    connect(&thumbnailService, &ThumbnailService::increaseDownloadSize, uiController,
            &UIController::increaseThumbnailDownloadSize);
    connect(this, &ServerBankController::removeVisuals, uiController,
            &UIController::handleRemoveVisuals);
    connect(this, &ServerBankController::moveVisual, uiController, &UIController::handleMoveVisual);
}

const Server &ServerBankController::connectedServer(const QUuid &uuid) const
{
    return uiController->connectedServer(uuid);
}

QHash<QUuid, QString> ServerBankController::connectedServerNames() const
{
    return uiController->connectedServerNames();
}

bool ServerBankController::isComparing() const
{
    return uiController->isComparing();
}

QList<int> ServerBankController::selectionOfOtherBank() const
{
    return uiController->selectionOfOtherBank(serverDeck);
}

void ServerBankController::serverItemSelectionChanged()
{
    emit sendServerItemsSelectionChanged(serverDeck);
    bank->updateUploadButton();
}

void ServerBankController::serverToFolder(QListWidgetItem *item)
{
    const int row = item->listWidget()->row(item);
    if (bank->currentFolder == -1)
        emit sendFolderChanged(row);
    else if (row == backRow)
        emit sendFolderBack();
}

void ServerBankController::serverSelectionChanged(const QUuid &serverUuid)
{
    emit sendServerSelectionChanged(serverDeck, serverUuid);
}

void ServerBankController::changeFolder(const MediaFolder &folder, int mediaFolderIndex,
                                        const QHostAddress &serverIp)
{
    emit loadThumbnails(folder, mediaFolderIndex, serverIp);
}

void ServerBankController::scrollBarValueChanged(int value)
{
    emit scrollValueChanged(serverDeck, value);
}

void ServerBankController::removeSelectedItems()
{
    emit removeVisuals(serverDeck);
}

void ServerBankController::moveItem(int fromItem, int toItem)
{
    emit moveVisual(fromItem, toItem, serverDeck);
}
