// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Controller/BankPair.h"
#include "Controller/OperatorDialogs.h"
#include "Model/Brenvoka.h"
#include "Model/ServerDeck.h"
#include "Service/ServerConnectionService.h"
#include "Service/ServerInfoService.h"
#include "Service/ServerListenerService.h"

#include <QHash>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QObject>
#include <QUuid>

class ApplicationModel;
class BVMainWindow;
class BVProgressDialog;
class BVServerBank;
class TaskBase;
struct Server;

/// Coordinates the program. Created by the main window.
///
/// It owns the services and updates the model's list of servers by their reports. It decides which
/// servers the two banks offer, and keeps the two banks alike. It starts the long operations, asks
/// before each and shows its errors afterwards. It follows only the last one that was started.
///
/// Messages and warnings are modal and run a nested event loop: servers may be added or lost while
/// one is open. Data of a record is copied before such a call if it is needed afterwards.
class UIController final : public QObject
{
    Q_OBJECT

public:
    /// Opens the discovery socket and fills both banks. The model outlives the controller. `window`
    /// is the parent, and owns the banks.
    UIController(ApplicationModel *applicationModel, BVMainWindow *window, BVServerBank *firstBank,
                 BVServerBank *secondBank);
    /// Deletes the running task, if any. Its requests continue on the servers.
    ~UIController() override;

    /// The record of a connected server, or the invalid server. Valid until the next change of the
    /// model.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    [[nodiscard]] QHash<QUuid, QString> connectedServerNames() const;
    /// Whether both banks show a server, so that they can be compared.
    [[nodiscard]] bool isComparing() const;
    /// The selected rows of the other bank if it shows the same level, otherwise none. A bank that
    /// gets its server or its rows later selects the same rows.
    [[nodiscard]] QList<int> selectionOfOtherBank(ServerDeck deck) const;

public slots:
    // The registry of servers.
    void addServer(const QUuid &uuid, const QHostAddress &ipAddress, int netmask,
                   const QString &name);
    void addServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    void removeServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// Discovery lost the server.
    void removeServer(const QUuid &uuid);
    /// Leaves both banks without a selected server.
    void serverNameChanged(const QUuid &uuid, const QString &name);
    /// Downloads the library again, unless a task runs: its end downloads the library.
    void serverLibraryChanged(const QUuid &uuid);
    void receivedServer(const Server &server);
    void serverConnected(const QUuid &uuid, const QHostAddress &ipAddress);
    /// The notification stream ended. Shows a message if a bank shows the server.
    void serverDisconnected(const QUuid &uuid, Brenvoka::ServerDisconnectReason reason,
                            const QString &error);
    /// Frame rates in frames per second.
    void serverUpdateFpsStats(const QUuid &uuid, float graphFps, float totalFps, float monitorFps,
                              bool isFullScreen);
    /// Returns when the operator closes the message.
    void showErrorMessage(const QString &message);
    void showErrorMessageWithDetail(const QString &message, const QStringList &details);

    // Operations.
    /// Makes the selection, or without one the whole level, of bank B's server equal to bank A's.
    void transferFromServerA();
    /// Same from bank B to bank A.
    void transferFromServerB();
    /// Asks first, then removes the selected visuals that exist, in the bank of this deck.
    void handleRemoveVisuals(ServerDeck serverDeck);
    /// Slot numbers in the open folder.
    void handleMoveVisual(int from, int to, ServerDeck serverDeck);
    /// Asks for a local file and uploads it. Only for a shown server with exactly one selected slot
    /// in its bank. The numbers are those of BVServerBank::uploadFile. The uuid is a copy, because
    /// its record may be removed while a dialog is open.
    void uploadFile(QUuid uuid, int folderIndex, int visualIndex);
    /// Shows the errors of the running task, deletes it and downloads the library that it changed.
    /// Does nothing for any other task: the pointer is compared, never dereferenced.
    void onTaskFinished(TaskBase *task);

    // Browsing.
    void serverSelectionChanged(ServerDeck serverDeck, const QUuid &serverUuid);
    void serverItemsSelectionChanged(ServerDeck serverDeck);
    /// Opens the folder of this slot in both banks.
    void folderChanged(int index);
    void backToFolders();
    void scrollValueChanged(ServerDeck serverDeck, int value);

    // Thumbnails. Both banks share one progress dialog.
    void updateProgress();
    void downloadCancel();
    void aborted();
    void increaseThumbnailDownloadSize(int count);
    /// Not connected: a failed thumbnail is not reported.
    void thumbnailError(int fileSlot, const QHostAddress &serverIp);

    // View settings. The file is written at exit.
    void setSmallSize();
    void setMediumSize();
    void setLargeSize();
    void setListMode();
    void setGridMode();

signals:
    /// The bank that shows this server must draw itself again.
    void serverContentChanged(const QUuid &serverId);
    /// The operator cancelled the load of thumbnails.
    void downloadCanceled();

private:
    void setupThumbnailCache();
    void setupBank(BVServerBank *bank, ServerDeck deck);
    void connectServices();
    void setupThumbnailProgress();
    void connectListener();

    /// Does nothing for the invalid server or a server without an interface.
    void requestLibrary(const Server &server);
    void refreshServerLists();
    void refreshBankBServers();
    void dropServer(const QUuid &uuid, bool tellService);
    [[nodiscard]] static QString disconnectDetail(const QString &name,
                                                  Brenvoka::ServerDisconnectReason reason,
                                                  const QString &error);
    [[nodiscard]] bool taskInvolves(const QUuid &uuid) const;

    [[nodiscard]] bool isShowingTwoServers() const;
    [[nodiscard]] bool isTransferPossible() const;
    void updateTransferButtons();
    void startTransfer(BVServerBank *source, BVServerBank *destination);
    /// Takes ownership of the task and starts it. A running task is abandoned, not deleted; its
    /// `taskFinished` is ignored.
    void startTask(TaskBase *task);

    void updateSameMarks();
    /// The sign between the banks, and the names of the servers at the transfer buttons.
    void updateBetweenBanks();

    ServerListenerService listener;
    QNetworkAccessManager thumbnailNetwork;
    ApplicationModel *model;
    BVServerBank *bankA;
    BVServerBank *bankB;
    BVMainWindow *mainWindow;
    ServerInfoService serverInfo;
    ServerConnectionService connections;
    BVProgressDialog *thumbnailProgress = nullptr;
    int folderScrollPosition = 0;
    QString lastUploadDirectory;
    TaskBase *currentTask = nullptr;
    bool bankAServerChosen = false;
    bool bankBServerChosen = false;
    BankPair banks;
    OperatorDialogs dialogs;
};
