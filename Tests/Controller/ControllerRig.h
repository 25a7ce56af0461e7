// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/TransferDialog.h"
#include "Support/Loopback.h"
#include "Support/PlayedServer.h"
#include "Support/Wait.h"
#include "Support/WindowRig.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>

/// A real main window, and servers that the test plays behind it.
class ControllerRig final
{
public:
    /// Makes a server known as discovery does, and waits until it is connected.
    [[nodiscard]] bool bringUp(PlayedServer &server, const QString &name,
                               const QList<MediaFolder> &folders, int netmask = 8)
    {
        server.setLibrary(folders);
        return discover(server, name, netmask);
    }

    /// The same with the library that the server has.
    [[nodiscard]] bool discover(PlayedServer &server, const QString &name, int netmask = 8)
    {
        server.wire.forgetRequests();
        controller().addServer(server.uuid, server.wire.address(), netmask, name);
        return server.openStream() && waitFor([&] { return isConnected(server); });
    }

    [[nodiscard]] bool isConnected(const PlayedServer &server) const
    {
        return !controller().connectedServer(server.uuid).uuid.isNull();
    }

    /// Waits for a library that is asked for now: what was asked before has arrived then. Only
    /// while no task runs.
    [[nodiscard]] bool settle(const PlayedServer &server) const
    {
        const qsizetype before = server.libraryRequests();
        controller().serverLibraryChanged(server.uuid);
        return waitFor([&] { return server.libraryRequests() > before; });
    }

    /// The servers that a bank offers, by name.
    [[nodiscard]] static QStringList offered(const BVServerBank &bank)
    {
        const QComboBox &box = comboBox(bank);
        QStringList names;
        for (int index = 0; index < box.count(); ++index)
            names.append(box.itemText(index));
        return names;
    }
    [[nodiscard]] static QComboBox &comboBox(const BVServerBank &bank)
    {
        return childOf<QComboBox>(bank, "serverComboBox");
    }
    /// Chooses an entry as the operator does.
    static void choose(const BVServerBank &bank, const QString &name)
    {
        comboBox(bank).setCurrentIndex(comboBox(bank).findText(name));
    }

    [[nodiscard]] bool isSyncWarningShown() const
    {
        return !rig.find<QLabel>("unsyncServers").isHidden();
    }
    [[nodiscard]] bool isTransferEnabled() const
    {
        return rig.find<QPushButton>("leftToRightButton").isEnabled() &&
               rig.find<QPushButton>("rightToLeftButton").isEnabled();
    }
    void clickLeftToRight() const { rig.find<QPushButton>("leftToRightButton").click(); }
    void clickRightToLeft() const { rig.find<QPushButton>("rightToLeftButton").click(); }

    [[nodiscard]] UIController &controller() const { return rig.controller(); }
    [[nodiscard]] ApplicationModel &model() { return rig.model; }
    [[nodiscard]] BVServerBank &bankA() const { return rig.bankA(); }
    [[nodiscard]] BVServerBank &bankB() const { return rig.bankB(); }

    WindowRig rig;
};

/// Two played servers on show in the banks, from the first of which the second is made equal, and
/// no warnings.
class SyncStage final
{
public:
    [[nodiscard]] bool open(const QList<MediaFolder> &source, const QList<MediaFolder> &destination,
                            int netmask = 8)
    {
        rig.model().warningLevel = 0;
        return rig.bringUp(one, QStringLiteral("One"), source, netmask) &&
               rig.bringUp(two, QStringLiteral("Two"), destination, netmask);
    }
    /// One visual to transfer, and nothing else to do.
    [[nodiscard]] bool open()
    {
        return open({folder(0, QStringLiteral("Intro"), {visual(1, QStringLiteral("Sunset"), 1)})},
                    {folder(0, QStringLiteral("Intro"))});
    }
    /// Clicks, and waits until the destination has as many sync requests.
    [[nodiscard]] bool start(int count = 1)
    {
        rig.clickLeftToRight();
        return waitFor([&] { return two.commands(PlayedServer::Sync).size() >= count; });
    }
    /// As ControllerRig::settle.
    [[nodiscard]] bool settle(const PlayedServer &server) const { return rig.settle(server); }
    /// Null before and after the transfers.
    [[nodiscard]] TransferDialog *transferDialog() const
    {
        return rig.rig.window->findChild<TransferDialog *>();
    }

    PlayedServer one{loopback(101)};
    PlayedServer two{loopback(102)};
    ControllerRig rig;
};
