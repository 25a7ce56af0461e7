// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/Pixels.h"
#include "Support/WindowFixture.h"

#include <QComboBox>
#include <QLabel>
#include <QPainter>
#include <QPushButton>

using namespace Qt::Literals::StringLiterals;

/// On a screen with a device pixel ratio of 2 the pictures of double density are used.
class tst_BVMainWindowSharp final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QCOMPARE(qApp->devicePixelRatio(), 2.0);
    }

    void labelsAreSharp_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("path");
        QTest::newRow("logo") << "label"_ba << u":/bitmaps/Bin/bitmap/bitmaps/zorvikLogo@2x.png"_s;
        QTest::newRow("sign") << "unsyncServers"_ba
                              << u":/icons/Bin/bitmap/icons/unsynced@2x.png"_s;
    }
    void labelsAreSharp()
    {
        QFETCH(const QByteArray, name);
        QFETCH(const QString, path);
        const WindowFixture fixture;
        const QPixmap shown = fixture.find<QLabel>(name.constData()).pixmap(Qt::ReturnByValue);
        QCOMPARE(shown.devicePixelRatio(), 2.0);
        QCOMPARE(pixelsOf(shown), pixelsOf(QImage(path)));
    }

    void buttonsAreSharp_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("on");
        const auto row = [](const char *button, const char *name, bool on = false) {
            QTest::newRow(name) << QByteArray(button) << QString::fromLatin1(name) << on;
        };
        row("listModeButton", "list");
        row("listModeButton", "list_frame", true);
        row("gridModeButton", "grid");
        row("gridModeButton", "grid_frame", true);
        row("smallSizeButton", "imageS");
        row("smallSizeButton", "imageS_frame", true);
        row("mediumSizeButton", "imageM");
        row("mediumSizeButton", "imageM_frame", true);
        row("largeSizeButton", "imageL");
        row("largeSizeButton", "imageL_frame", true);
        row("leftToRightButton", "leftToRight");
        row("rightToLeftButton", "rightToLeft");
        row("removeButton", "remove");
        row("addButton", "upload");
    }
    void buttonsAreSharp()
    {
        QFETCH(const QByteArray, button);
        QFETCH(const QString, name);
        QFETCH(const bool, on);
        const WindowFixture fixture;
        const auto &shown = fixture.find<QPushButton>(button.constData());
        const QPixmap pixmap = shown.icon().pixmap(shown.iconSize(), shown.devicePixelRatioF(),
                                                   QIcon::Normal, on ? QIcon::On : QIcon::Off);
        QCOMPARE(pixelsOf(pixmap), iconFile(name + "@2x"_L1));
    }

    void disabledButtonsAreSharp_data()
    {
        QTest::addColumn<QByteArray>("button");
        QTest::addColumn<QString>("name");
        QTest::newRow("remove") << "removeButton"_ba << u"remove@2x"_s;
        QTest::newRow("upload") << "addButton"_ba << u"upload@2x"_s;
    }
    void disabledButtonsAreSharp()
    {
        QFETCH(const QByteArray, button);
        QFETCH(const QString, name);
        const WindowFixture fixture;
        const auto &shown = fixture.find<QPushButton>(button.constData());
        const QPixmap pixmap =
            shown.icon().pixmap(shown.iconSize(), shown.devicePixelRatioF(), QIcon::Disabled);
        const QImage picture = iconFile(name);
        QImage expected(picture.size(), QImage::Format_ARGB32_Premultiplied);
        expected.fill(Qt::transparent);
        QPainter painter(&expected);
        painter.setOpacity(0.35);
        painter.drawImage(0, 0, picture);
        painter.end();
        QCOMPARE(pixelsOf(pixmap), expected);
    }

    void backRowIsSharp()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        const QPixmap shown = listOf(fixture.bankA())
                                  .item(0)
                                  ->icon()
                                  .pixmap(QSize(128, 96), fixture.window->devicePixelRatioF());
        QCOMPARE(pixelsOf(shown), iconFile(u"back@2x"_s));
    }

    void comboBoxArrowsAreSharp()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        const QImage box = pixelsOf(childOf<QComboBox>(fixture.bankA(), "serverComboBox").grab());

        const QImage arrows = iconFile(u"combobox-arrows@2x"_s);
        QVERIFY(!arrows.isNull());
        QImage expected(arrows.size(), QImage::Format_ARGB32_Premultiplied);
        expected.fill(QColor(39, 44, 51));
        QPainter(&expected).drawImage(0, 0, arrows);
        int nearest = INT_MAX;
        for (int y = 0; y <= box.height() - expected.height(); ++y) {
            for (int x = box.width() / 2; x <= box.width() - expected.width(); ++x)
                nearest = qMin(nearest, visiblyDifferentPixels(
                                            box.copy(QRect({x, y}, expected.size())), expected));
        }
        QCOMPARE(nearest, 0);
    }

private:
    /// The pixels of a picture, regardless of its device pixel ratio.
    static QImage pixelsOf(QImage image)
    {
        image.setDevicePixelRatio(1);
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }
    static QImage pixelsOf(const QPixmap &pixmap) { return pixelsOf(pixmap.toImage()); }
    static QImage iconFile(const QString &name)
    {
        return pixelsOf(QImage(u":/icons/Bin/bitmap/icons/%1.png"_s.arg(name)));
    }
};

QTEST_MAIN(tst_BVMainWindowSharp)
#include "tst_BVMainWindowSharp.moc"
