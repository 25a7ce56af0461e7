// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailFixture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireServer.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QPixmapCache>
#include <QTest>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

/// The time to load the pictures of a full folder over HTTP and again from memory.
class tst_ThumbnailBenchmark : public QObject
{
    Q_OBJECT

private slots:
    void fullFolder()
    {
        constexpr int visuals = 255;
        constexpr int rounds = 7;
        WireServer server(loopback(1));
        server.answer("/brenvoka/thumbnails/", picture({128, 96}, Qt::red));
        QNetworkAccessManager manager;
        manager.setProxy(QNetworkProxy::NoProxy);
        ThumbnailLoader bank(&manager);
        Visuals slots255;
        for (int slot = 1; slot <= visuals; ++slot)
            slots255.append({slot, QString::number(slot).rightJustified(32, u'0')});
        const MediaFolder folder = folderOf(slots255);
        QPixmapCache::setCacheLimit(40960);

        QList<qint64> overHttp;
        QList<qint64> fromCache;
        for (int round = 0; round < rounds; ++round) {
            QPixmapCache::clear();
            overHttp.append(timeOfLoad(bank, folder, server.address()));
            fromCache.append(timeOfLoad(bank, folder, server.address()));
            QCOMPARE(server.requests().size(), visuals * (round + 1));
        }
        const double http = median(overHttp);
        const double cache = median(fromCache);
        qInfo("%d thumbnails, median of %d rounds: over HTTP %.2f ms, from memory %.3f ms, "
              "ratio %.0f",
              visuals, rounds, http, cache, http / cache);
        QVERIFY(http > 10 * cache);
    }

private:
    static qint64 timeOfLoad(ThumbnailLoader &bank, const MediaFolder &folder,
                             const QHostAddress &address)
    {
        QElapsedTimer timer;
        timer.start();
        const qsizetype before = bank.finished.size();
        bank.service.loadThumbnails(folder, 0, address);
        while (bank.finished.size() == before && timer.elapsed() < patience)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return timer.nsecsElapsed();
    }

    /// In milliseconds.
    static double median(QList<qint64> nanoseconds)
    {
        std::ranges::sort(nanoseconds);
        return static_cast<double>(nanoseconds.at(nanoseconds.size() / 2)) / 1e6;
    }
};

QTEST_MAIN(tst_ThumbnailBenchmark)
#include "tst_ThumbnailBenchmark.moc"
