// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QBuffer>
#include <QImage>

#include <cmath>

/// The bytes of a PNG file of one colour.
[[nodiscard]] inline QByteArray png(const QColor &color, QSize size = {16, 12})
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
}

/// How many pixels of two pictures of the same size differ visibly in brightness.
[[nodiscard]] inline int visiblyDifferentPixels(const QImage &one, const QImage &other)
{
    int count = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x)
            count += qAbs(qGray(one.pixel(x, y)) - qGray(other.pixel(x, y))) > 64;
    }
    return count;
}

[[nodiscard]] inline double luminance(QRgb rgb)
{
    const auto part = [](int value) { return std::pow(value / 255.0, 2.2); };
    return 0.2126 * part(qRed(rgb)) + 0.7152 * part(qGreen(rgb)) + 0.0722 * part(qBlue(rgb));
}

/// Contrast between the brightest and the darkest pixel, from 1 to 21. Text is readable from 4.5.
[[nodiscard]] inline double contrast(const QImage &image)
{
    double darkest = 1;
    double brightest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            darkest = qMin(darkest, luminance(image.pixel(x, y)));
            brightest = qMax(brightest, luminance(image.pixel(x, y)));
        }
    }
    return (brightest + 0.05) / (darkest + 0.05);
}
