// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QStringList>

class QWidget;

/// Fixes what else would differ from machine to machine or from second to second: style, language
/// and blinking cursor. Call it once, before the first widget is made.
void settleLook();

/// The fonts of the pictures that this machine or the environment lacks, empty if all is well. They
/// are named by Tests/Look/fonts.conf, to which FONTCONFIG_FILE is to point.
[[nodiscard]] QStringList missingFonts();

/// Waits until a window that was shown has the keyboard, and with it the focus that it shows; false
/// after ten seconds. The platform calls a window active before Qt gives it the focus.
[[nodiscard]] bool waitForKeyboard(const QWidget &window);

/// One widget as it stands on the screen, in the pixels of the screen.
[[nodiscard]] QImage pictureOf(QWidget &widget);

/// All windows on the screen, lists and menus that have popped up, and the tool tip.
[[nodiscard]] QImage screenPicture();

/// What has changed between two pictures.
struct Difference
{
    qint64 pixels = 0; ///< how many differ so much that it is no matter of rounding
    double share = 0;  ///< of all pixels, from 0 to 1; 1 for pictures of different sizes
    QImage picture;    ///< the new picture, faint, with these pixels in red
};

[[nodiscard]] Difference difference(const QImage &before, const QImage &after);
