// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

/// One picture that an operator may see, taken of the real windows.
struct Scene
{
    QString name;                 ///< lower case with hyphens; also the name of the picture's file
    std::function<QImage()> take; ///< a null picture if the scene failed
    bool golden = false;          ///< whether the picture is compared with the one that is kept
};

/// The main window: views, sizes, levels, names, servers, menus and lists.
[[nodiscard]] QList<Scene> windowScenes();

/// Every dialog and every kind of message.
[[nodiscard]] QList<Scene> dialogScenes();

/// The main window with thumbnails of real photographs, downloaded from two servers; empty if the
/// directory has none of them.
[[nodiscard]] QList<Scene> photographScenes(const QString &directory);
