// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailService.h"

#include "Service/ThumbnailFixture.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"
#include "Support/WireFile.h"

#include <QNetworkReply>
#include <QPixmapCache>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

#include <utility>

using namespace Qt::Literals::StringLiterals;

/// Loads of single folders by one service.
class tst_ThumbnailService : public ThumbnailFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        start(loopback(1));
        QPixmapCache::setCacheLimit(40960);
    }
    void cleanup() { stop(); }

    void requestIsAPlainGet()
    {
        load(*loader, {{17, u"x"_s}});
        QVERIFY(peer->waitForRequests(1));
        QVERIFY(peer->requests().constFirst().head.startsWith(
            wireFile(u"thumbnail-folder-3-slot-17.http"_s).trimmed() + "\r\n"));
        QVERIFY(peer->requests().constFirst().body.isEmpty());
    }

    void emptyFolderIsFinishedAtOnce()
    {
        load(*loader, {}, 42);
        QCOMPARE(loader->downloads.size(), 1);
        QCOMPARE(loader->downloads.constFirst().constFirst().toInt(), 0);
        QCOMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->finished.constFirst().constFirst().toInt(), 42);
        QCOMPARE(loader->pixmaps().size(), 256);
        for (const QPixmap &pixmap : loader->pixmaps())
            QVERIFY(pixmap.isNull());
        QCOMPARE(loader->progress.size(), 0);
    }

    void cachedFolderIsFinishedAtOnce()
    {
        peer->on(thumbnails, [](const WireRequest &request) {
            const bool first = request.path().endsWith("/0.png");
            request.answer(picture({10, 10}, first ? Qt::red : Qt::blue));
        });
        const Visuals visuals = {{0, u"x"_s}, {255, u"y"_s}};
        load(*loader, visuals);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->downloads.constLast().constFirst().toInt(), 2);
        QCOMPARE(loader->progress.size(), 2);

        load(*loader, visuals, 7);
        QCOMPARE(loader->finished.size(), 2);
        QCOMPARE(loader->finished.constLast().constFirst().toInt(), 7);
        QCOMPARE(loader->downloads.constLast().constFirst().toInt(), 0);
        QCOMPARE(loader->progress.size(), 2);
        QCOMPARE(peer->requests().size(), 2);
        QCOMPARE(loader->pixmaps().size(), 256);
        QCOMPARE(colorOf(loader->pixmaps().at(0)), QColor(Qt::red));
        QCOMPARE(colorOf(loader->pixmaps().at(255)), QColor(Qt::blue));
        QVERIFY(loader->pixmaps().at(1).isNull());
    }

    void cacheIsKeyedByContent()
    {
        QPixmap pixmap(128, 96);
        pixmap.fill(Qt::green);
        QPixmapCache::insert(u"thumbnail+x"_s, pixmap);
        load(*loader, {{1, u"x"_s}, {200, u"x"_s}});
        QCOMPARE(loader->finished.size(), 1);
        QCOMPARE(colorOf(loader->pixmaps().at(1)), QColor(Qt::green));
        QCOMPARE(colorOf(loader->pixmaps().at(200)), QColor(Qt::green));
    }

    void sameContentInTwoSlotsIsRequestedTwice()
    {
        peer->answer(thumbnails, picture({10, 10}, Qt::red));
        load(*loader, {{1, u"x"_s}, {2, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->downloads.constFirst().constFirst().toInt(), 2);
        QCOMPARE(peer->requests().size(), 2);
        QCOMPARE(loader->pixmaps().at(1).size(), QSize(128, 96));
        QCOMPARE(loader->pixmaps().at(2).size(), QSize(128, 96));
        QVERIFY(QPixmapCache::find(u"thumbnail+x"_s, nullptr));
    }

    void repliesMayFinishInAnyOrder()
    {
        load(*loader, {{0, u"r"_s}, {1, u"g"_s}, {2, u"b"_s}});
        QVERIFY(peer->waitForRequests(3));
        const QList<QColor> colors = {Qt::red, Qt::green, Qt::blue};
        for (int slot : {2, 0, 1}) {
            const QByteArray path = "/brenvoka/thumbnails/3/" + QByteArray::number(slot) + ".png";
            peer->requests(path).constFirst().answer(picture({4, 4}, colors.at(slot)));
            EVENTUALLY_COMPARE(loader->progress.size(), slot == 2 ? 1 : slot + 2);
        }
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        for (int slot = 0; slot < 3; ++slot)
            QCOMPARE(colorOf(loader->pixmaps().at(slot)), colors.at(slot));
    }

    void failedDownloadGetsTheFallbackPicture()
    {
        LogCapture log;
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        QVERIFY(peer->waitForRequests(2));
        peer->requests("/brenvoka/thumbnails/3/1.png").constFirst().answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(loader->error.size(), 1);
        QCOMPARE(loader->error.constFirst().at(0).toInt(), 1);
        QCOMPARE(loader->error.constFirst().at(1).value<QHostAddress>(), peer->address());
        QCOMPARE(loader->finished.size(), 0);
        QCOMPARE(log.entries()
                     .filter(QRegularExpression(
                         u"^error: Error while getting thumbnail: .+ for: http://" LOOPBACK(
                             1) ":4567/brenvoka/thumbnails/3/1\\.png\\?ver=281474976710656$"_s))
                     .size(),
                 1);

        peer->requests("/brenvoka/thumbnails/3/2.png")
            .constFirst()
            .answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        const QPixmap fallback(u":/icons/Bin/bitmap/icons/no_thumbnail.png"_s);
        QVERIFY(!fallback.isNull());
        QCOMPARE(loader->pixmaps().at(1).toImage(), fallback.toImage());
        QCOMPARE(colorOf(loader->pixmaps().at(2)), QColor(Qt::red));
        QVERIFY(!QPixmapCache::find(u"thumbnail+x"_s, nullptr));
    }

    void signalsAreEmittedInOrder()
    {
        QStringList lines;
        const auto record = [&](auto signal, const QString &line) {
            connect(&loader->service, signal, &loader->service,
                    [&lines, line] { lines.append(line); });
        };
        record(&ThumbnailService::increaseDownloadSize, u"downloads"_s);
        record(&ThumbnailService::progress, u"progress"_s);
        record(&ThumbnailService::error, u"error"_s);
        record(&ThumbnailService::finished, u"finished"_s);
        record(&ThumbnailService::aborted, u"aborted"_s);

        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        QCOMPARE(lines, QStringList{u"downloads"_s});
        QVERIFY(peer->waitForRequests(2));
        peer->requests().at(0).answer({}, {}, "404 Not Found");
        EVENTUALLY_COMPARE(lines.mid(1), (QStringList{u"progress"_s, u"error"_s}));
        peer->requests().at(1).answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(lines.mid(3), (QStringList{u"progress"_s, u"finished"_s}));

        load(*loader, {});
        QCOMPARE(lines.mid(5), (QStringList{u"downloads"_s, u"finished"_s}));
        load(*loader, {{3, u"z"_s}});
        loader->service.abort();
        QCOMPARE(lines.mid(7), (QStringList{u"downloads"_s, u"progress"_s, u"aborted"_s}));
    }

    void loadWithAFailedLastReplyNeverFinishes()
    {
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        QVERIFY(peer->waitForRequests(2));
        peer->requests().at(0).answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(loader->progress.size(), 1);
        peer->requests().at(1).answer({}, {}, "500 Oops");
        EVENTUALLY_COMPARE(loader->error.size(), 1);
        EVENTUALLY_COMPARE(loader->progress.size(), 2);
        QCOMPARE(loader->finished.size(), 0);

        // The next load starts with no pictures.
        load(*loader, {});
        QCOMPARE(loader->finished.size(), 1);
        QVERIFY(loader->pixmaps().at(1).isNull() && loader->pixmaps().at(2).isNull());
    }

    void pictureRefusedByTheCacheIsShown()
    {
        LogCapture log;
        QPixmapCache::setCacheLimit(1);
        peer->answer(thumbnails, picture({4, 4}, Qt::red));
        for (int i = 1; i <= 2; ++i) {
            load(*loader, {{5, u"abc"_s}});
            EVENTUALLY_COMPARE(loader->finished.size(), i);
            QCOMPARE(colorOf(loader->pixmaps().at(5)), QColor(Qt::red));
        }
        QCOMPARE(peer->requests().size(), 2);
        QCOMPARE(log.entries().count(u"info: Failed to add thumbnail+abc thumbnail to cache"_s), 2);
    }

    void downloadsAreLogged()
    {
        LogCapture log;
        peer->answer(thumbnails, picture({4, 4}, Qt::red));
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        const QString url =
            u"http://" LOOPBACK(1) ":4567/brenvoka/thumbnails/3/9.png?ver=281474976710656"_s;
        QCOMPARE(log.entries(),
                 (QStringList{u"info: Downloading thumbnail from: "_s + url,
                              u"info: Download finished for thumbnail from: "_s + url,
                              u"info: Downloaded was a success"_s}));
    }

    void abortWithoutALoadIsReported()
    {
        LogCapture log;
        loader->service.abort();
        QCOMPARE(loader->aborted.size(), 1);
        QCOMPARE(loader->progress.size(), 0);
        QVERIFY(log.entries().contains(u"info: Abort thumbnail download"_s));
    }

    void abortEndsTheLoad()
    {
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        QVERIFY(peer->waitForRequests(2));
        loader->service.abort();
        QCOMPARE(loader->aborted.size(), 1);
        QCOMPARE(loader->progress.size(), 2);
        QCOMPARE(loader->error.size(), 0);
        EVENTUALLY_COMPARE(peer->openConnections(), 0);
        QCOMPARE(loader->finished.size(), 0);
    }

    void abortInOneReceiverKeepsThePicturesOfOthers()
    {
        qsizetype count = -1;
        connect(&loader->service, &ThumbnailService::finished, &loader->service,
                &ThumbnailService::abort);
        connect(&loader->service, &ThumbnailService::finished, this,
                [&count](int, const QList<QPixmap> &pixmaps) { count = pixmaps.size(); });
        load(*loader, {});
        QCOMPARE(std::exchange(count, -1), 256);
        peer->answer(thumbnails, picture({4, 4}, Qt::red));
        load(*loader, {{1, u"x"_s}});
        EVENTUALLY_COMPARE(count, 256);
    }

    void newLoadReplacesTheRunningOne()
    {
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        QVERIFY(peer->waitForRequests(2));
        peer->answer(thumbnails, picture({4, 4}, Qt::blue));
        load(*loader, {{3, u"z"_s}}, 2);
        QCOMPARE(loader->progress.size(), 2);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->aborted.size(), 0);
        QCOMPARE(loader->error.size(), 0);
        QCOMPARE(loader->progress.size(), 3);
        QCOMPARE(loader->finished.constFirst().constFirst().toInt(), 2);
        QVERIFY(loader->pixmaps().at(1).isNull());
        QCOMPARE(colorOf(loader->pixmaps().at(3)), QColor(Qt::blue));
    }
};

QTEST_MAIN(tst_ThumbnailService)
#include "tst_ThumbnailService.moc"
