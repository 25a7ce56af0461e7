// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPixmap>
#include <QSize>

class QNetworkAccessManager;
class QNetworkReply;
struct MediaFolder;

/// Gets the pictures of one folder of one server, from the process-wide QPixmapCache or over HTTP.
///
/// One load at a time: a new one replaces a running one without a word. All requests of a load go
/// out at once. A body of more than 16 MiB is a failed download, and a picture of more than 2^24
/// pixels is no picture. Two services share one network manager, and each sees every reply of it;
/// therefore `progress` comes from both for each reply of either.
///
/// A receiver may start or end a load while a signal goes out, but must not run an event loop.
class ThumbnailService final : public QObject
{
    Q_OBJECT

public:
    /// Every downloaded picture is forced to `size`. The manager is borrowed and must
    /// outlive the service.
    ThumbnailService(QSize size, QNetworkAccessManager *manager);

    /// The picture of a visual whose download failed, at its own size.
    [[nodiscard]] static const QPixmap &noThumbnailPixmap();

public slots:
    /// Starts the load of `folder`. `mediaFolderIndex` is handed back untouched by `finished`,
    /// which comes from inside this call when every picture is in the cache.
    void loadThumbnails(const MediaFolder &folder, int mediaFolderIndex,
                        const QHostAddress &serverIp);

    /// Ends the running load, if any; the signal `aborted` comes in any case.
    void abort();

signals:
    /// The load is complete: 256 pictures by slot, null where the folder has no visual and where
    /// the server sent no picture. Required: does not come when the last reply of a load is a
    /// failed one.
    void finished(int mediaFolderIndex, const QList<QPixmap> &pixmaps);

    /// A reply of the manager ended, of this service or of another, well or badly.
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

    void requestThumbnail(int folderSlot, int fileSlot, const QString &cacheKey);
    void storeThumbnail(QNetworkReply *reply, const PendingThumbnail &thumbnail);
    void storeFallback(QNetworkReply *reply, const PendingThumbnail &thumbnail);
    /// Returns the number of the load that may follow: the `generation` that it has set.
    quint64 cancelDownloads();

    QNetworkAccessManager *networkManager;
    QHash<QNetworkReply *, PendingThumbnail> pendingThumbnails;
    QList<QPixmap> pixmaps;
    QSize thumbnailSize;
    int folderIndex = 0;
    qint64 fileCount = 0; ///< of the folder; required, though nothing reads it
    QHostAddress serverAddress;
    /// Counts loads and cancels. Whoever emits compares it afterwards: a receiver may have started
    /// another load.
    quint64 generation = 0;
};
