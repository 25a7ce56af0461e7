// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Dialogs/BVProgressDialog.h"
#include "Support/Loopback.h"
#include "Support/ScriptedServer.h"
#include "Support/Wait.h"
#include "Support/WindowFixture.h"

#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>

/// A real main window with servers that the test scripts.
class ControllerFixture : public WindowFixture
{
public:
    using WindowFixture::connectServer;
    /// Gives the server a library and connects it.
    [[nodiscard]] bool connectServer(ScriptedServer &server, const QString &name,
                                     const QList<MediaFolder> &folders, int netmask = 8)
    {
        server.setLibrary(folders);
        return discover(server, name, netmask);
    }
    /// Adds a server as discovery does, and waits until it is connected.
    [[nodiscard]] bool discover(ScriptedServer &server, const QString &name, int netmask = 8)
    {
        server.wire.forgetRequests();
        controller().addServer(server.uuid, server.wire.address(), netmask, name);
        return server.openStream() && waitFor([&] { return isConnected(server); });
    }
    [[nodiscard]] bool isConnected(const ScriptedServer &server) const
    {
        return !controller().connectedServer(server.uuid).uuid.isNull();
    }

    /// Requests the library again and waits for the request: every earlier request has arrived by
    /// then. Only while no task runs.
    [[nodiscard]] bool requestLibrary(const ScriptedServer &server) const
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

    /// The progress dialog with that window title, null if there is none.
    [[nodiscard]] BVProgressDialog *dialog(const QString &title) const
    {
        for (auto *const candidate : window->findChildren<BVProgressDialog *>()) {
            if (candidate->windowTitle() == title)
                return candidate;
        }
        return nullptr;
    }
    /// Waits until that dialog is shown and cancels it; false if it never appeared.
    [[nodiscard]] bool cancel(const QString &title) const
    {
        const auto shown = [&] { return dialog(title) && dialog(title)->isVisible(); };
        if (!waitFor(shown))
            return false;
        QTest::keyClick(dialog(title), Qt::Key_Escape);
        return true;
    }

    [[nodiscard]] bool isSyncWarningShown() const
    {
        return !find<QLabel>("unsyncServers").isHidden();
    }
    [[nodiscard]] bool isTransferEnabled() const
    {
        return find<QPushButton>("leftToRightButton").isEnabled() &&
               find<QPushButton>("rightToLeftButton").isEnabled();
    }
    void clickLeftToRight() const { find<QPushButton>("leftToRightButton").click(); }
    void clickRightToLeft() const { find<QPushButton>("rightToLeftButton").click(); }
};
