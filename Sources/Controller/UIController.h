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

/// The one coordinator of the program, made by the main window.
///
/// It owns the services and keeps the model's list of servers up to date with what they report;
/// decides which servers the two banks offer; keeps the banks in step with each other; and runs at
/// most one long operation at a time, with its warnings before and its errors after.
///
/// Messages and warnings are modal and run a nested event loop: servers may come and go while one
/// is open. Nothing that a record holds is used across such a call unless it was copied before.
class UIController final : public QObject
{
    Q_OBJECT

public:
    /// Opens the discovery socket and fills both banks. The model outlives the controller; `window`
    /// becomes its parent, and the banks belong to the window.
    UIController(ApplicationModel *applicationModel, BVMainWindow *window, BVServerBank *firstBank,
                 BVServerBank *secondBank);
    /// Deletes the running task, if any. Its requests go on at the servers.
    ~UIController() override;

    /// The record of a connected server, else the invalid server. Valid until the next change of
    /// the model.
    [[nodiscard]] const Server &connectedServer(const QUuid &uuid) const;
    [[nodiscard]] QHash<QUuid, QString> connectedServerNames() const;
    /// Whether both banks show a server, so that there is something to compare.
    [[nodiscard]] bool isComparing() const;
    /// The rows selected in the bank beside that deck's, if it shows the same level, else none. A
    /// bank takes them over that gets its server or its rows later.
    [[nodiscard]] QList<int> selectionOfOtherBank(ServerDeck deck) const;

public slots:
    // The registry of servers.
    void addServer(const QUuid &uuid, const QHostAddress &ipAddress, int netmask,
                   const QString &name);
    void addServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    void removeServerConnection(const QUuid &uuid, const QHostAddress &ipAddress, int netmask);
    /// Discovery has lost the server.
    void removeServer(const QUuid &uuid);
    /// Leaves both banks without a selected server.
    void serverNameChanged(const QUuid &uuid, const QString &name);
    /// Fetches the library again, unless a task runs: that fetches it at its end.
    void serverLibraryChanged(const QUuid &uuid);
    void receivedServer(const Server &server);
    void serverConnected(const QUuid &uuid, const QHostAddress &ipAddress);
    /// The server ended its notification stream. The operator is told if a bank shows the server.
    void serverDisconnected(const QUuid &uuid, Brenvoka::ServerDisconnectReason reason,
                            const QString &error);
    /// Frame rates in frames per second.
    void serverUpdateFpsStats(const QUuid &uuid, float graphFps, float totalFps, float monitorFps,
                              bool isFullScreen);
    /// Returns when the operator has closed the message.
    void showErrorMessage(const QString &message);
    void showErrorMessageWithDetail(const QString &message, const QStringList &details);

    // Operations.
    /// Makes the selection, or else the whole level, of bank B's server equal to bank A's.
    void transferFromServerA();
    /// The same from bank B to bank A.
    void transferFromServerB();
    /// Asks, and only then looks at what is selected: visuals that exist, in the bank of that deck.
    void handleRemoveVisuals(ServerDeck serverDeck);
    /// Slot numbers, in the folder that is open in the banks.
    void handleMoveVisual(int from, int to, ServerDeck serverDeck);
    /// Asks for a local file and sends it. Only for a server on show, with exactly one slot
    /// selected in its bank; numbers as BVServerBank::uploadFile gives them. The uuid is a copy,
    /// since the record that it was read from may go while the operator is asked.
    void uploadFile(QUuid uuid, int folderIndex, int visualIndex);
    /// Shows the errors of the running task, deletes it and fetches the library that it changed.
    /// For any other task nothing happens: the pointer is compared, never followed.
    void onTaskFinished(TaskBase *task);

    // Browsing.
    void serverSelectionChanged(ServerDeck serverDeck, const QUuid &serverUuid);
    void serverItemsSelectionChanged(ServerDeck serverDeck);
    /// Opens the folder of that slot in both banks.
    void folderChanged(int index);
    void backToFolders();
    void scrollValueChanged(ServerDeck serverDeck, int value);

    // The one progress dialog that the thumbnails of both banks share.
    void updateProgress();
    void downloadCancel();
    void aborted();
    void increaseThumbnailDownloadSize(int count);
    /// Nothing is connected here: a thumbnail that fails is told to nobody.
    void thumbnailError(int fileSlot, const QHostAddress &serverIp);

    // View settings; the file is written at exit.
    void setSmallSize();
    void setMediumSize();
    void setLargeSize();
    void setListMode();
    void setGridMode();

signals:
    /// The bank that shows this server is to draw itself anew.
    void serverContentChanged(const QUuid &serverId);
    /// The operator cancelled the download of thumbnails.
    void downloadCanceled();

private:
    void setupThumbnailCache();
    void setupBank(BVServerBank *bank, ServerDeck deck);
    void connectServices();
    void setupThumbnailProgress();
    void connectListener();

    /// Does nothing for the invalid server, and for one whose last interface is gone.
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
    /// Takes the task over and starts it. A task that still runs is let go of, undeleted: its end
    /// is then nobody's.
    void startTask(TaskBase *task);

    void updateSameMarks();
    void updateSyncWarning();

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
