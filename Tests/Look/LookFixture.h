// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Look/Picture.h"
#include "Support/WindowFixture.h"

#include <QComboBox>
#include <QPushButton>

/// A thumbnail as a server creates it: sky, sun and hills, in other colours for each number.
[[nodiscard]] QPixmap drawnThumbnail(int number);

/// A server with folders of those names, from slot 0 on. Each has all titles, from slot 1 on, and
/// skips every fifth slot unless there are titles for all. Their drawn thumbnails are cached.
[[nodiscard]] Server stageServer(const QString &name, int number, const QStringList &folderNames,
                                 const QStringList &titles);

/// Another server with the same library except for some folders and slots.
[[nodiscard]] Server differingServer(const Server &server, const QString &name, int number);

/// A view mode and size of the main window, chosen with its buttons.
struct View
{
    bool list = true;
    int size = 1; ///< 0 small, 1 medium, 2 large

    void choose(const BVMainWindow &window) const
    {
        const auto click = [&window](const char *name) {
            window.findChild<QPushButton *>(QLatin1String(name))->click();
        };
        click(list ? "listModeButton" : "gridModeButton");
        click(size == 0 ? "smallSizeButton" : size == 1 ? "mediumSizeButton" : "largeSizeButton");
    }
    [[nodiscard]] QString name() const
    {
        const QString sizeName = size == 0   ? QStringLiteral("small")
                                 : size == 1 ? QStringLiteral("medium")
                                             : QStringLiteral("large");
        return (list ? QStringLiteral("list-") : QStringLiteral("grid-")) + sizeName;
    }
};

/// All six views, the lists first.
[[nodiscard]] QList<View> allViews();

/// The visible main window with connected servers, of which the banks show the first two.
class LookFixture final : public WindowFixture
{
public:
    explicit LookFixture(const QList<Server> &servers, const View &view = {});

    /// Opens a folder in both banks and waits until its rows are there.
    [[nodiscard]] bool open(int folder);

    [[nodiscard]] QImage picture() { return pictureOf(*window); }
};

/// Two usual servers that differ a little.
[[nodiscard]] QList<Server> usualServers();
