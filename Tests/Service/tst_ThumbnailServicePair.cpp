// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailFixture.h"
#include "Support/LogCapture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QPixmapCache>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// Two services on one manager, as in the two banks, and receivers that start or end loads during
/// a signal.
class tst_ThumbnailServicePair : public ThumbnailFixture
{
    Q_OBJECT

private slots:
    void init()
    {
        start(loopback(1));
        otherLoader = std::make_unique<ThumbnailLoader>(manager.get());
    }
    void cleanup()
    {
        otherLoader.reset();
        stop();
    }

    void replyCausesProgressOfBothServices()
    {
        LogCapture log;
        answerWith(Qt::red);
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        EVENTUALLY_COMPARE(otherLoader->progress.size(), 2);
        QCOMPARE(loader->progress.size(), 2);
        QCOMPARE(otherLoader->finished.size(), 0);
        QCOMPARE(log.texts().filter(u"Download finished for thumbnail from: http://127."_s).size(),
                 4);
        QCOMPARE(log.texts().count(u"Downloaded was a success"_s), 2);
    }

    void bothLoadAtTheSameTime()
    {
        load(*loader, {{1, u"x"_s}}, 1);
        load(*otherLoader, {{1, u"y"_s}, {2, u"z"_s}}, 2);
        QVERIFY(peer->waitForRequests(3));
        for (const WireRequest &request : peer->requests())
            request.answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        EVENTUALLY_COMPARE(otherLoader->finished.size(), 1);
        EVENTUALLY_COMPARE(loader->progress.size(), 3);
        EVENTUALLY_COMPARE(otherLoader->progress.size(), 3);
        QCOMPARE(loader->finished.constFirst().constFirst().toInt(), 1);
        QCOMPARE(otherLoader->finished.constFirst().constFirst().toInt(), 2);
    }

    void abortDoesNotStopTheOtherService()
    {
        load(*loader, {{1, u"x"_s}});
        load(*otherLoader, {{1, u"y"_s}});
        QVERIFY(peer->waitForRequests(2));
        loader->service.abort();
        QCOMPARE(loader->progress.size(), 1);
        QCOMPARE(otherLoader->progress.size(), 1);
        QCOMPARE(otherLoader->aborted.size(), 0);
        // Either request may have arrived first; bytes for the aborted one are dropped.
        for (const WireRequest &request : peer->requests())
            request.answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(otherLoader->finished.size(), 1);
        QCOMPARE(loader->finished.size(), 0);
        QCOMPARE(loader->progress.size(), 2);
    }

    void unknownReplyIsReleased()
    {
        QNetworkReply *reply = manager->get(QNetworkRequest(QUrl(u"data:,x"_s)));
        QSignalSpy destroyed(reply, &QObject::destroyed);
        EVENTUALLY_COMPARE(destroyed.size(), 1);
        QCOMPARE(loader->progress.size(), 1);
        QCOMPARE(otherLoader->progress.size(), 1);
        QCOMPARE(loader->error.size() + loader->finished.size(), 0);
    }

    void evictedPictureComesFromTheDiskCache()
    {
        QTemporaryDir directory;
        auto *cache = new QNetworkDiskCache(manager.get());
        cache->setCacheDirectory(directory.path());
        manager->setCache(cache);
        peer->answer(thumbnails, picture({4, 4}, Qt::red), "Cache-Control: max-age=3600\r\n");
        for (int i = 1; i <= 2; ++i) {
            QPixmapCache::clear();
            load(*loader, {{1, u"x"_s}});
            EVENTUALLY_COMPARE(loader->finished.size(), i);
            QCOMPARE(colorOf(loader->pixmaps().at(1)), QColor(Qt::red));
        }
        QCOMPARE(peer->requests().size(), 1);
        QCOMPARE(loader->progress.size(), 2);
    }

    void receiverOfFinishedStartsALoad_data() { nextLoads(); }
    void receiverOfFinishedStartsALoad()
    {
        startNextAt(&ThumbnailService::finished);
        load(*loader, {{1, u"x"_s}}, 1);
        EVENTUALLY_COMPARE(loader->finished.size(), 2);
        verifyNextLoad();
    }

    void receiverOfProgressStartsALoad_data() { nextLoads(); }
    void receiverOfProgressStartsALoad()
    {
        startNextAt(&ThumbnailService::progress);
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        verifyNextLoad();
    }

    void receiverOfErrorStartsALoad_data() { nextLoads(); }
    void receiverOfErrorStartsALoad()
    {
        startNextAt(&ThumbnailService::error);
        peer->answer("/brenvoka/thumbnails/3/1.png", {}, {}, "404 Not Found");
        load(*loader, {{1, u"x"_s}}, 1);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        verifyNextLoad();
    }

    /// The replies of the first load finish inside the second call, whose first `progress` starts
    /// a third load, which remains.
    void receiverStartsALoadWhileAnotherIsReplaced_data() { nextLoads(); }
    void receiverStartsALoadWhileAnotherIsReplaced()
    {
        peer->hold("/brenvoka/thumbnails/3/1.png");
        load(*loader, {{1, u"x"_s}}, 1);
        QVERIFY(peer->waitForRequests(1));
        startNextAt(&ThumbnailService::progress);
        load(*loader, {{2, u"y"_s}}, 3);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        verifyNextLoad();
        QCOMPARE(peer->requests("/brenvoka/thumbnails/3/2.png").size(), 0);
    }

    void receiverAbortsBeforeACachedLoadIsFinished()
    {
        connect(&loader->service, &ThumbnailService::increaseDownloadSize, &loader->service,
                &ThumbnailService::abort);
        load(*loader, {});
        QCOMPARE(loader->aborted.size(), 1);
        QCOMPARE(loader->finished.size(), 0);
    }

    void receiverOfProgressAborts()
    {
        answerWith(Qt::red);
        connect(&loader->service, &ThumbnailService::progress, &loader->service,
                [this, done = false]() mutable {
                    if (!std::exchange(done, true))
                        loader->service.abort();
                });
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        EVENTUALLY_COMPARE(loader->aborted.size(), 1);
        QCOMPARE(loader->finished.size(), 0);
        load(*loader, {{3, u"z"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QVERIFY(loader->pixmaps().at(1).isNull());
    }

private:
    void answerWith(const QColor &color) { peer->answer(thumbnails, picture({4, 4}, color)); }

    static void nextLoads()
    {
        QTest::addColumn<Visuals>("visuals");
        QTest::newRow("empty") << Visuals();
        QTest::newRow("to be downloaded") << Visuals{{200, u"n"_s}, {201, u"m"_s}};
    }

    /// Starts the load of the row, with index 2, at the first such signal.
    template <typename Signal>
    void startNextAt(Signal signal)
    {
        answerWith(Qt::blue);
        QFETCH(Visuals, visuals);
        next = visuals;
        auto started = std::make_shared<bool>(false);
        connect(&loader->service, signal, &loader->service, [this, started] {
            if (!std::exchange(*started, true))
                load(*loader, next, 2);
        });
    }

    void verifyNextLoad()
    {
        QCOMPARE(loader->finished.constLast().constFirst().toInt(), 2);
        QCOMPARE(loader->pixmaps().size(), 256);
        for (int slot = 0; slot < 256; ++slot)
            QCOMPARE(!loader->pixmaps().at(slot).isNull(), !next.isEmpty() && slot / 2 == 100);
        load(*loader, {}, 9);
        QCOMPARE(loader->finished.constLast().constFirst().toInt(), 9);
    }

    std::unique_ptr<ThumbnailLoader> otherLoader;
    Visuals next;
};

QTEST_MAIN(tst_ThumbnailServicePair)
#include "tst_ThumbnailServicePair.moc"
