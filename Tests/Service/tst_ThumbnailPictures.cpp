// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/ThumbnailFixture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>
#include <QtEndian>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A square picture with one bit a pixel, packed into very few bytes.
QByteArray whitePicture(int side)
{
    QImage image(side, side, QImage::Format_Mono);
    image.fill(1);
    return encoded(image, "PNG");
}

QImage largePicture(QSize size, QImage::Format format = QImage::Format_Grayscale8)
{
    QImage image(size, format);
    image.fill(Qt::white);
    return image;
}

/// A small picture with that many texts in Latin-1, and in other characters.
QByteArray pngWithTexts(int latin, int other)
{
    QImage image = largePicture({64, 64});
    for (int number = 0; number < latin + other; ++number) {
        const QString text(100, number < latin ? u'x' : u'\u0416');
        image.setText(QString::number(number), text);
    }
    return encoded(image, "PNG");
}

/// An icon states its size in one byte, where 0 means 256, but may contain any PNG.
QByteArray iconOf(const QByteArray &png)
{
    const auto size = qToLittleEndian(quint32(png.size()));
    return QByteArray::fromHex("000001000100"
                               "0000000001002000") +
           QByteArray(reinterpret_cast<const char *>(&size), 4) + QByteArray::fromHex("16000000") +
           png;
}

/// The head of a picture of 4096 x 4097, and its first pixels.
QByteArray largeGif()
{
    return QByteArray::fromHex("474946383961"
                               "00100110"
                               "800000"
                               "000000ffffff"
                               "2c"
                               "00000000"
                               "00100110"
                               "00"
                               "02"
                               "02"
                               "4c01"
                               "00"
                               "3b");
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

/// What is shown for the bytes of a picture, and for invalid bytes.
class tst_ThumbnailPictures : public ThumbnailFixture
{
    Q_OBJECT

private slots:
    void init() { start(loopback(1)); }
    void cleanup() { stop(); }

    void anyPictureIsScaledTo128By96_data()
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
    void anyPictureIsScaledTo128By96()
    {
        QFETCH(QSize, size);
        QFETCH(QByteArray, format);
        peer->answer(thumbnails, picture(size, Qt::white, format.constData()));
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->pixmaps().at(9).size(), QSize(128, 96));
        QCOMPARE(colorOf(loader->pixmaps().at(9)), QColor(Qt::white));
    }

    void scalingDoesNotSmooth()
    {
        QImage halves(2, 1, QImage::Format_RGB32);
        halves.setPixelColor(0, 0, Qt::red);
        halves.setPixelColor(1, 0, Qt::blue);
        peer->answer(thumbnails, encoded(halves, "PNG"));
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        const QImage scaled = loader->pixmaps().at(9).toImage();
        QCOMPARE(scaled.pixelColor(63, 50), QColor(Qt::red));
        QCOMPARE(scaled.pixelColor(64, 50), QColor(Qt::blue));
    }

    void exifOrientationIsApplied()
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
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        const QImage turned = loader->pixmaps().at(9).toImage();
        for (const int x : {10, 120}) {
            QVERIFY(turned.pixelColor(x, 10).red() > 200);
            QVERIFY(turned.pixelColor(x, 85).blue() > 200);
        }
    }

    void invalidImageIsEmptyAndCached_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::newRow("text") << Wire::response("no picture at all");
        QTest::newRow("one byte") << Wire::response("x");
        QTest::newRow("one byte of a picture") << Wire::response(picture({4, 4}, Qt::red).left(1));
        QTest::newRow("empty") << Wire::response({});
        QTest::newRow("redirect") << Wire::response({}, "Location: /else.png\r\n", "302 Found");
    }
    void invalidImageIsEmptyAndCached()
    {
        QFETCH(QByteArray, response);
        peer->on(thumbnails, [response](const WireRequest &request) { request.send(response); });
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QVERIFY(loader->pixmaps().at(9).isNull());
        QCOMPARE(loader->error.size(), 0);

        load(*loader, {{9, u"x"_s}});
        QCOMPARE(loader->finished.size(), 2);
        QVERIFY(loader->pixmaps().at(9).isNull());
        QCOMPARE(peer->requests().size(), 1);
    }

    void tooLargePictureIsInvalid_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("PNG") << encoded(largePicture({4096, 4097}), "PNG");
        QTest::newRow("JPEG") << encoded(largePicture({4096, 4097}), "JPG");
        QTest::newRow("BMP") << encoded(largePicture({4096, 4097}, QImage::Format_Mono), "BMP");
        QTest::newRow("PPM") << QByteArray("P4 4096 4097\n") + QByteArray(512 * 4097, '\0');
        QTest::newRow("GIF") << largeGif();
        QTest::newRow("JPEG, too many scans") << jpegWithScans({4096, 4096}, 17);
        QTest::newRow("JPEG, thousands of scans") << jpegWithScans({1024, 1024}, 100'000);
        // 50 kB that would be 1.6 GB if they were unpacked.
        QTest::newRow("PNG, enormous") << whitePicture(20000);
        QTest::newRow("PNG, too many texts") << pngWithTexts(2, 3);
        QTest::newRow("icon, too many texts") << iconOf(pngWithTexts(5, 0));
    }
    void tooLargePictureIsInvalid()
    {
        QFETCH(QByteArray, body);
        peer->answer(thumbnails, body);
        const qint64 before = peakMemory();
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QVERIFY(loader->pixmaps().at(9).isNull());
        QCOMPARE(loader->error.size(), 0);
        QCOMPARE_LT(peakMemory() - before, 50);
    }

    void pictureWithoutAStatedSizeIsLimited_data()
    {
        QTest::addColumn<int>("side");
        QTest::newRow("unpacked, then refused") << 5700;
        QTest::newRow("not unpacked") << 5800;
    }
    void pictureWithoutAStatedSizeIsLimited()
    {
        QFETCH(int, side);
        peer->answer(thumbnails, iconOf(whitePicture(side)));
        if (side > 5793)
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"exceeds the current allocation"_s));
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QVERIFY(loader->pixmaps().at(9).isNull());
    }

    void pictureOfTheMaximumSizeIsShown_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("PNG") << encoded(largePicture({4096, 4096}), "PNG");
        QTest::newRow("PNG, 8 bytes for a pixel")
            << encoded(largePicture({4096, 4096}, QImage::Format_RGBA64), "PNG");
        QTest::newRow("JPEG") << encoded(largePicture({8192, 2048}), "JPG");
        QTest::newRow("JPEG, as many scans as possible") << jpegWithScans({4096, 4096}, 16);
        QTest::newRow("PNG, as many texts as possible") << pngWithTexts(2, 2);
        // Other formats may contain the bytes of a scan.
        QTest::newRow("PNG, with bytes that mark a scan of a JPEG")
            << encoded(largePicture({4096, 4096}), "PNG") + QByteArray("\xff\xda").repeated(20);
    }
    void pictureOfTheMaximumSizeIsShown()
    {
        QFETCH(QByteArray, body);
        if (body.count("\xff\xda") == 16)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Inconsistent progression"_s));
        peer->answer(thumbnails, body);
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->pixmaps().at(9).size(), QSize(128, 96));
        QCOMPARE(colorOf(loader->pixmaps().at(9)), QColor(Qt::white));
    }

    void largePictureIsScaledInLittleMemory()
    {
        peer->answer(thumbnails, whitePicture(4096));
        const qint64 before = peakMemory();
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->pixmaps().at(9).size(), QSize(128, 96));
        QCOMPARE(colorOf(loader->pixmaps().at(9)), QColor(Qt::white));
        QCOMPARE_LT(peakMemory() - before, 250);
    }

    void tooLongBodyIsAFailedDownload_data()
    {
        QTest::addColumn<QByteArray>("response");
        QTest::addColumn<QByteArray>("piece");
        QTest::newRow("stated length")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 16777217\r\n\r\n") << QByteArray();
        QTest::newRow("without an end")
            << Wire::chunkedHead() << Wire::chunk(QByteArray(1 << 16, 'x'));
    }
    void tooLongBodyIsAFailedDownload()
    {
        QFETCH(QByteArray, response);
        QFETCH(QByteArray, piece);
        const ThumbnailLoader other(manager.get());
        peer->on("/brenvoka/thumbnails/3/1.png", [response, piece](const WireRequest &request) {
            request.send(response);
            if (!piece.isEmpty())
                request.sendWithoutEnd(piece);
        });
        loadOneThatFails();
        QCOMPARE(loader->progress.size(), 2);
        QCOMPARE(other.progress.size(), 2);
    }

    void bodyOfTheMaximumLengthIsShown()
    {
        QByteArray body = picture({4, 4}, Qt::red);
        body.resize(16 << 20, '\0');
        peer->answer(thumbnails, body);
        load(*loader, {{9, u"x"_s}});
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(colorOf(loader->pixmaps().at(9)), QColor(Qt::red));
    }

    void compressionBombIsAFailedDownload()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Internal problem"_s));
        const QByteArray bomb = qCompress(QByteArray(64 << 20, '\0')).mid(4);
        peer->answer("/brenvoka/thumbnails/3/1.png", bomb, "Content-Encoding: deflate\r\n");
        loadOneThatFails();
    }

private:
    /// Loads two pictures. The first fails with the response of the test, the second is red.
    void loadOneThatFails()
    {
        load(*loader, {{1, u"x"_s}, {2, u"y"_s}});
        EVENTUALLY_COMPARE(loader->error.size(), 1);
        EVENTUALLY(!peer->requests("/brenvoka/thumbnails/3/2.png").isEmpty());
        peer->requests("/brenvoka/thumbnails/3/2.png")
            .constFirst()
            .answer(picture({4, 4}, Qt::red));
        EVENTUALLY_COMPARE(loader->finished.size(), 1);
        QCOMPARE(loader->pixmaps().at(1).toImage(),
                 ThumbnailService::noThumbnailPixmap().toImage());
        QCOMPARE(colorOf(loader->pixmaps().at(2)), QColor(Qt::red));
    }
};

QTEST_MAIN(tst_ThumbnailPictures)
#include "tst_ThumbnailPictures.moc"
