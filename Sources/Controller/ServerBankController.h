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

/// Stands between one bank and the one UIController: it adds to what the bank's widgets report the
/// one thing that they don't know, which deck they are, and it owns the bank's ThumbnailService, so
/// that each bank loads its pictures by itself.
///
/// It decides one thing only, what a double click means; all else is passed on at once, with this
/// controller's own deck as argument. A thumbnail that fails is told to nobody.
class ServerBankController final : public QObject
{
    Q_OBJECT

public:
    /// The bank is the parent and deletes the controller. The network manager is shared by both
    /// banks and not owned.
    ServerBankController(UIController *central, BVServerBank *panel, QNetworkAccessManager *network,
                         ServerDeck deck);
    ~ServerBankController() override;

    /// UIController's record of that server, or the invalid server.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    [[nodiscard]] QHash<QUuid, QString> connectedServerNames() const;
    /// Whether both banks show a server.
    [[nodiscard]] bool isComparing() const;
    /// The rows selected in the other bank if it shows the same level, else none.
    [[nodiscard]] QList<int> selectionOfOtherBank() const;

signals:
    void sendServerItemsSelectionChanged(ServerDeck serverDeck);
    /// A folder is to be opened: the folder's slot, also for one that the server doesn't have.
    void sendFolderChanged(int index);
    /// Back to the folders.
    void sendFolderBack();
    void sendServerSelectionChanged(ServerDeck serverDeck, const QUuid &serverUuid);
    void loadThumbnails(const MediaFolder &folder, int mediaFolderIndex,
                        const QHostAddress &serverIp);
    void scrollValueChanged(ServerDeck serverDeck, int value);
    void removeVisuals(ServerDeck serverDeck);
    /// Slot numbers, not rows.
    void moveVisual(int from, int to, ServerDeck serverDeck);

public slots:
    /// Tells the selection first, then sets the bank's upload button.
    void serverItemSelectionChanged();
    /// A double click: opens a folder at the folders level; at the slots level the row "Back"
    /// leads back, and any other row does nothing.
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
