// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ControllerFixture.h"

#include "Dialogs/TransferDialog.h"

/// Two scripted servers in the banks, to synchronise the second with the first. No warnings.
class SyncClickFixture : public ControllerFixture
{
public:
    [[nodiscard]] bool open(const QList<MediaFolder> &source, const QList<MediaFolder> &destination,
                            int netmask = 8)
    {
        model.warningLevel = 0;
        return connectServer(one, QStringLiteral("One"), source, netmask) &&
               connectServer(two, QStringLiteral("Two"), destination, netmask);
    }
    /// One visual to transfer, and nothing else to do.
    [[nodiscard]] bool open()
    {
        return open(
            {folder(0, QStringLiteral("Intro"), {cachedVisual(1, QStringLiteral("Sunset"), 1)})},
            {folder(0, QStringLiteral("Intro"))});
    }
    /// Clicks, and waits until the destination has that many sync requests.
    [[nodiscard]] bool start(int count = 1)
    {
        clickLeftToRight();
        return waitFor([&] { return two.commands(ScriptedServer::Sync).size() >= count; });
    }
    /// Null before and after the transfers.
    [[nodiscard]] TransferDialog *transferDialog() const
    {
        return window->findChild<TransferDialog *>();
    }

    ScriptedServer one{loopback(101)};
    ScriptedServer two{loopback(102)};
};
