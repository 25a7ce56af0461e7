// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Controller/UIController.h"

#include "Dialogs/BVProgressDialog.h"
#include "Log/ZorLog.h"
#include "Model/ApplicationModel.h"
#include "Tasks/TaskBase.h"
#include "Text/ShownText.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"

#include <QNetworkDiskCache>
#include <QNetworkProxy>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 thumbnailCacheSize = 67108864;

/// By value, because the record may be removed. Null for a server without an interface.
QHostAddress firstAddress(const Server &server)
{
    return server.connections.value(0).first;
}

/// Selects a bank's server after its list was refilled: the previous one if it is still offered, or
/// the first one if the bank never had a server.
void selectAfterRefill(BVServerBank *bank, const QUuid &former, const QList<QUuid> &offered,
                       bool &chosen)
{
    if (offered.isEmpty())
        return;
    if (former.isNull() && !chosen) {
        bank->selectServer(offered.first());
        chosen = true;
    } else if (!former.isNull() && offered.contains(former)) {
        bank->selectServer(former);
    }
}

} // namespace

UIController::UIController(ApplicationModel *applicationModel, BVMainWindow *window,
                           BVServerBank *firstBank, BVServerBank *secondBank)
    : QObject(window)
    , listener(this)
    , model(applicationModel)
    , bankA(firstBank)
    , bankB(secondBank)
    , mainWindow(window)
    , banks(bankA, bankB, model)
    , dialogs(model, mainWindow)
{
    qRegisterMetaType<ServerDeck>("ServerDeck");
    setupThumbnailCache();
    setupBank(bankA, ServerDeckA);
    setupBank(bankB, ServerDeckB);
    mainWindow->checkViewButtons(model->selectedViewMode, model->selectedIconSize);
    connectServices();
    setupThumbnailProgress();
    connectListener();
}

UIController::~UIController()
{
    delete currentTask;
}

void UIController::setupThumbnailCache()
{
    auto *const cache = new QNetworkDiskCache(this);
    // Required: no separator before the name.
    cache->setCacheDirectory(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
                             "thumbnails"_L1);
    cache->setMaximumCacheSize(thumbnailCacheSize);
    thumbnailNetwork.setCache(cache);
    thumbnailNetwork.setProxy(QNetworkProxy::NoProxy);
}

void UIController::setupBank(BVServerBank *bank, ServerDeck deck)
{
    bank->setupBank(this, &thumbnailNetwork, deck);
    bank->setServerDeck(deck);
    bank->setListMode(model->selectedViewMode);
    bank->setIconSizeIndex(model->selectedIconSize);
    bank->setServers(model->connectedServersWithLibrary());
}

void UIController::connectServices()
{
    connect(this, &UIController::serverContentChanged, bankA, &BVServerBank::serverContentChanged);
    connect(this, &UIController::serverContentChanged, bankB, &BVServerBank::serverContentChanged);
    connect(&serverInfo, &ServerInfoService::receivedServer, this, &UIController::receivedServer);
    connect(&connections, &ServerConnectionService::serverLibraryChanged, this,
            &UIController::serverLibraryChanged);
    connect(&connections, &ServerConnectionService::serverUpdateStats, this,
            &UIController::serverUpdateFpsStats);
    connect(&connections, &ServerConnectionService::serverDisconnected, this,
            &UIController::serverDisconnected);
    connect(&connections, &ServerConnectionService::serverConnected, this,
            &UIController::serverConnected);
}

void UIController::setupThumbnailProgress()
{
    thumbnailProgress = new BVProgressDialog(tr("Downloading thumbnails"), true, mainWindow);
    thumbnailProgress->hide();
    connect(thumbnailProgress, &QDialog::rejected, this, &UIController::downloadCancel);
}

void UIController::connectListener()
{
    connect(&listener, &ServerListenerService::serverNameChanged, this,
            &UIController::serverNameChanged);
    connect(&listener, &ServerListenerService::addServer, this, &UIController::addServer);
    connect(&listener, &ServerListenerService::addServerConnection, this,
            &UIController::addServerConnection);
    connect(&listener, &ServerListenerService::removeServerConnection, this,
            &UIController::removeServerConnection);
    connect(&listener, &ServerListenerService::removeServer, this, &UIController::removeServer);
}

const Server &UIController::connectedServer(const QUuid &uuid) const
{
    return model->connectedServer(uuid);
}

QHash<QUuid, QString> UIController::connectedServerNames() const
{
    return model->connectedServerNames();
}

void UIController::addServer(const QUuid &uuid, const QHostAddress &ipAddress, int netmask,
                             const QString &name)
{
    const Server server(uuid, ipAddress, netmask, name);
    model->upsertServer(server);
    requestLibrary(server);
}

void UIController::addServerConnection(const QUuid &uuid, const QHostAddress &ipAddress,
                                       int netmask)
{
    requestLibrary(model->addConnection(uuid, ipAddress, netmask));
}

void UIController::removeServerConnection(const QUuid &uuid, const QHostAddress &ipAddress,
                                          int netmask)
{
    // Required: nothing is refreshed.
    model->removeConnection(uuid, ipAddress, netmask);
}

void UIController::removeServer(const QUuid &uuid)
{
    dropServer(uuid, true);
}

void UIController::serverNameChanged(const QUuid &uuid, const QString &name)
{
    model->setServerName(uuid, name);
    // Required: each bank gets the whole list, and no server is selected again.
    bankA->setServers(model->connectedServersWithLibrary());
    bankB->setServers(model->connectedServersWithLibrary());
    updateBetweenBanks();
}

void UIController::serverLibraryChanged(const QUuid &uuid)
{
    if (!currentTask)
        requestLibrary(connectedServer(uuid));
}

void UIController::receivedServer(const Server &server)
{
    const QUuid uuid = server.uuid;
    const QHostAddress address = firstAddress(server);
    model->upsertServer(server);
    connections.addHandler(address, uuid);
}

void UIController::serverConnected(const QUuid &uuid, const QHostAddress &ipAddress)
{
    model->markConnected(uuid, ipAddress);
    refreshServerLists();
}

void UIController::serverDisconnected(const QUuid &uuid, Brenvoka::ServerDisconnectReason reason,
                                      const QString &error)
{
    const Server &server = connectedServer(uuid);
    if (server.uuid.isNull()) {
        ZOR_LOG(info, "Disconnect notification received for an invalid server");
        return;
    }
    const QString name = shownName(server.name);

    QString headline = tr("Server \"%1\" disconnected.").arg(name);
    if (taskInvolves(uuid)) {
        headline = tr("Server \"%1\" disconnected while an operation was in progress.").arg(name);
        currentTask->abort();
    }
    const QString detail = disconnectDetail(name, reason, error);
    const bool wasShown = banks.showing(uuid);
    dropServer(uuid, false);
    if (wasShown)
        showErrorMessageWithDetail(headline, {detail}); // required: one entry, even an empty one
}

QString UIController::disconnectDetail(const QString &name, Brenvoka::ServerDisconnectReason reason,
                                       const QString &error)
{
    switch (reason) {
    case Brenvoka::DisconnectNetworkError:
        return tr("Network error: %1.").arg(shownText(error));
    case Brenvoka::DisconnectServerShutdown:
        return tr("Server \"%1\" was shut down.").arg(name);
    case Brenvoka::DisconnectOtherClient: // required: the headline alone
    default:
        return {};
    }
}

void UIController::dropServer(const QUuid &uuid, bool tellService)
{
    const QString name = shownName(connectedServer(uuid).name);
    if (!model->removeServer(uuid))
        return;
    updateBetweenBanks();
    if (tellService) {
        connections.removeHandler(uuid);
        if (taskInvolves(uuid)) {
            currentTask->abort();
            if (banks.showing(uuid))
                showErrorMessage(
                    tr("Server \"%1\" became unresponsive while an operation was in progress.")
                        .arg(name));
        }
    }
    refreshServerLists();
    for (BVServerBank *const bank : {bankA, bankB}) {
        if (bank->currentServerUuid().isNull())
            bank->setConnectionStatus(false, 0, 0);
    }
}

void UIController::serverUpdateFpsStats(const QUuid &uuid, float graphFps, float totalFps,
                                        float monitorFps, bool isFullScreen)
{
    model->setFpsStats(uuid, graphFps, totalFps, monitorFps, isFullScreen);
    if (connectedServer(uuid).uuid.isNull())
        return;
    if (BVServerBank *const bank = banks.showing(uuid))
        bank->setConnectionStatus(true, graphFps, totalFps); // required: graphFps beside CPU
}

void UIController::showErrorMessage(const QString &message)
{
    showErrorMessageWithDetail(message, {});
}

void UIController::showErrorMessageWithDetail(const QString &message, const QStringList &details)
{
    dialogs.showError(message, details);
}

void UIController::requestLibrary(const Server &server)
{
    if (!server.uuid.isNull() && !server.connections.isEmpty())
        serverInfo.requestLibrary(server);
}

void UIController::refreshServerLists()
{
    QList<QUuid> ids = model->connectedServersWithLibrary();
    const QUuid formerA = bankA->currentServerUuid();
    const QUuid formerB = bankB->currentServerUuid();

    bankA->setServers(ids);
    selectAfterRefill(bankA, formerA, ids, bankAServerChosen);
    ids.removeAll(bankA->currentServerUuid());
    bankB->setServers(ids);
    selectAfterRefill(bankB, formerB, ids, bankBServerChosen);

    banks.bringToOneLevel();
    if (ids.isEmpty())
        updateBetweenBanks();
    else
        updateSameMarks();
    emit serverContentChanged(bankA->currentServerUuid());
    emit serverContentChanged(bankB->currentServerUuid());
    updateTransferButtons();
}

void UIController::refreshBankBServers()
{
    QList<QUuid> ids = model->connectedServersWithLibrary();
    ids.removeAll(bankA->currentServerUuid());
    const QUuid former = bankB->currentServerUuid();
    bankB->setServers(ids);
    if (ids.isEmpty())
        return;
    if (ids.contains(former))
        bankB->selectServer(former);
    else if (!bankBServerChosen) // required: the flag stays false here
        bankB->selectServer(ids.first());
}

void UIController::serverSelectionChanged(ServerDeck serverDeck, const QUuid &serverUuid)
{
    if (serverUuid.isNull()) {
        mainWindow->setTransferEnabled(false);
        updateBetweenBanks();
        return;
    }
    connections.addHandler(firstAddress(connectedServer(serverUuid)), serverUuid);
    if (serverDeck == ServerDeckA)
        refreshBankBServers();
    banks.bringToOneLevel();
    updateSameMarks();
    banks.redraw();
    updateTransferButtons();
}

bool UIController::taskInvolves(const QUuid &uuid) const
{
    return currentTask && currentTask->involvesServer(uuid);
}
