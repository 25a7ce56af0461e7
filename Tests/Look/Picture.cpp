// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/Picture.h"

#include "Support/Wait.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLocale>
#include <QPainter>
#include <QPixmapCache>
#include <QStyle>
#include <QTest>
#include <QWidget>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// A higher number is further up on the screen.
int layer(const QWidget *widget)
{
    switch (widget->windowType()) {
    case Qt::Window:
        return 0;
    case Qt::Popup:
        return 2;
    case Qt::ToolTip:
        return 3;
    default:
        return 1;
    }
}

QWidgetList windowsOnScreen()
{
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget *window) { return !window->isVisible(); });
    std::ranges::stable_sort(windows, {}, layer);
    return windows;
}

/// Ignores small differences, since processors round differently.
bool differ(QRgb first, QRgb second)
{
    constexpr int rounding = 6;
    return qAbs(qRed(first) - qRed(second)) > rounding ||
           qAbs(qGreen(first) - qGreen(second)) > rounding ||
           qAbs(qBlue(first) - qBlue(second)) > rounding;
}

QRgb faint(QRgb colour)
{
    return qRgb(qRed(colour) / 4, qGreen(colour) / 4, qBlue(colour) / 4);
}

} // namespace

void setUpAppearance()
{
    QApplication::setStyle(u"Fusion"_s);
    QApplication::setPalette(QApplication::style()->standardPalette());
    QApplication::setCursorFlashTime(0);
    QLocale::setDefault(QLocale::c());
    QPixmapCache::setCacheLimit(200'000);
}

QStringList missingFonts()
{
    QStringList missing{u"DejaVu Sans"_s, u"Liberation Sans"_s, u"WenQuanYi Micro Hei"_s};
    missing.removeIf([](const QString &family) { return QFontDatabase::hasFamily(family); });
    if (QFontInfo(QFont(u"Helvetica"_s)).family() != u"Liberation Sans"_s)
        missing.append(u"Helvetica as FONTCONFIG_FILE names it"_s);
    return missing;
}

bool waitForKeyboard(const QWidget &window)
{
    return waitFor([&window] {
        const QWidget *widget = window.focusWidget();
        return window.isActiveWindow() && (!widget || widget->hasFocus());
    });
}

QImage pictureOf(QWidget &widget)
{
    // The first grab lays out widgets that were not shown yet.
    (void)widget.grab();
    QImage picture = widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
    picture.setDevicePixelRatio(1);
    return picture;
}

QImage screenPicture()
{
    const QWidgetList windows = windowsOnScreen();
    QRect area;
    for (const QWidget *window : windows)
        area |= window->geometry();
    const double scale = windows.isEmpty() ? 1 : windows.first()->devicePixelRatioF();
    QImage screen((QSizeF(area.size()) * scale).toSize(), QImage::Format_RGB32);
    screen.fill(Qt::black);
    QPainter painter(&screen);
    for (QWidget *window : windows)
        painter.drawImage(
            (QPointF(window->geometry().topLeft() - area.topLeft()) * scale).toPoint(),
            pictureOf(*window));
    return screen;
}

Difference difference(const QImage &before, const QImage &after)
{
    if (before.size() != after.size())
        return {after.width() * qint64(after.height()), 1, after};
    Difference result{0, 0, after.convertToFormat(QImage::Format_RGB32)};
    for (int y = 0; y < after.height(); ++y) {
        for (int x = 0; x < after.width(); ++x) {
            const bool changed = differ(before.pixel(x, y), after.pixel(x, y));
            result.pixels += changed;
            result.picture.setPixel(x, y, changed ? qRgb(255, 0, 0) : faint(after.pixel(x, y)));
        }
    }
    result.share = double(result.pixels) / (double(after.width()) * after.height());
    return result;
}
