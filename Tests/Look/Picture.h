// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>
#include <QStringList>

class QWidget;

/// Sets what would otherwise depend on the machine or the time: style, language and the blinking
/// cursor. Call it once before the first widget is created.
void setUpAppearance();

/// The missing fonts of the pictures; empty if all are available. FONTCONFIG_FILE must be
/// Tests/Look/fonts.conf.
[[nodiscard]] QStringList missingFonts();

/// Waits until a shown window is active and its widget has the focus; false after ten seconds. The
/// platform activates a window before Qt sets the focus.
[[nodiscard]] bool waitForKeyboard(const QWidget &window);

/// A widget as it is shown, in pixels of the screen.
[[nodiscard]] QImage pictureOf(QWidget &widget);

/// All visible windows, with open lists, menus and the tool tip.
[[nodiscard]] QImage screenPicture();

/// The differences between two pictures.
struct Difference
{
    qint64 pixels = 0; ///< number of pixels that differ by more than rounding
    double share = 0;  ///< share of these pixels, from 0 to 1; 1 for pictures of different sizes
    QImage picture;    ///< the new picture, faint, with these pixels in red
};

[[nodiscard]] Difference difference(const QImage &before, const QImage &after);
