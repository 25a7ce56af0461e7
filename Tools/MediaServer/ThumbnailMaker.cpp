// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/ThumbnailMaker.h"

#include <QBuffer>
#include <QImageReader>
#include <QPainter>

namespace {

constexpr QSize thumbnailSize(128, 96);

QImage scaled(const QImage &picture)
{
    QImage canvas(thumbnailSize, QImage::Format_RGB32);
    canvas.fill(Qt::black);
    const QImage fitting =
        picture.scaled(thumbnailSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    QPainter painter(&canvas);
    painter.drawImage(
        QRect({(128 - fitting.width()) / 2, (96 - fitting.height()) / 2}, fitting.size()), fitting);
    return canvas;
}

/// Eight by six tiles, each coloured by one byte of the file.
QImage pattern(const QByteArray &firstBytes)
{
    QImage canvas(thumbnailSize, QImage::Format_RGB32);
    canvas.fill(Qt::darkGray);
    QPainter painter(&canvas);
    for (qsizetype i = 0; i < std::min<qsizetype>(firstBytes.size(), 48); ++i) {
        const auto byte = static_cast<uchar>(firstBytes[i]);
        const QPoint corner(static_cast<int>(i % 8) * 16, static_cast<int>(i / 8) * 16);
        painter.fillRect(QRect(corner, QSize(16, 16)), QColor::fromHsv(byte * 359 / 255, 160, 200));
    }
    return canvas;
}

QByteArray draw(QFile &file)
{
    QImageReader reader(&file);
    reader.setAutoTransform(true);
    const QImage picture = reader.read();
    file.seek(0);
    const QImage thumbnail = picture.isNull() ? pattern(file.read(48)) : scaled(picture);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    thumbnail.save(&buffer, "PNG");
    return buffer.data();
}

} // namespace

ThumbnailMaker::ThumbnailMaker(const Library &storage)
    : library(storage)
    , cache(32 << 20)
{
}

std::optional<ThumbnailMaker::Thumbnail> ThumbnailMaker::thumbnail(SlotId slot)
{
    const std::optional<Library::OpenVisual> open = library.open(slot);
    if (!open)
        return {};
    const QString &hash = open->visual.hash;
    {
        const std::lock_guard lock(mutex);
        if (const QByteArray *cached = cache.object(hash))
            return Thumbnail{*cached, hash};
    }
    const QByteArray png = draw(*open->file);
    const std::lock_guard lock(mutex);
    cache.insert(hash, new QByteArray(png), png.size());
    return Thumbnail{png, hash};
}
