// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <QImage>

class QRandomGenerator;

/// Draws a picture with colours, shapes and a label. The same numbers always give the same picture.
/// Needs a QGuiApplication for the fonts.
[[nodiscard]] QImage drawPicture(QSize size, const QString &label, QRandomGenerator &random);

[[nodiscard]] QByteArray pngOf(const QImage &image);

/// Stores a file in a slot. Throws std::runtime_error when it cannot be written.
void storeFile(Library &library, SlotId slot, const QString &fileName, const QByteArray &bytes);
