// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Model/ServerDeck.h"
#include "Service/ThumbnailService.h"

#include <QHash>
#include <QHostAddress>
#include <QObject>
#include <QUuid>

class BVServerBank;
class QListWidgetItem;
class QNetworkAccessManager;
struct Server;
class UIController;

/// Connects one bank to UIController. It adds the deck to the reports of the bank's widgets, and
/// owns the bank's ThumbnailService, so that each bank loads its own pictures.
///
/// It decides only what a double click means. Everything else is passed on at once with the deck as
/// an argument. A failed thumbnail is not reported.
class ServerBankController final : public QObject
{
    Q_OBJECT

public:
    /// The bank is the parent. The network manager is shared by both banks and not owned.
    ServerBankController(UIController *central, BVServerBank *panel, QNetworkAccessManager *network,
                         ServerDeck deck);

    /// UIController's record of this server, or the invalid server.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    [[nodiscard]] QHash<QUuid, QString> connectedServerNames() const;
    /// Whether both banks show a server.
    [[nodiscard]] bool isComparing() const;
    /// The selected rows of the other bank if it shows the same level, otherwise none.
    [[nodiscard]] QList<int> selectionOfOtherBank() const;

signals:
    void sendServerItemsSelectionChanged(ServerDeck serverDeck);
    /// A folder must be opened. Its slot, even if the server does not have that folder.
    void sendFolderChanged(int index);
    /// The banks must go back to the folders level.
    void sendFolderBack();
    void sendServerSelectionChanged(ServerDeck serverDeck, const QUuid &serverUuid);
    /// Connected to ThumbnailService::loadThumbnails. The index returns with the pictures.
    void loadThumbnails(const MediaFolder &folder, int mediaFolderIndex,
                        const QHostAddress &serverIp);
    /// The value of the list's scroll bar.
    void scrollValueChanged(ServerDeck serverDeck, int value);
    void removeVisuals(ServerDeck serverDeck);
    /// Slot numbers, not rows.
    void moveVisual(int from, int to, ServerDeck serverDeck);

public slots:
    /// Reports the selection, then updates the bank's upload button.
    void serverItemSelectionChanged();
    /// A double click: opens the folder at the folders level. At the slots level the row "Back"
    /// goes back, and the other rows do nothing.
    void serverToFolder(QListWidgetItem *item);
    void serverSelectionChanged(const QUuid &serverUuid);
    void changeFolder(const MediaFolder &folder, int mediaFolderIndex,
                      const QHostAddress &serverIp);
    void scrollBarValueChanged(int value);
    void removeSelectedItems();
    void moveItem(int fromItem, int toItem);

private:
    void connectServices();

    ServerDeck serverDeck;
    ThumbnailService thumbnailService;
    BVServerBank *bank;
    UIController *uiController;
};
