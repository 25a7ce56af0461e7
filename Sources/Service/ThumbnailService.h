// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPixmap>
#include <QQueue>
#include <QSize>
#include <QTimer>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
struct MediaFolder;

/// Loads the pictures of one folder of one server, from the process-wide QPixmapCache or over HTTP.
///
/// There is one load at a time: a new one replaces a running one without a signal. All requests of
/// a load are sent at once. A body of more than 16 MiB is a failed download. A picture of more than
/// 2^24 pixels, a JPEG with very many scans and a PNG with more than four compressed texts are not
/// decoded and count as empty pictures. Two services share one network manager and both see all its
/// replies, so both emit `progress` for each reply of either.
///
/// Many pictures may arrive together. They are handled in the order of their arrival, for a few
/// milliseconds in each turn of the event loop, so that the window responds meanwhile. The signals
/// of a reply are emitted when it is handled. A load that ends drops what it has not handled.
///
/// A receiver may start or end a load during a signal, but must not run an event loop.
class ThumbnailService final : public QObject
{
    Q_OBJECT

public:
    /// Every downloaded picture is scaled to `size`. The manager is not owned and must outlive the
    /// service.
    ThumbnailService(QSize size, QNetworkAccessManager *manager);

    /// The picture for a visual whose download failed, at its own size.
    [[nodiscard]] static const QPixmap &noThumbnailPixmap();

public slots:
    /// Starts the load of `folder`. `finished` returns `mediaFolderIndex` unchanged. It is emitted
    /// inside this call if every picture is in the cache.
    void loadThumbnails(const MediaFolder &folder, int mediaFolderIndex,
                        const QHostAddress &serverIp);

    /// Ends the running load, if any. Always emits `aborted`.
    void abort();

signals:
    /// The load is complete: 256 pictures by slot, null where the folder has no visual or the
    /// server sent no picture. Required: not emitted if the last reply of a load has failed.
    void finished(int mediaFolderIndex, const QList<QPixmap> &pixmaps);

    /// A reply of the manager finished: of this service or of another, with or without an error.
    /// For a reply of this service it is emitted when the reply is handled or dropped.
    void progress();

    /// The download of one visual failed. Required, though nothing is connected to it.
    void error(int fileSlot, const QHostAddress &serverIp);

    void aborted();

    /// The number of downloads that a load has started, 0 included.
    void increaseDownloadSize(int count);

private slots:
    void downloadFinished(QNetworkReply *reply);

private:
    struct PendingThumbnail
    {
        int slot = 0;
        QString cacheKey;
    };
    /// What a finished reply has left.
    struct Arrival
    {
        PendingThumbnail thumbnail;
        QByteArray url;
        std::optional<QString> failure;
        QByteArray body;
    };

    void requestThumbnail(int folderSlot, int fileSlot, const QString &cacheKey);
    void handleArrivals();
    void handle(const Arrival &arrival);
    void reportProgress(const QByteArray &url);
    void storeThumbnail(const Arrival &arrival);
    void storeFallback(const Arrival &arrival);
    /// Returns the number of the next load: the new `generation`.
    quint64 cancelDownloads();

    QNetworkAccessManager *networkManager;
    QHash<QNetworkReply *, PendingThumbnail> pendingThumbnails;
    QQueue<Arrival> arrivals; ///< of the running load, not yet handled
    QTimer turn;              ///< fires in each turn of the event loop while there are arrivals
    QList<QPixmap> pixmaps;
    QSize thumbnailSize;
    int folderIndex = 0;
    qint64 fileCount = 0; ///< of the folder; required, though nothing reads it
    QHostAddress serverAddress;
    /// Counts loads and cancels. Compared after each signal: a receiver may have started another
    /// load.
    quint64 generation = 0;
};
