// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Service/ThumbnailService.h"
#include "Support/PictureMemory.h"

#include <QBuffer>
#include <QImage>
#include <QSignalSpy>

/// What the tests of the thumbnails share.
namespace ThumbnailTestKit {

/// The bytes of a picture's file.
inline QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    image.save(&buffer, format);
    return buffer.data();
}

/// A picture of one colour, as the bytes of a file.
inline QByteArray picture(QSize size, const QColor &color, const char *format = "PNG")
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(color);
    return encoded(image, format);
}

inline QColor colorOf(const QPixmap &pixmap)
{
    return pixmap.isNull() ? QColor() : pixmap.toImage().pixelColor(5, 5);
}

/// Slot and hash of each visual.
using Visuals = QList<QPair<int, QString>>;

/// A folder at slot 3.
inline MediaFolder folderOf(const Visuals &visuals)
{
    MediaFolder folder;
    folder.slot = 3;
    for (const auto &[slot, hash] : visuals) {
        Visual visual;
        visual.slot = slot;
        visual.hash = hash;
        folder.files.append(visual);
    }
    return folder;
}

/// One service and everything that it says.
struct Listener
{
    explicit Listener(QNetworkAccessManager *manager)
        : service({128, 96}, manager)
    {
        PictureMemory::keep();
    }

    /// The pictures of the latest `finished`.
    [[nodiscard]] QList<QPixmap> pixmaps() const
    {
        return finished.constLast().at(1).value<QList<QPixmap>>();
    }

    ThumbnailService service;
    QSignalSpy finished{&service, &ThumbnailService::finished};
    QSignalSpy progress{&service, &ThumbnailService::progress};
    QSignalSpy error{&service, &ThumbnailService::error};
    QSignalSpy aborted{&service, &ThumbnailService::aborted};
    QSignalSpy downloads{&service, &ThumbnailService::increaseDownloadSize};
};

} // namespace ThumbnailTestKit
