// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailService.h"

#include "Log/ZorLog.h"
#include "Model/MediaFolder.h"
#include "Model/Slots.h"
#include "Protocol/Urls.h"
#include "Service/Http/BoundedDownload.h"

#include <QBuffer>
#include <QDeadlineTimer>
#include <QImageReader>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPixmapCache>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 maximumBodySize = 16 << 20;
/// 4096 x 4096. At 8 bytes each, the most that Qt reads, they take exactly the 128 MB of
/// QImageReader's allocation limit, so that limit refuses no picture within this bound.
constexpr qint64 maximumPixelCount = 1 << 24;

/// A scan of a JPEG is a pass over all its pixels, and takes that long. Progressive pictures have
/// about ten, but nothing limits their number.
constexpr qint64 maximumScannedPixels = 16 * maximumPixelCount;

/// How long pictures are decoded in one turn of the event loop, except that one picture may take
/// longer.
constexpr std::chrono::milliseconds turnLength(4);

/// One of them may take 24 MB. Pictures have one, if any: what the camera or editor noted.
constexpr qsizetype mostCompressedTexts = 4;

/// The formats of Qt that describe pixels. Other plugins, which Qt and the desktop install, may do
/// more: an SVG names files of this machine, and Qt opens them; an EPS is a program.
constexpr std::array<QByteArrayView, 21> pixelFormats = {
    "bmp", "cur", "dib", "gif", "icns", "ico",  "jp2",  "jpeg", "jpg", "mng", "pbm",
    "pgm", "png", "ppm", "tga", "tif",  "tiff", "wbmp", "webp", "xbm", "xpm"};

QByteArray encodedUrl(const QNetworkReply &reply)
{
    return reply.request().url().toEncoded();
}

qint64 pixelCount(QSize size)
{
    return qint64{size.width()} * size.height();
}

bool isWithinBounds(QSize size)
{
    return pixelCount(size) <= maximumPixelCount;
}

/// Compressed data never contains the marker of a scan.
bool hasTooManyScans(const QByteArray &jpeg, QSize size)
{
    return jpeg.count("\xff\xda") * pixelCount(size) > maximumScannedPixels;
}

/// PNG data, also inside an icon. Its compressed texts are unpacked before its size is known.
bool hasTooManyTexts(const QByteArray &body)
{
    return body.count("zTXt") + body.count("iTXt") > mostCompressedTexts;
}

/// Looks only at the first bytes; to ask for the size would already read an SVG.
bool isOfPixels(const QImageReader &reader)
{
    return std::ranges::find(pixelFormats, reader.format()) != pixelFormats.end();
}

/// Null if the body is not an image of a format of pixels, or has too many pixels, scans or texts.
/// If the format states a size, it is checked before anything is decoded; otherwise the allocation
/// limit applies.
QImage imageFromBody(QByteArray body)
{
    if (hasTooManyTexts(body))
        return {};
    QBuffer buffer(&body);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    if (!isOfPixels(reader))
        return {};
    if (!isWithinBounds(reader.size()))
        return {};
    if (reader.format() == "jpeg" && hasTooManyScans(body, reader.size()))
        return {};
    QImage image = reader.read();
    return isWithinBounds(image.size()) ? image : QImage();
}

} // namespace

ThumbnailService::ThumbnailService(QSize size, QNetworkAccessManager *manager)
    : networkManager(manager)
    , thumbnailSize(size)
{
    qRegisterMetaType<MediaFolder>("MediaFolder");
    connect(networkManager, &QNetworkAccessManager::finished, this,
            &ThumbnailService::downloadFinished);
    // A posted event would come in the same turn: Qt sends all of them before it looks at anything
    // else.
    connect(&turn, &QTimer::timeout, this, &ThumbnailService::handleArrivals);
}

const QPixmap &ThumbnailService::noThumbnailPixmap()
{
    // Never destroyed: a pixmap must not be destroyed after the application object.
    static const auto *const pixmap = new QPixmap(u":/icons/Bin/bitmap/icons/no_thumbnail.png"_s);
    return *pixmap;
}

void ThumbnailService::loadThumbnails(const MediaFolder &folder, int mediaFolderIndex,
                                      const QHostAddress &serverIp)
{
    folderIndex = mediaFolderIndex;
    fileCount = folder.files.size();
    const quint64 load = cancelDownloads();
    if (load != generation)
        return;
    serverAddress = serverIp;
    pixmaps.resize(Slots::count);
    for (const Visual &visual : folder.files) {
        const QString cacheKey = u"thumbnail+"_s + visual.hash;
        if (!QPixmapCache::find(cacheKey, &pixmaps[visual.slot]))
            requestThumbnail(folder.slot, visual.slot, cacheKey);
    }
    emit increaseDownloadSize(static_cast<int>(pendingThumbnails.size()));
    if (load == generation && pendingThumbnails.isEmpty())
        emit finished(folderIndex, QList<QPixmap>(pixmaps));
}

void ThumbnailService::requestThumbnail(int folderSlot, int fileSlot, const QString &cacheKey)
{
    const QUrl url = Protocol::thumbnailUrl(serverAddress, folderSlot, fileSlot);
    ZOR_LOG(info, "Downloading thumbnail from: %s", url.toEncoded().constData());
    pendingThumbnails.insert(BoundedDownload::get(*networkManager, url, maximumBodySize),
                             {fileSlot, cacheKey});
}

void ThumbnailService::abort()
{
    ZOR_LOG(info, "Abort thumbnail download");
    cancelDownloads();
    emit aborted();
}

quint64 ThumbnailService::cancelDownloads()
{
    const quint64 load = ++generation;
    // The tables are emptied first: a reply that finishes inside `abort` must find no entry, and a
    // receiver of `progress` may start another load.
    const auto arrived = std::exchange(arrivals, {});
    const auto old = std::exchange(pendingThumbnails, {});
    for (const Arrival &arrival : arrived)
        reportProgress(arrival.url);
    for (auto entry = old.cbegin(); entry != old.cend(); ++entry) {
        entry.key()->abort();
        entry.key()->deleteLater();
    }
    if (load == generation)
        pixmaps.resize(0);
    return load;
}

void ThumbnailService::downloadFinished(QNetworkReply *reply)
{
    if (pendingThumbnails.contains(reply)) {
        // Read now: the other service deletes the reply, too.
        const auto failure = BoundedDownload::failure(*reply);
        arrivals.enqueue({pendingThumbnails.take(reply), encodedUrl(*reply), failure,
                          failure ? QByteArray() : reply->readAll()});
        turn.start();
    } else {
        reportProgress(encodedUrl(*reply));
    }
    reply->deleteLater();
}

void ThumbnailService::handleArrivals()
{
    const QDeadlineTimer end(turnLength);
    while (!arrivals.isEmpty()) {
        handle(arrivals.dequeue());
        if (end.hasExpired())
            return;
    }
    turn.stop();
}

void ThumbnailService::handle(const Arrival &arrival)
{
    const quint64 load = generation;
    reportProgress(arrival.url);
    if (load != generation) // a receiver of `progress` has replaced the load
        return;
    if (arrival.failure)
        storeFallback(arrival);
    else
        storeThumbnail(arrival);
}

void ThumbnailService::reportProgress(const QByteArray &url)
{
    ZOR_LOG(info, "Download finished for thumbnail from: %s", url.constData());
    emit progress();
}

void ThumbnailService::storeThumbnail(const Arrival &arrival)
{
    const auto &[slot, cacheKey] = arrival.thumbnail;
    ZOR_LOG(info, "Downloaded was a success");
    QPixmap pixmap = QPixmap::fromImage(imageFromBody(arrival.body));
    if (!pixmap.isNull())
        pixmap = pixmap.scaled(thumbnailSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    if (!QPixmapCache::insert(cacheKey, pixmap))
        ZOR_LOG(info, "Failed to add %s thumbnail to cache", qUtf8Printable(cacheKey));
    pixmaps[slot] = pixmap;
    if (!arrivals.isEmpty() || !pendingThumbnails.isEmpty())
        return;
    const quint64 load = generation;
    emit finished(folderIndex, QList<QPixmap>(pixmaps));
    if (load == generation)
        pixmaps.resize(0);
}

void ThumbnailService::storeFallback(const Arrival &arrival)
{
    ZOR_LOG(error, "Error while getting thumbnail: %s for: %s", qUtf8Printable(*arrival.failure),
            arrival.url.constData());
    const quint64 load = generation;
    emit error(arrival.thumbnail.slot, serverAddress);
    if (load == generation)
        pixmaps[arrival.thumbnail.slot] = noThumbnailPixmap();
}
