// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Controller/UIController.h"
#include "Model/ApplicationModel.h"
#include "Support/Libraries.h"
#include "Support/Loopback.h"
#include "Support/PictureMemory.h"
#include "Support/Sandbox.h"
#include "Support/Wait.h"
#include "UI/BVMainWindow.h"
#include "UI/BVServerBank.h"
#include "Widgets/MediaListWidget.h"

#include <QLabel>
#include <QPixmapCache>
#include <QTest>

#include <algorithm>
#include <memory>

/// The warning level at which everything is asked, as in a new installation.
constexpr quint32 allWarnings = 0xFFFFFFFF;

/// The thumbnail that `cacheThumbnail` caches for that hash: one plain colour.
inline QPixmap thumbnailOf(int number)
{
    QPixmap pixmap(128, 96);
    pixmap.fill(QColor::fromHsv(number * 37 % 360, 200, 200));
    return pixmap;
}

/// Caches the thumbnail, so that a folder opens at once and without a request.
inline void cacheThumbnail(int number)
{
    PictureMemory::keep();
    QPixmapCache::insert(QStringLiteral("thumbnail+") + hashOf(number), thumbnailOf(number));
}

/// A visual whose thumbnail is cached.
inline Visual cachedVisual(int slot, const QString &title, int hashNumber)
{
    cacheThumbnail(hashNumber);
    return visual(slot, title, hashOf(hashNumber));
}

/// A server with folders 0 to 3; folder 3, "Stage", has visuals in slots 3 and 5.
inline Server sampleServer(const QString &name, const QString &address)
{
    Server server(QUuid::createUuid(), QHostAddress(address), 8, name);
    server.hash = hashOf(1);
    server.folders = {folder(0, QStringLiteral("Intro")), folder(1, QStringLiteral("Loops")),
                      folder(2, QStringLiteral("Stills")),
                      folder(3, QStringLiteral("Stage"),
                             {cachedVisual(3, QStringLiteral("Sunset"), 3),
                              cachedVisual(5, QStringLiteral("Harbour"), 5)})};
    return server;
}

/// A real main window over a model that the test fills by hand. No server is on the network.
class WindowFixture
{
public:
    /// Adds a connected server. Bank A shows the first one, bank B the second one.
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

/// The same with one connected server, in bank A.
class OneServerFixture : public WindowFixture
{
public:
    OneServerFixture() { connectServer(server); }

    const Server server = sampleServer(QStringLiteral("Stage left"), loopback(1));
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

[[nodiscard]] inline QString headerOf(const BVServerBank &bank)
{
    return childOf<QLabel>(bank, "mediaListFolder").text();
}

[[nodiscard]] inline QStringList textsOf(const QListWidget &list)
{
    QStringList texts;
    for (int row = 0; row < list.count(); ++row)
        texts.append(list.item(row)->text());
    return texts;
}

/// The selected rows in ascending order.
[[nodiscard]] inline QList<int> selectedRowsOf(const BVServerBank &bank)
{
    QList<int> rows = bank.selectedRows();
    std::ranges::sort(rows);
    return rows;
}

/// A widget as its window draws it.
[[nodiscard]] inline QImage grabOf(const QWidget &widget)
{
    QWidget *const window = widget.window();
    return window->grab(QRect(widget.mapTo(window, QPoint()), widget.size())).toImage();
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
