// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

/// A state of the real windows of which a picture is taken.
struct Scene
{
    QString name;                 ///< lower case with hyphens; also the name of the picture's file
    std::function<QImage()> take; ///< returns a null picture if the scene could not be set up
    bool golden = false;          ///< whether the test compares it with a golden picture
};

/// The main window: views, sizes, levels, names, servers, menus and lists.
[[nodiscard]] QList<Scene> windowScenes();

/// Every dialog and every kind of message.
[[nodiscard]] QList<Scene> dialogScenes();

/// The main window with thumbnails of photographs, fetched from two servers; empty if the directory
/// has none of these photographs.
[[nodiscard]] QList<Scene> photographScenes(const QString &directory);
