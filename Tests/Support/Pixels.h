// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QImage>

/// How many pixels of two pictures of one size differ so much in brightness that an eye sees it.
[[nodiscard]] inline int visiblyDifferentPixels(const QImage &one, const QImage &other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            count += qAbs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) > 64;
    }
    return count;
}
