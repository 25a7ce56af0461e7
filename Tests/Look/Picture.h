// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QStringList>

class QWidget;

/// Fixes what would differ between machines or moments: style, language and blinking cursor. Call
/// it once, before the first widget is created.
void setUpAppearance();

/// The missing fonts, empty if all exist. Tests/Look/fonts.conf names them, and FONTCONFIG_FILE has
/// to name that file.
[[nodiscard]] QStringList missingFonts();

/// Waits until a shown window has the keyboard focus; false after `patience`. The platform calls a
/// window active before Qt gives it the focus.
[[nodiscard]] bool waitForKeyboard(const QWidget &window);

/// One widget as the screen shows it, in device pixels.
[[nodiscard]] QImage pictureOf(QWidget &widget);

/// All windows on the screen, open lists and menus, and the tool tip.
[[nodiscard]] QImage screenPicture();

/// The difference between two pictures.
struct Difference
{
    qint64 pixels = 0; ///< how many differ by more than rounding
    double share = 0;  ///< of all pixels, from 0 to 1; 1 for pictures of different sizes
    QImage picture;    ///< the new picture, faint, with these pixels in red
};

[[nodiscard]] Difference difference(const QImage &before, const QImage &after);
