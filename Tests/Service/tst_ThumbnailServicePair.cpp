// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailTestKit.h"
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
using namespace ThumbnailTestKit;

/// Two services on one manager, as the two banks have them, and receivers that start or end loads
/// while a signal goes out.
class tst_ThumbnailServicePair : public Fixture
{
    Q_OBJECT

private slots:
    void init()
    {
        start(loopback(1));
        b = std::make_unique<Listener>(manager.get());
    }
    void cleanup()
    {
        b.reset();
        stop();
    }

    void eachReplyBringsProgressFromBoth()
    {
        LogCapture log;
        answerWith(Qt::red);
        load(*a, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        EVENTUALLY_COMPARE(b->progress.size(), 2);
        QCOMPARE(a->progress.size(), 2);
        QCOMPARE(b->finished.size(), 0);
        QCOMPARE(log.texts().filter(u"Download finished for thumbnail from: http://127."_s).size(),
                 4);
        QCOMPARE(log.texts().count(u"Downloaded was a success"_s), 2);
    }

    void bothLoadAtTheSameTime()
    {
        load(*a, {{1, u"x"_s}}, 1);
        load(*b, {{1, u"y"_s}, {2, u"z"_s}}, 2);
        QVERIFY(peer->waitForRequests(3));
        for (const WireRequest &request : peer->requests())
            request.answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        EVENTUALLY_COMPARE(b->finished.size(), 1);
        EVENTUALLY_COMPARE(a->progress.size(), 3);
        EVENTUALLY_COMPARE(b->progress.size(), 3);
        QCOMPARE(a->finished.constFirst().constFirst().toInt(), 1);
        QCOMPARE(b->finished.constFirst().constFirst().toInt(), 2);
    }

    void abortLeavesTheLoadOfTheOtherAlone()
    {
        load(*a, {{1, u"x"_s}});
        load(*b, {{1, u"y"_s}});
        QVERIFY(peer->waitForRequests(2));
        a->service.abort();
        QCOMPARE(a->progress.size(), 1);
        QCOMPARE(b->progress.size(), 1);
        QCOMPARE(b->aborted.size(), 0);
        // Either request may have come first; what is sent to the aborted one is dropped.
        for (const WireRequest &request : peer->requests())
            request.answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(b->finished.size(), 1);
        QCOMPARE(a->finished.size(), 0);
        QCOMPARE(a->progress.size(), 2);
    }

    void replyOfSomebodyElseIsReleased()
    {
        QNetworkReply *reply = manager->get(QNetworkRequest(QUrl(u"data:,x"_s)));
        QSignalSpy destroyed(reply, &QObject::destroyed);
        EVENTUALLY_COMPARE(destroyed.size(), 1);
        QCOMPARE(a->progress.size(), 1);
        QCOMPARE(b->progress.size(), 1);
        QCOMPARE(a->error.size() + a->finished.size(), 0);
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
            load(*a, {{1, u"x"_s}});
            EVENTUALLY_COMPARE(a->finished.size(), i);
            QCOMPARE(colorOf(a->pixmaps().at(1)), QColor(Qt::red));
        }
        QCOMPARE(peer->requests().size(), 1);
        QCOMPARE(a->progress.size(), 2);
    }

    void receiverOfFinishedStartsALoad_data() { nextLoads(); }
    void receiverOfFinishedStartsALoad()
    {
        startNextAt(&ThumbnailService::finished);
        load(*a, {{1, u"x"_s}}, 1);
        EVENTUALLY_COMPARE(a->finished.size(), 2);
        verifyNextLoad();
    }

    void receiverOfProgressStartsALoad_data() { nextLoads(); }
    void receiverOfProgressStartsALoad()
    {
        startNextAt(&ThumbnailService::progress);
        load(*a, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        verifyNextLoad();
    }

    void receiverOfErrorStartsALoad_data() { nextLoads(); }
    void receiverOfErrorStartsALoad()
    {
        startNextAt(&ThumbnailService::error);
        peer->answer("/brenvoka/thumbnails/3/1.png", {}, {}, "404 Not Found");
        load(*a, {{1, u"x"_s}}, 1);
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        verifyNextLoad();
    }

    /// The replies of the first load end inside the second call, whose first `progress` starts a
    /// third one: the latest wins.
    void receiverStartsALoadWhileAnotherIsReplaced_data() { nextLoads(); }
    void receiverStartsALoadWhileAnotherIsReplaced()
    {
        peer->hold("/brenvoka/thumbnails/3/1.png");
        load(*a, {{1, u"x"_s}}, 1);
        QVERIFY(peer->waitForRequests(1));
        startNextAt(&ThumbnailService::progress);
        load(*a, {{2, u"y"_s}}, 3);
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        verifyNextLoad();
        QCOMPARE(peer->requests("/brenvoka/thumbnails/3/2.png").size(), 0);
    }

    void receiverAbortsBeforeACachedLoadIsFinished()
    {
        connect(&a->service, &ThumbnailService::increaseDownloadSize, &a->service,
                &ThumbnailService::abort);
        load(*a, {});
        QCOMPARE(a->aborted.size(), 1);
        QCOMPARE(a->finished.size(), 0);
    }

    void receiverOfProgressAborts()
    {
        answerWith(Qt::red);
        connect(&a->service, &ThumbnailService::progress, &a->service,
                [this, done = false]() mutable {
                    if (!std::exchange(done, true))
                        a->service.abort();
                });
        load(*a, {{1, u"x"_s}, {2, u"y"_s}});
        EVENTUALLY_COMPARE(a->aborted.size(), 1);
        QCOMPARE(a->finished.size(), 0);
        load(*a, {{3, u"z"_s}});
        EVENTUALLY_COMPARE(a->finished.size(), 1);
        QVERIFY(a->pixmaps().at(1).isNull());
    }

private:
    void answerWith(const QColor &color) { peer->answer(thumbnails, picture({4, 4}, color)); }

    static void nextLoads()
    {
        QTest::addColumn<Visuals>("visuals");
        QTest::newRow("empty") << Visuals();
        QTest::newRow("to be downloaded") << Visuals{{200, u"n"_s}, {201, u"m"_s}};
    }

    /// Starts the load of the row, with index 2, at the first signal of the kind.
    template <typename Signal>
    void startNextAt(Signal signal)
    {
        answerWith(Qt::blue);
        QFETCH(Visuals, visuals);
        next = visuals;
        auto started = std::make_shared<bool>(false);
        connect(&a->service, signal, &a->service, [this, started] {
            if (!std::exchange(*started, true))
                load(*a, next, 2);
        });
    }

    void verifyNextLoad()
    {
        QCOMPARE(a->finished.constLast().constFirst().toInt(), 2);
        QCOMPARE(a->pixmaps().size(), 256);
        for (int slot = 0; slot < 256; ++slot)
            QCOMPARE(!a->pixmaps().at(slot).isNull(), !next.isEmpty() && slot / 2 == 100);
        load(*a, {}, 9);
        QCOMPARE(a->finished.constLast().constFirst().toInt(), 9);
    }

    std::unique_ptr<Listener> b;
    Visuals next;
};

QTEST_MAIN(tst_ThumbnailServicePair)
#include "tst_ThumbnailServicePair.moc"
