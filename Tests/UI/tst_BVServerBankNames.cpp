// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"
#include "Support/WindowFixture.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QHelpEvent>
#include <QLabel>
#include <QTextDocument>
#include <QToolTip>

#include <ctime>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int row = 8; // of slot 7

bool isText(QRgb pixel)
{
    return std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)}) > 140;
}

/// The positions of the letters of a text, relative to its left edge.
QList<QPoint> letters(const QImage &image)
{
    QList<QPoint> points;
    int left = image.width();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (!isText(image.pixel(x, y)))
                continue;
            points.append({x, y});
            left = qMin(left, x);
        }
    }
    for (QPoint &point : points)
        point.rx() -= left;
    return points;
}

/// Whether a line starts like another, allowing for letters between two pixels.
bool beginsLike(const QImage &line, const QImage &beginning)
{
    const QList<QPoint> shown = letters(line);
    const QList<QPoint> wanted = letters(beginning);
    const auto missing = std::count_if(wanted.begin(), wanted.end(), [&](QPoint point) {
        return !shown.contains(point) && !shown.contains(point + QPoint(1, 0)) &&
               !shown.contains(point - QPoint(1, 0));
    });
    return wanted.size() > 10 && missing * 8 < wanted.size();
}

/// Whether a line ends with an ellipsis: dots on the baseline, and nothing above.
bool endsWithEllipsis(const QImage &line)
{
    int right = 0;
    for (int y = 0; y < line.height(); ++y) {
        for (int x = 0; x < line.width(); ++x) {
            if (isText(line.pixel(x, y)))
                right = qMax(right, x);
        }
    }
    for (int y = 0; y < line.height() / 2; ++y) {
        for (int x = right - 5; x <= right; ++x) {
            if (isText(line.pixel(x, y)))
                return false;
        }
    }
    return right > line.width() - 20;
}

/// Rests the mouse at a point of a widget.
void askForTip(QWidget &widget, const QPoint &place)
{
    QToolTip::hideText();
    QHelpEvent event(QEvent::ToolTip, place, widget.mapToGlobal(place));
    QCoreApplication::sendEvent(&widget, &event);
}

/// The text of the tool tip, without its markup and the places where long words are divided.
QString tipText()
{
    QTextDocument tip;
    tip.setHtml(QToolTip::text());
    return tip.toPlainText().remove(QChar(0x200b));
}

QString numbered(const QString &title)
{
    return u"007: "_s + title;
}

} // namespace

/// Names as the network sends them: whatever they contain, rows and boxes keep their size.
class tst_BVServerBankNames final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        failOnAnyWarning();
        QPixmapCache::clear();
    }

    void theNumberStaysVisible_data()
    {
        QTest::addColumn<QString>("title");
        QTest::newRow("long words") << u"A very long name "_s.repeated(20);
        QTest::newRow("one long word") << u"W"_s.repeated(5000);
        QTest::newRow("Cyrillic") << u"Очень длинное название "_s.repeated(8);
        QTest::newRow("Arabic") << u"اسم"_s;
        QTest::newRow("long Arabic") << u"اسم طويل جدا "_s.repeated(20);
        QTest::newRow("lines") << u"line\n"_s.repeated(1000);
        QTest::newRow("separators") << u"one\u2028two\u2029three"_s;
        QTest::newRow("tabs") << u"\t\t\t\t\tfar away"_s;
        QTest::newRow("NUL") << u"\0\0nothing"_s;
        QTest::newRow("override") << u"\u202Ereversed"_s;
    }
    /// The digits and the colon look as in a row whose name is only that number.
    void theNumberStaysVisible()
    {
        QFETCH(const QString, title);
        WindowFixture fixture;
        openFolderWith(fixture, numbered(title));
        MediaListWidget &list = listOf(fixture.bankA());
        for (const bool listView : {true, false}) {
            for (const int size : {0, 1, 2}) {
                fixture.bankA().setListMode(listView);
                fixture.bankA().setIconSizeIndex(size);
                const QImage shown = textOf(fixture, row);
                const QString text = list.item(row)->text();
                list.item(row)->setText(u"007:"_s);
                const QImage number = textOf(fixture, row);
                list.item(row)->setText(text);
                QVERIFY2(beginsLike(shown, number), qPrintable(QString::number(size)));
            }
        }
    }

    void nothingIsDrawnBetweenRows_data() { theNumberStaysVisible_data(); }
    void nothingIsDrawnBetweenRows()
    {
        QFETCH(const QString, title);
        WindowFixture fixture;
        openFolderWith(fixture, numbered(title));
        MediaListWidget &list = listOf(fixture.bankA());
        const QColor ground(73, 83, 96);
        for (const bool listView : {true, false}) {
            fixture.bankA().setListMode(listView);
            list.scrollToItem(list.item(row));
            const QRect place = list.visualItemRect(list.item(row));
            QCOMPARE(place.height(), list.visualItemRect(list.item(row - 1)).height());
            const QImage around = list.viewport()->grab(place.adjusted(-2, -2, 2, 2)).toImage();
            for (int x = 0; x < around.width(); ++x) {
                QCOMPARE(around.pixelColor(x, 0), ground);
                QCOMPARE(around.pixelColor(x, around.height() - 1), ground);
            }
            for (int y = 0; y < around.height(); ++y) {
                QCOMPARE(around.pixelColor(0, y), ground);
                QCOMPARE(around.pixelColor(around.width() - 1, y), ground);
            }
        }
    }

    void folderRowsKeepTheirNumber()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(31));
        server.folders[1].name = u"001_"_s + u"اسم طويل جدا\n"_s.repeated(50);
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        for (const bool listView : {true, false}) {
            fixture.bankA().setListMode(listView);
            const QImage shown = textOf(fixture, 1);
            const QString text = listOf(fixture.bankA()).item(1)->text();
            listOf(fixture.bankA()).item(1)->setText(u"001_"_s);
            const QImage number = textOf(fixture, 1);
            listOf(fixture.bankA()).item(1)->setText(text);
            QVERIFY(beginsLike(shown, number));
        }
    }

    void rowsThatAreCutOffHaveAToolTip()
    {
        WindowFixture fixture;
        const QString name = numbered(u"<b>bold</b> "_s.repeated(9));
        openFolderWith(fixture, name);
        fixture.bankA().setListMode(false);
        MediaListWidget &list = listOf(fixture.bankA());
        const auto tipOf = [&](int number) {
            askForTip(*list.viewport(), list.visualItemRect(list.item(number)).center());
            return tipText();
        };
        QCOMPARE(tipOf(row), name);
        QVERIFY(!tipOf(0).contains(u"Back"));
        QToolTip::hideText();
    }

    void namesThatAreCutOffHaveAToolTip()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"<i>S</i>"_s.repeated(14), loopback(33));
        server.folders[1].name = u"<b>folder</b> "_s.repeated(40).chopped(1);
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(1);
        const auto tipOf = [&](const char *name) {
            auto &widget = childOf<QWidget>(fixture.bankA(), name);
            askForTip(widget, widget.rect().center());
            return tipText();
        };
        QCOMPARE(tipOf("serverComboBox"), server.name);
        QVERIFY(tipOf("mediaListFolder").startsWith(u"Library > <b>folder</b> <b>folder</b>"));
        QToolTip::hideText();
    }

    void aNameThatFitsIsNotTheToolTip()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        auto &box = childOf<QComboBox>(fixture.bankA(), "serverComboBox");
        QCOMPARE(box.currentText(), u"Stage left"_s);
        askForTip(box, box.rect().center());
        QCOMPARE(QToolTip::text(), u"Choose the server of bank A"_s);
        QToolTip::hideText();
    }

    /// The letters of some scripts come from fonts that are taller than that of the header.
    void aTallHeaderDoesNotMoveTheList()
    {
        OneServerFixture fixture;
        QVERIFY(fixture.show());
        const QRect place = listOf(fixture.bankA()).geometry();
        auto &header = childOf<QLabel>(fixture.bankA(), "mediaListFolder");
        const int height = header.sizeHint().height();
        header.setTextFormat(Qt::RichText);
        header.setText(u"Library > <font size=7>ཀྑྷ</font>"_s);
        QVERIFY(header.sizeHint().height() > height);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        QCOMPARE(listOf(fixture.bankA()).geometry(), place);
    }

    void longNamesAreElided()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"W"_s.repeated(115), loopback(32));
        server.folders[1].name = u"W"_s.repeated(5000);
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        const QImage box = grabOf(childOf<QWidget>(fixture.bankA(), "serverComboBox"));
        QVERIFY(endsWithEllipsis(box.copy(3, 3, box.width() - 22, box.height() - 6)));
        for (const bool red : {false, true}) {
            fixture.bankA().showFolder(1, red);
            QVERIFY(endsWithEllipsis(grabOf(childOf<QWidget>(fixture.bankA(), "mediaListFolder"))));
        }
    }

    void rowsLookTheSameWhileTheBankIsDisabled()
    {
        WindowFixture fixture;
        openFolderWith(fixture, numbered(u"Sunset"_s));
        MediaListWidget &list = listOf(fixture.bankA());
        fixture.find<QWidget>("listModeButton").setFocus(); // a disabled list has no focus frame
        list.scrollToItem(list.item(row));                  // lays the rows out
        const QPoint picture = list.visualItemRect(list.item(row)).topLeft() + QPoint(20, 10);
        const QImage enabled = list.viewport()->grab().toImage();
        QCOMPARE(enabled.pixelColor(picture), thumbnailOf(7).toImage().pixelColor(0, 0));
        fixture.bankA().setEnabled(false);
        QCOMPARE(list.viewport()->grab().toImage(), enabled);
    }

    void namesAreShownOnOneLine()
    {
        const auto odd = u"One\n\u202Etwo\u2028"_s;
        const auto shown = u"One  two "_s;
        WindowFixture fixture;
        Server server = sampleServer(odd, loopback(34));
        server.folders[1] = folder(1, odd);
        server.folders[1].files = {cachedVisual(7, odd, 7)};
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        const auto &box = childOf<QComboBox>(fixture.bankA(), "serverComboBox");
        QCOMPARE(box.currentText(), shown);
        QCOMPARE(listOf(fixture.bankA()).item(1)->text(), shown);
        fixture.controller().folderChanged(1);
        QCOMPARE(listOf(fixture.bankA()).item(row)->text(), numbered(shown));
        const auto &header = childOf<QLabel>(fixture.bankA(), "mediaListFolder");
        fixture.bankA().showFolder(1, false);
        QCOMPARE(header.text(), u"Library > "_s + shown);
        fixture.bankA().showFolder(1, true);
        QVERIFY(header.text().contains(shown));
        QCOMPARE(fixture.bankA().currentServer().name, odd);
        QCOMPARE(fixture.bankA().currentServer().folders.at(1).name, odd);
    }

    /// Without a limit each of these steps takes tens of seconds.
    void anEnormousFolderNameFreezesNothing()
    {
        const QString enormous = u"W"_s.repeated(20'000'000);
        const QString shown = u"W"_s.repeated(4096) + u'…';
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(35));
        server.folders[1].name = enormous;
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        const auto &header = childOf<QLabel>(fixture.bankA(), "mediaListFolder");
        QCOMPARE(listOf(fixture.bankA()).item(1)->text(), shown);
        for (const bool red : {false, true}) {
            QElapsedTimer timer;
            timer.start();
            fixture.bankA().showFolder(1, red);
            QVERIFY(!fixture.window->grab().isNull());
            QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
            QVERIFY(header.text().contains(shown));
            QVERIFY(header.text().size() < 4200);
        }
    }

    /// The width of a row limits the text that is laid out.
    void aFolderOfEnormousNamesIsDrawnAtOnce()
    {
        WindowFixture fixture;
        Server server = sampleServer(u"Stage left"_s, loopback(36));
        server.folders[0].files.clear();
        for (int slot = 1; slot < 256; ++slot)
            server.folders[0].files.append(cachedVisual(slot, u"ก"_s.repeated(100'000), 7));
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        fixture.window->resize(2000, 2000);
        fixture.bankA().setListMode(false);
        fixture.bankA().setIconSizeIndex(0);
        fixture.controller().folderChanged(0);
        MediaListWidget &list = listOf(fixture.bankA());
        QCOMPARE(list.item(255)->text().size(), 4097);
        QVERIFY(list.viewport()->rect().contains(list.visualItemRect(list.item(255)).center()));
        list.viewport()->grab();                 // loads the font
        const std::clock_t start = std::clock(); // other programs don't count
        list.viewport()->grab();
        const double seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
        QVERIFY2(seconds < 1, qPrintable(QString::number(seconds)));
    }

private:
    /// A window with one server, whose folder 0 has this name in slot 7.
    static void openFolderWith(WindowFixture &fixture, const QString &name)
    {
        Server server = sampleServer(u"Stage left"_s, loopback(30));
        Visual odd = cachedVisual(7, {}, 7);
        odd.name = name;
        server.folders[0].files = {odd};
        fixture.connectServer(server);
        QVERIFY(fixture.show());
        fixture.controller().folderChanged(0);
        QVERIFY(fixture.bankA().isEnabled());
    }

    /// The part of a drawn row that contains its text.
    static QImage textOf(const WindowFixture &fixture, int number)
    {
        MediaListWidget &list = listOf(fixture.bankA());
        list.scrollToItem(list.item(number));
        QRect place = list.visualItemRect(list.item(number)).adjusted(2, 2, -2, -2);
        if (list.viewMode() == QListView::ListMode)
            place.setLeft(place.left() + list.iconSize().width() + 2);
        else
            place.setTop(place.top() + list.iconSize().height());
        return list.viewport()->grab(place).toImage();
    }
};

QTEST_MAIN(tst_BVServerBankNames)
#include "tst_BVServerBankNames.moc"
