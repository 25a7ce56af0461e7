// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Pixels.h"

#include <QFile>
#include <QImageReader>
#include <QPainter>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// Every picture that the user interface uses is in the program, in the expected size.
class TestPictures final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void existsInItsSize_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QSize>("size");
        QTest::newRow("window icon") << u":/icons/Brenvoka.png"_s << QSize(256, 256);
        QTest::newRow("logo") << u":/bitmaps/Bin/bitmap/bitmaps/zorvikLogo.png"_s << QSize(180, 40);
        const auto rows = [](const QSize &size, std::initializer_list<const char *> names) {
            for (const char *name : names)
                QTest::newRow(name)
                    << u":/icons/Bin/bitmap/icons/%1.png"_s.arg(QString::fromLatin1(name)) << size;
        };
        rows({128, 96}, {"folder", "back", "no_visual", "background", "no_thumbnail"});
        rows({64, 48}, {"yes", "no"});
        rows({60, 60}, {"unsynced"});
        rows({11, 22}, {"combobox-arrows"});
        rows({50, 50}, {"leftToRight", "rightToLeft"});
        rows({35, 35}, {"remove", "upload", "list", "list_frame", "grid", "grid_frame", "imageS",
                        "imageS_frame", "imageM", "imageM_frame", "imageL", "imageL_frame"});
        rows({70, 70}, {"remove@2x", "upload@2x", "list@2x", "list_frame@2x", "grid@2x",
                        "grid_frame@2x", "imageS@2x", "imageS_frame@2x", "imageM@2x",
                        "imageM_frame@2x", "imageL@2x", "imageL_frame@2x"});
        rows({100, 100}, {"leftToRight@2x", "rightToLeft@2x"});
        rows({256, 192}, {"back@2x"});
        rows({120, 120}, {"unsynced@2x"});
        rows({22, 44}, {"combobox-arrows@2x"});
        QTest::newRow("logo@2x") << u":/bitmaps/Bin/bitmap/bitmaps/zorvikLogo@2x.png"_s
                                 << QSize(360, 80);
    }

    void existsInItsSize()
    {
        QFETCH(QString, path);
        QImageReader reader(path);
        const auto image = reader.read();
        QVERIFY2(!image.isNull(), qUtf8Printable(reader.errorString()));
        QTEST(image.size(), "size");
    }

    // Pictures that are scaled or painted pixel by pixel must not have a double density.
    void isPaintedInSingleDensityOnly_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"folder", "no_visual", "background", "no_thumbnail", "yes", "no"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void isPaintedInSingleDensityOnly()
    {
        QFETCH(const QString, name);
        QVERIFY(!QFile::exists(u":/icons/Bin/bitmap/icons/%1@2x.png"_s.arg(name)));
    }

    void marksDifferInShape_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QColor>("ground");
        for (const QSize &size : {QSize(16, 12), QSize(32, 24), QSize(64, 48)}) {
            for (const char *ground : {"black", "gray", "white"})
                QTest::addRow("%d on %s", size.width(), ground)
                    << size << QColor(QLatin1String(ground));
        }
    }

    // Only the white of the marks counts, not colour or brightness.
    void marksDifferInShape()
    {
        QFETCH(const QSize, size);
        QFETCH(const QColor, ground);
        for (const auto mode : {Qt::FastTransformation, Qt::SmoothTransformation}) {
            const QImage same = whiteOf(u"yes"_s, size, mode, ground);
            const QImage different = whiteOf(u"no"_s, size, mode, ground);
            const int pixels = visiblyDifferentPixels(same, different);
            QVERIFY2(pixels * 3 > size.width() * size.height(),
                     qPrintable(QString::number(pixels)));
        }
    }

    void chosenViewIsPlain_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"list", "grid", "imageS", "imageM", "imageL"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void chosenViewIsPlain()
    {
        QFETCH(const QString, name);
        const QColor window(39, 45, 52);
        const int pixels = visiblyDifferentPixels(laidOn(window, picture(name)),
                                                  laidOn(window, picture(name + u"_frame"_s)));
        QVERIFY2(pixels * 5 > 2 * 35 * 35, qPrintable(QString::number(pixels)));
    }

private:
    static QImage picture(const QString &name)
    {
        return QImage(u":/icons/Bin/bitmap/icons/%1.png"_s.arg(name));
    }

    static QImage laidOn(const QColor &ground, const QImage &image)
    {
        QImage result(image.size(), QImage::Format_RGB32);
        result.fill(ground);
        QPainter(&result).drawImage(0, 0, image);
        return result;
    }

    /// White where the mark itself is nearly white, black elsewhere.
    static QImage whiteOf(const QString &mark, const QSize &size, Qt::TransformationMode mode,
                          const QColor &ground)
    {
        const QImage scaled = picture(mark).scaled(size, Qt::IgnoreAspectRatio, mode);
        QImage result = laidOn(ground, scaled);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                const bool white = qGray(result.pixel(x, y)) > 160;
                result.setPixelColor(x, y, white ? Qt::white : Qt::black);
            }
        }
        return result;
    }
};

QTEST_GUILESS_MAIN(TestPictures)
#include "tst_Pictures.moc"
