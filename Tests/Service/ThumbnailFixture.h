// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/MediaFolder.h"
#include "Service/ThumbnailService.h"
#include "Support/FailOnWarning.h"
#include "Support/PictureMemory.h"
#include "Support/WireServer.h"

#include <QBuffer>
#include <QImage>
#include <QImageWriter>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QPixmapCache>
#include <QSignalSpy>

#include <memory>

/// The beginning of the path of every thumbnail.
inline const QByteArray thumbnails = "/brenvoka/thumbnails/";

/// The bytes of a picture's file.
inline QByteArray encoded(const QImage &image, const char *format)
{
    QBuffer buffer;
    image.save(&buffer, format);
    return buffer.data();
}

/// A white progressive JPEG whose last scan is repeated until it has that many.
inline QByteArray jpegWithScans(QSize size, int count)
{
    QImage image(size, QImage::Format_Grayscale8);
    image.fill(Qt::white);
    QBuffer buffer;
    QImageWriter writer(&buffer, "jpeg");
    writer.setProgressiveScanWrite(true);
    writer.write(image);
    const QByteArray jpeg = buffer.data();
    const qsizetype last = jpeg.lastIndexOf("\xff\xda");
    const qsizetype more = count - jpeg.count("\xff\xda");
    return jpeg.chopped(2) + jpeg.sliced(last).chopped(2).repeated(more) + jpeg.last(2);
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

/// One service, with its signals recorded.
struct ThumbnailLoader
{
    explicit ThumbnailLoader(QNetworkAccessManager *manager)
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

/// The base of tests with a service and the server that it loads from. `init` calls `start`,
/// `cleanup` calls `stop`.
class ThumbnailFixture : public QObject
{
protected:
    void start(const QString &address)
    {
        failOnAnyWarning();
        QPixmapCache::clear();
        peer = std::make_unique<WireServer>(address);
        manager = std::make_unique<QNetworkAccessManager>();
        manager->setProxy(QNetworkProxy::NoProxy);
        loader = std::make_unique<ThumbnailLoader>(manager.get());
    }
    void stop()
    {
        loader.reset();
        manager.reset();
        peer.reset();
    }
    void load(ThumbnailLoader &listener, const Visuals &visuals, int index = 0)
    {
        listener.service.loadThumbnails(folderOf(visuals), index, peer->address());
    }

    std::unique_ptr<WireServer> peer;
    std::unique_ptr<QNetworkAccessManager> manager;
    std::unique_ptr<ThumbnailLoader> loader;
};
