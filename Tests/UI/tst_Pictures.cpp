// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Pixels.h"

#include <QImageReader>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

/// Every picture that the user interface names is in the program, in the size that it counts on.
class TestPictures final : public QObject
{
    Q_OBJECT

private slots:
    void init() { failOnAnyWarning(); }

    void isThereInItsSize_data()
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
    }

    void isThereInItsSize()
    {
        QFETCH(QString, path);
        QImageReader reader(path);
        const auto image = reader.read();
        QVERIFY2(!image.isNull(), qUtf8Printable(reader.errorString()));
        QTEST(image.size(), "size");
    }

    void marksDifferWithoutColour()
    {
        const auto grey = [](const QString &name) {
            return QImage(u":/icons/Bin/bitmap/icons/%1.png"_s.arg(name))
                .convertToFormat(QImage::Format_Grayscale8);
        };
        const int different = visiblyDifferentPixels(grey(u"yes"_s), grey(u"no"_s));
        QVERIFY2(different > 300, qPrintable(QString::number(different)));
    }
};

QTEST_GUILESS_MAIN(TestPictures)
#include "tst_Pictures.moc"
