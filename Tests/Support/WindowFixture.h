// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Controller/UIController.h"
#include "Model/ApplicationModel.h"
#include "Support/PictureMemory.h"
#include "Support/Sandbox.h"
#include "Support/Wait.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"
#include "Widgets/MediaListWidget.h"

#include <QPixmapCache>
#include <QTest>

#include <algorithm>
#include <memory>

/// A hash as servers give it, 32 characters, different for each number.
inline QString hashOf(int number)
{
    return QStringLiteral("%1").arg(number, 32, 16, QLatin1Char('0'));
}

/// The thumbnail that `cacheThumbnail` gives to that hash: one plain colour.
inline QPixmap thumbnailOf(int number)
{
    QPixmap pixmap(128, 96);
    pixmap.fill(QColor::fromHsv(number * 37 % 360, 200, 200));
    return pixmap;
}

/// Makes the thumbnail known, so that a folder opens at once and without a request.
inline void cacheThumbnail(int number)
{
    PictureMemory::keep();
    QPixmapCache::insert(QStringLiteral("thumbnail+") + hashOf(number), thumbnailOf(number));
}

/// A visual with a name as servers give it, such as "017: Sunset", and its thumbnail in memory.
inline Visual visual(int slot, const QString &title, int hashNumber)
{
    cacheThumbnail(hashNumber);
    return {hashOf(hashNumber), QStringLiteral("%1: ").arg(slot, 3, 10, QLatin1Char('0')) + title,
            slot};
}

inline MediaFolder folder(int slot, const QString &name, QList<Visual> files = {})
{
    std::sort(files.begin(), files.end(),
              [](const Visual &a, const Visual &b) { return a.hash < b.hash; });
    return {files, name, slot};
}

/// A server with folders 0 to 3, as in a library without gaps; folder 3, "Stage", holds slots 3
/// and 5.
inline Server sampleServer(const QString &name, const QString &address)
{
    Server server(QUuid::createUuid(), QHostAddress(address), 8, name);
    server.hash = hashOf(1);
    server.folders = {
        folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops")),
        folder(2, QStringLiteral("Stills")),
        folder(3, QStringLiteral("Stage"),
               {visual(3, QStringLiteral("Sunset"), 3), visual(5, QStringLiteral("Harbour"), 5)})};
    return server;
}

/// A real main window over a model that the test fills by hand. No server is on the network.
class WindowFixture
{
public:
    /// Makes the server known as one that is connected. The first goes to bank A, the second to B.
    void connectServer(const Server &server)
    {
        model.upsertServer(server);
        controller().serverConnected(server.uuid, server.connections.first().first);
    }

    /// Shows the window and waits until it is active.
    [[nodiscard]] bool show()
    {
        window->show();
        return QTest::qWaitForWindowActive(window.get(), patience);
    }

    [[nodiscard]] UIController &controller() const { return *window->findChild<UIController *>(); }
    [[nodiscard]] BVServerBank &bankA() const { return find<BVServerBank>("serverBankA"); }
    [[nodiscard]] BVServerBank &bankB() const { return find<BVServerBank>("serverBankB"); }

    template <typename Widget>
    [[nodiscard]] Widget &find(const char *name) const
    {
        return *window->findChild<Widget *>(QLatin1String(name));
    }

    Sandbox sandbox;
    ApplicationModel model;
    std::unique_ptr<BVMainWindow> window = std::make_unique<BVMainWindow>(&model);
};

/// A child of a bank, by object name.
template <typename Widget>
[[nodiscard]] Widget &childOf(const BVServerBank &bank, const char *name)
{
    return *bank.findChild<Widget *>(QLatin1String(name));
}

[[nodiscard]] inline MediaListWidget &listOf(const BVServerBank &bank)
{
    return childOf<MediaListWidget>(bank, "mediaListWidget");
}

/// Clicks a row with the mouse, scrolling to it first.
inline void clickRow(const BVServerBank &bank, int row, Qt::KeyboardModifiers modifiers = {})
{
    MediaListWidget &list = listOf(bank);
    list.scrollToItem(list.item(row));
    QTest::mouseClick(list.viewport(), Qt::LeftButton, modifiers,
                      list.visualItemRect(list.item(row)).center());
}

/// Double-clicks a row as a user does: the second click of the pair is the double click.
inline void doubleClickRow(const BVServerBank &bank, int row)
{
    MediaListWidget &list = listOf(bank);
    list.scrollToItem(list.item(row));
    const QPoint point = list.visualItemRect(list.item(row)).center();
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, point);
    QTest::mouseDClick(list.viewport(), Qt::LeftButton, {}, point);
}
