// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Look/LookFixture.h"
#include "Support/Loopback.h"
#include "Support/Wait.h"

#include <QCursor>
#include <QPainter>
#include <QScreen>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QSize thumbnailSize(128, 96);

void drawHills(QPainter &painter, int number, int horizon, const QColor &colour)
{
    QPolygon hills{QPoint(0, thumbnailSize.height())};
    for (int step = 0; step <= 8; ++step)
        hills << QPoint(step * 16, horizon - (number * 7 + step * step * 5 + step * 11) % 19);
    hills << QPoint(thumbnailSize.width(), thumbnailSize.height());
    painter.setBrush(colour);
    painter.drawPolygon(hills);
}

} // namespace

QPixmap drawnThumbnail(int number)
{
    QPixmap pixmap(thumbnailSize);
    const int hue = number * 67 % 360;
    pixmap.fill(QColor::fromHsv(hue, 90, 225));
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv((hue + 40) % 360, 60, 250));
    painter.drawEllipse(QPoint(20 + number * 29 % 88, 28), 12, 12);
    drawHills(painter, number, 66, QColor::fromHsv((hue + 20) % 360, 140, 150));
    drawHills(painter, number + 3, 84, QColor::fromHsv((hue + 30) % 360, 170, 90));
    return pixmap;
}

Server stageServer(const QString &name, int number, const QStringList &folderNames,
                   const QStringList &titles)
{
    const bool isFull = titles.size() == 255;
    QList<Visual> files;
    for (int i = 0; i < titles.size(); ++i) {
        const int slot = i + 1 + (isFull ? 0 : i / 4);
        const QString hash = hashOf(i + 1);
        QPixmapCache::insert(u"thumbnail+"_s + hash, drawnThumbnail(i + 1));
        files.append(visual(slot, titles[i], hash));
    }
    // Fixed, so that every run takes the same pictures.
    Server server(QUuid::createUuidV5(QUuid(), name), QHostAddress(loopback(number)), 8, name);
    server.hash = hashOf(1000);
    for (int slot = 0; slot < folderNames.size(); ++slot)
        server.folders.append(folder(slot, folderNames[slot], files));
    return server;
}

Server differingServer(const Server &server, const QString &name, int number)
{
    Server other(QUuid::createUuidV5(QUuid(), name), QHostAddress(loopback(number)), 8, name);
    other.hash = hashOf(1001);
    other.folders = server.folders;
    for (int slot = 1; slot < other.folders.size(); slot += 3) {
        MediaFolder &changed = other.folders[slot];
        changed.name += u" (old)"_s;
        changed.files.removeIf([](const Visual &visual) { return visual.slot == 3; });
        for (Visual &visual : changed.files) {
            if (visual.slot == 6)
                visual.hash = hashOf(2);
        }
    }
    return other;
}

QList<View> allViews()
{
    return {{true, 0}, {true, 1}, {true, 2}, {false, 0}, {false, 1}, {false, 2}};
}

LookFixture::LookFixture(const QList<Server> &servers, const View &view)
{
    for (const Server &server : servers)
        connectServer(server);
    for (const BVServerBank *bank : {&bankA(), &bankB()}) {
        const QUuid uuid = bank->currentServerUuid();
        if (!uuid.isNull())
            controller().serverUpdateFpsStats(uuid, 59.94F, 60, 60, true);
    }
    view.choose(*window);
    // The previous scene may have moved it.
    QCursor::setPos(QGuiApplication::primaryScreen()->geometry().bottomRight());
    window->show();
    (void)waitForKeyboard(*window);
}

bool LookFixture::open(int folder)
{
    controller().folderChanged(folder);
    const auto isOpen = [](const BVServerBank &bank) {
        return bank.currentServerUuid().isNull() ||
               (bank.isEnabled() && listOf(bank).count() == 257);
    };
    return waitFor([&] { return isOpen(bankA()) && isOpen(bankB()); });
}

QList<Server> usualServers()
{
    const Server left = stageServer(
        u"Stage left"_s, 1, {u"Intro"_s, u"Loops"_s, u"Stills"_s, u"Landscapes"_s, u"Finale"_s},
        {u"Sunset"_s, u"Harbour at night"_s, u"Dunes"_s, u"Alpine meadow"_s, u"Rain on glass"_s,
         u"Lighthouse.mov"_s, u"Two hills"_s, u"Old bridge"_s, u"Fog"_s, u"Vineyard"_s});
    return {left, differingServer(left, u"Stage right"_s, 2)};
}
