// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailTestKit.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::Literals::StringLiterals;
using namespace ThumbnailTestKit;

namespace {

/// A square picture with one bit a pixel, packed into very few bytes.
QByteArray whitePicture(int side)
{
    QImage image(side, side, QImage::Format_Mono);
    image.fill(1);
    return encoded(image, "PNG");
}

/// The most memory that this process ever had, in MB.
qint64 peakMemory()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    static const QRegularExpression peak(u"VmHWM:\\s+(\\d+)"_s);
    return peak.match(QString::fromLatin1(status.readAll())).captured(1).toLongLong() / 1024;
}

} // namespace

/// What becomes of the bytes of a picture, and of bytes that are none.
class tst_ThumbnailPictures : public Fixture
{
    Q_OBJECT

private slots:
    void init() { start(u"127.30.21.1"_s); }
    void cleanup() { stop(); }

    void anyProportionsComeOutAt128By96_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("one pixel") << QSize(1, 1) << QByteArray("PNG");
        QTest::newRow("tall") << QSize(3, 500) << QByteArray("PNG");
        QTest::newRow("wide") << QSize(999, 2) << QByteArray("PNG");
        QTest::newRow("right") << QSize(128, 96) << QByteArray("PNG");
        QTest::newRow("JPEG") << QSize(640, 480) << QByteArray("JPG");
        QTest::newRow("BMP") << QSize(64, 48) << QByteArray("BMP");
    }

    void anyProportionsComeOutAt128By96()
    {
        QFETCH(QSize, size);
        QFETCH(QByteArray, format);
        peer->answer(thumbnails, picture(size, Qt::white, format.constData()));
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        QCOMPARE(a->pixmaps().at(9).size(), QSize(128, 96));
        QCOMPARE(colorOf(a->pixmaps().at(9)), QColor(Qt::white));
    }

    void scalingDoesNotSmooth()
    {
        QImage halves(2, 1, QImage::Format_RGB32);
        halves.setPixelColor(0, 0, Qt::red);
        halves.setPixelColor(1, 0, Qt::blue);
        peer->answer(thumbnails, encoded(halves, "PNG"));
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        const QImage scaled = a->pixmaps().at(9).toImage();
        QCOMPARE(scaled.pixelColor(63, 50), QColor(Qt::red));
        QCOMPARE(scaled.pixelColor(64, 50), QColor(Qt::blue));
    }

    void pictureIsTurnedAsItsFileSays()
    {
        QImage halves(64, 64, QImage::Format_RGB32);
        halves.fill(Qt::blue);
        for (int y = 0; y < 64; ++y) {
            for (int x = 0; x < 32; ++x)
                halves.setPixelColor(x, y, Qt::red);
        }
        // Exif 2.3: one entry, the orientation (0x0112); 6 is a quarter turn clockwise.
        const QByteArray quarterTurn = QByteArray::fromHex("ffe10022"
                                                           "457869660000"
                                                           "4d4d002a00000008"
                                                           "0001"
                                                           "011200030000000100060000"
                                                           "00000000");
        peer->answer(thumbnails, encoded(halves, "JPG").insert(2, quarterTurn));
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        const QImage turned = a->pixmaps().at(9).toImage();
        for (const int x : {10, 120}) {
            QVERIFY(turned.pixelColor(x, 10).red() > 200);
            QVERIFY(turned.pixelColor(x, 85).blue() > 200);
        }
    }

    void bodyThatIsNoImageShowsEmptyAndIsCached_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::newRow("text") << Wire::response("no picture at all");
        QTest::newRow("one byte") << Wire::response("x");
        QTest::newRow("one byte of a picture") << Wire::response(picture({4, 4}, Qt::red).left(1));
        QTest::newRow("empty") << Wire::response({});
        QTest::newRow("redirect") << Wire::response({}, "Location: /else.png\r\n", "302 Found");
    }

    void bodyThatIsNoImageShowsEmptyAndIsCached()
    {
        QFETCH(QByteArray, response);
        peer->on(thumbnails, [response](const WireRequest &request) { request.send(response); });
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        QVERIFY(a->pixmaps().at(9).isNull());
        QCOMPARE(a->error.size(), 0);

        load(*a, {{9, u"x"_s}});
        QCOMPARE(a->finished.size(), 2);
        QVERIFY(a->pixmaps().at(9).isNull());
        QCOMPARE(peer->requests().size(), 1);
    }

    void pictureTooLargeToBeUnpackedIsNoImage()
    {
        // 50 kB that would be 1.6 GB if they were unpacked.
        peer->answer(thumbnails, whitePicture(20000));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"exceeds the current allocation"_s));
        const qint64 before = peakMemory();
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        QVERIFY(a->pixmaps().at(9).isNull());
        QCOMPARE_LT(peakMemory() - before, 50);
    }

    void largePictureIsScaledWithinItsMeasure()
    {
        // Just within the limit: 128 MB when it is unpacked.
        peer->answer(thumbnails, whitePicture(5700));
        const qint64 before = peakMemory();
        load(*a, {{9, u"x"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        QCOMPARE(a->pixmaps().at(9).size(), QSize(128, 96));
        QCOMPARE(colorOf(a->pixmaps().at(9)), QColor(Qt::white));
        QCOMPARE_LT(peakMemory() - before, 400);
    }

    void bodyThatSwellsBeyondMeasureIsAFailedDownload()
    {
        const QByteArray bomb = qCompress(QByteArray(64 << 20, '\0')).mid(4);
        peer->answer("/brenvoka/thumbnails/3/1.png", bomb, "Content-Encoding: deflate\r\n");
        load(*a, {{1, u"x"_s}, {2, u"y"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(a->error.size(), 1, 30000);
        QTRY_VERIFY_WITH_TIMEOUT(!peer->requests("/brenvoka/thumbnails/3/2.png").isEmpty(), 30000);
        peer->requests("/brenvoka/thumbnails/3/2.png")
            .constFirst()
            .answer(picture({4, 4}, Qt::red));
        QTRY_COMPARE_WITH_TIMEOUT(a->finished.size(), 1, 30000);
        QCOMPARE(a->pixmaps().at(1).toImage(), ThumbnailService::noThumbnailPixmap().toImage());
        QCOMPARE(colorOf(a->pixmaps().at(2)), QColor(Qt::red));
    }
};

QTEST_MAIN(tst_ThumbnailPictures)
#include "tst_ThumbnailPictures.moc"
