// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

/// One thing that an operator may see, played with the real windows.
struct Scene
{
    QString name;                 ///< lower case with hyphens; also the name of the picture's file
    std::function<QImage()> take; ///< a null picture if the scene could not be played
    bool golden = false;          ///< whether the picture is compared with the one that is kept
};

/// The main window: views, sizes, levels, names, servers, and what opens from it.
[[nodiscard]] QList<Scene> windowScenes();

/// Every dialog and every kind of message.
[[nodiscard]] QList<Scene> dialogScenes();

/// The main window with the thumbnails of real photographs, fetched from two servers; none if the
/// directory has none of them.
[[nodiscard]] QList<Scene> photographScenes(const QString &directory);
