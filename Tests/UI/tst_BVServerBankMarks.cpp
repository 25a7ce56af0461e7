// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QListWidget>
#include <QPainter>

using namespace Qt::Literals::StringLiterals;

/// The pictures of the rows, and the marks for differences.
class tst_BVServerBankMarks final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QPixmapCache::clear();
    }

    void rowWithAnUnreadablePictureStays()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        QPixmapCache::clear();
        fixture.bankA().folderChanged(3, QList<QPixmap>(256));
        QCOMPARE(listOf(fixture.bankA()).item(4)->text(), u"003: Sunset"_s);
        QVERIFY(listOf(fixture.bankA()).item(4)->icon().pixmap(64, 48).isNull());
    }

    void marksShowWhatDiffers()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        const QImage same = marked(icon(u"folder.png"_s), u"yes.png"_s);
        const QImage different = marked(icon(u"folder.png"_s), u"no.png"_s);
        QVERIFY(same != different);

        bank.sameMarks.reset(0).reset(9).reset(255);
        bank.showFolders();
        for (int row = 0; row < 256; ++row) {
            const bool differs = row == 0 || row == 9 || row == 255;
            QCOMPARE(picture(bank, row), differs ? different : same);
        }
    }

    void markFillsTheLowerRightQuarter_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("even") << QSize(128, 96);
        QTest::newRow("odd") << QSize(33, 25);
        QTest::newRow("narrow") << QSize(2, 2);
    }
    void markFillsTheLowerRightQuarter()
    {
        QFETCH(const QSize, size);
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        fixture.controller().folderChanged(3);
        QPixmapCache::clear();
        QPixmap plain(size);
        plain.fill(Qt::magenta);

        bank.sameMarks.set().reset(5);
        bank.folderChanged(3, QList<QPixmap>(256, plain));
        const QImage same = picture(bank, 4);
        const QImage different = picture(bank, 6);
        QCOMPARE(same, marked(plain.toImage(), u"yes.png"_s));
        QCOMPARE(different, marked(plain.toImage(), u"no.png"_s));

        const QPoint half(size.width() / 2, size.height() / 2);
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                if (x < half.x() || y < half.y())
                    QCOMPARE(same.pixelColor(x, y), QColor(Qt::magenta));
            }
        }
    }

    void headerRowsHaveNoMark()
    {
        OneServerFixture fixture;
        fixture.controller().folderChanged(3);
        QCOMPARE(picture(fixture.bankA(), 0), QPixmap::fromImage(icon(u"back.png"_s)).toImage());
        QCOMPARE(picture(fixture.bankA(), 1),
                 QPixmap::fromImage(icon(u"no_visual.png"_s)).toImage());
        QCOMPARE(picture(fixture.bankA(), 2), marked(icon(u"background.png"_s), u"yes.png"_s));
    }

    void aVisualKeepsTheFirstPictureOfItsSlot()
    {
        OneServerFixture fixture;
        BVServerBank &bank = fixture.bankA();
        fixture.controller().folderChanged(3);
        QPixmapCache::clear();
        QPixmap own(64, 48);
        own.fill(Qt::magenta);
        QPixmap other(64, 48);
        other.fill(Qt::green);
        QList<QPixmap> pixmaps(256, other);
        pixmaps[3] = own;

        bank.folderChanged(3, pixmaps);
        QCOMPARE(picture(bank, 4), marked(own.toImage(), u"yes.png"_s));
        QCOMPARE(picture(bank, 6), marked(other.toImage(), u"yes.png"_s));
        // It is cached with its file: later downloads are ignored.
        bank.folderChanged(3, QList<QPixmap>(256, other));
        QCOMPARE(picture(bank, 4), marked(own.toImage(), u"yes.png"_s));
    }

private:
    /// The row's picture, at its own size.
    static QImage picture(const BVServerBank &bank, int row)
    {
        const QIcon icon = listOf(bank).item(row)->icon();
        return icon.pixmap(icon.availableSizes().value(0)).toImage();
    }
    static QImage icon(const QString &fileName)
    {
        return QImage(":/icons/Bin/bitmap/icons/"_L1 + fileName);
    }
    /// What a picture must look like with that mark painted on it.
    static QImage marked(const QImage &base, const QString &mark)
    {
        QPixmap pixmap = QPixmap::fromImage(base);
        const QSize half(base.width() / 2, base.height() / 2);
        QPainter painter(&pixmap);
        painter.drawPixmap(half.width(), half.height(),
                           QPixmap::fromImage(icon(mark)).scaled(half));
        painter.end();
        return pixmap.toImage();
    }
};

QTEST_MAIN(tst_BVServerBankMarks)
#include "tst_BVServerBankMarks.moc"
