// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailFixture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QNetworkReply>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <utility>

using namespace Qt::Literals::StringLiterals;

/// Downloads that have arrived and are not handled yet: pictures are decoded in several turns of
/// the event loop.
class tst_ThumbnailTurns : public ThumbnailFixture
{
    Q_OBJECT

private slots:
    void init() { start(loopback(1)); }
    void cleanup() { stop(); }

    void timersRunBetweenLargePictures()
    {
        constexpr int count = 6;
        Visuals visuals;
        for (int slot = 1; slot <= count; ++slot)
            visuals.append({slot, QString::number(slot)});
        load(*loader, visuals);
        QVERIFY(peer->waitForRequests(count));

        QTimer timer; // once in each turn
        int turns = 0;
        connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
        QList<int> turnsOfPictures;
        connect(&loader->service, &ThumbnailService::progress, this,
                [&] { turnsOfPictures.append(turns); });
        timer.start(0);
        // Much longer to decode than a turn may last.
        const QByteArray large = picture({3000, 3000}, Qt::red);
        for (const WireRequest &request : peer->requests())
            request.answer(large);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(turnsOfPictures.size(), count);
        QCOMPARE(std::ranges::adjacent_find(turnsOfPictures), turnsOfPictures.end());
    }

    void arrivedPicturesAreHandledBeforeALaterFailure()
    {
        QStringList lines;
        const auto record = [&](auto signal, const QString &line) {
            connect(&loader->service, signal, this, [&lines, line] { lines.append(line); });
        };
        record(&ThumbnailService::progress, u"progress"_s);
        record(&ThumbnailService::error, u"error"_s);
        record(&ThumbnailService::finished, u"finished"_s);
        atTheFirstArrival([this] { failOtherReplies(); });
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        EVENTUALLY_COMPARE(lines.size(), 3);
        QCOMPARE(lines, (QStringList{u"progress"_s, u"progress"_s, u"error"_s}));
        QVERIFY(QPixmapCache::find(u"thumbnail+x"_s, nullptr));
        loadOnce();
        QCOMPARE(loader->finished.size(), 1); // the load with the failed last reply never ends
    }

    void abortDropsArrivedPictures()
    {
        atTheFirstArrival([this] {
            loader->service.abort();
            QCOMPARE(loader->progress.size(), 2);
            QCOMPARE(loader->aborted.size(), 1);
        });
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        EVENTUALLY_COMPARE(loader->aborted.size(), 1);
        loadOnce();
        QCOMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->progress.size(), 3);
        QCOMPARE(loader->error.size(), 0);
    }

    void newLoadGetsNoArrivedPictureOfTheFormer()
    {
        atTheFirstArrival([this] {
            peer->answer("/brenvoka/thumbnails/3/3.png", picture({4, 4}, Qt::blue));
            load(*loader, {{3, u"z"_s}}, 2);
            QCOMPARE(loader->progress.size(), 2);
        });
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}}, 1);
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->finished.constFirst().constFirst().toInt(), 2);
        for (const int slot : {1, 2})
            QVERIFY(loader->pixmaps().at(slot).isNull());
        QCOMPARE(colorOf(loader->pixmaps().at(3)), QColor(Qt::blue));
        QCOMPARE(loader->progress.size(), 3);
        QCOMPARE(loader->aborted.size() + loader->error.size(), 0);
    }

    void receiverOfProgressDropsThePicturesThatWait()
    {
        connect(&loader->service, &ThumbnailService::progress, this,
                [this, done = false]() mutable {
                    if (!std::exchange(done, true))
                        loader->service.abort();
                });
        atTheFirstArrival([this] { failOtherReplies(); });
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}, {3, u"z"_s}});
        EVENTUALLY_COMPARE(loader->aborted.size(), 1);
        QCOMPARE(loader->progress.size(), 3);
        loadOnce();
        QCOMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->error.size(), 0);
        QVERIFY(!QPixmapCache::find(u"thumbnail+x"_s, nullptr));
    }

    void otherServiceReportsAnArrivalAtOnce()
    {
        ThumbnailLoader other(manager.get());
        atTheFirstArrival([&] {
            QCOMPARE(loader->progress.size(), 0);
            QCOMPARE(other.progress.size(), 1);
        });
        load(*loader, {{1, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(other.progress.size(), 1);
        QCOMPARE(loader->progress.size(), 1);
    }

private:
    /// Sends the picture of slot 1, and no other. Calls `action` when its reply has finished,
    /// before the picture is handled.
    template <typename Action>
    void atTheFirstArrival(Action action)
    {
        peer->answer("/brenvoka/thumbnails/3/1.png", picture({4, 4}, Qt::red));
        connect(manager.get(), &QNetworkAccessManager::finished, this,
                [action, done = false]() mutable {
                    if (!std::exchange(done, true))
                        action();
                });
    }
    /// They finish at once, after the picture of slot 1.
    void failOtherReplies()
    {
        for (QNetworkReply *reply : manager->findChildren<QNetworkReply *>()) {
            if (reply->isRunning())
                reply->abort();
        }
    }
    /// After it, nothing of a former load is waiting.
    void loadOnce()
    {
        peer->answer("/brenvoka/thumbnails/3/9.png", picture({4, 4}, Qt::red));
        const qsizetype finished = loader->finished.size();
        load(*loader, {{9, u"n"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), finished + 1);
    }
};

QTEST_MAIN(tst_ThumbnailTurns)
#include "tst_ThumbnailTurns.moc"
