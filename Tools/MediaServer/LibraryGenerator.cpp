// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/LibraryGenerator.h"

#include "MediaServer/FileHash.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <numeric>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList folderTitles = {u"Blank"_s,    u"Overture"_s, u"Opening night"_s, u"Act one"_s,
                                  u"Interval"_s, u"Act two"_s,  u"Finale"_s,        u"Encore"_s};
const QStringList titles = {u"Sunset"_s,  u"Rain"_s,    u"Harbour"_s, u"Forest"_s,  u"Skyline"_s,
                            u"Curtain"_s, u"Dunes"_s,   u"Aurora"_s,  u"Market"_s,  u"Lantern"_s,
                            u"Ravine"_s,  u"Orchard"_s, u"Glacier"_s, u"Meadow"_s,  u"Viaduct"_s,
                            u"Beacon"_s,  u"Canyon"_s,  u"Islands"_s, u"Station"_s, u"Festival"_s};

/// Every seventh file is a clip.
constexpr int clipEvery = 7;

void drawShape(QPainter &painter, QSize size, QRandomGenerator &random)
{
    const int shapeSize = std::min(size.width(), size.height()) * 2 / 3;
    const QRect box(random.bounded(size.width()) - shapeSize / 2,
                    random.bounded(size.height()) - shapeSize / 2, shapeSize, shapeSize);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromHsv(random.bounded(360), 200, 255, 170));
    switch (random.bounded(3)) {
    case 0:
        painter.drawEllipse(box);
        break;
    case 1:
        painter.drawRoundedRect(box, shapeSize / 8.0, shapeSize / 8.0);
        break;
    default:
        painter.drawPolygon(
            QPolygon({box.bottomLeft(), box.bottomRight(), QPoint(box.center().x(), box.top())}));
    }
}

QByteArray drawPicture(QSize size, const QString &label, QRandomGenerator &random)
{
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const int hue = random.bounded(360);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, QColor::fromHsv(hue, 190, 110));
    sky.setColorAt(1, QColor::fromHsv((hue + 40) % 360, 150, 230));
    painter.fillRect(image.rect(), sky);
    for (int i = 0; i < 3; ++i)
        drawShape(painter, size, random);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(std::max(6, size.height() / 8));
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::black);
    painter.drawText(image.rect().translated(1, 1), Qt::AlignCenter, label);
    painter.setPen(Qt::white);
    painter.drawText(image.rect(), Qt::AlignCenter, label);
    painter.end();
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

QByteArray makeClip(int length, QRandomGenerator &random)
{
    QByteArray bytes(length, Qt::Uninitialized);
    std::ranges::generate(bytes, [&random] { return static_cast<char>(random.generate()); });
    return bytes;
}

/// Slots in ascending order, with gaps if the folder has room for gaps.
QList<int> chooseSlots(int count, QRandomGenerator &random)
{
    QList<int> chosen(std::min(slotLimit - 1, count + count / 2));
    std::iota(chosen.begin(), chosen.end(), 1);
    while (chosen.size() > count)
        chosen.removeAt(random.bounded(chosen.size()));
    return chosen;
}

void storeFile(Library &library, SlotId slot, const QString &fileName, const QByteArray &bytes)
{
    QFile file(library.newIncomingPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error(file.errorString().toStdString());
    file.close();
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(bytes);
    const QString error = library.store(slot, {fileName, hashText(hash)}, file.fileName());
    if (!error.isEmpty())
        throw std::runtime_error(error.toStdString());
}

} // namespace

void generateLibrary(Library &library, const GeneratedLibrary &settings)
{
    int number = 0;
    for (int folder = 0; folder < settings.folders; ++folder) {
        QRandomGenerator random(settings.seed * 1000003U + static_cast<quint32>(folder));
        const QString name =
            u"%1 %2"_s.arg(threeDigits(folder), folderTitles.at(folder % folderTitles.size()));
        if (const QString error = library.rename(folder, name); !error.isEmpty())
            throw std::runtime_error(error.toStdString());
        for (const int slot : chooseSlots(settings.visuals, random)) {
            const QString title = titles.at(random.bounded(titles.size()));
            const QString label =
                u"%1\n%2 / %3"_s.arg(title, threeDigits(folder), threeDigits(slot));
            if (++number % clipEvery == 0)
                storeFile(library, {folder, slot}, title + u".mov"_s,
                          makeClip(settings.clipBytes, random));
            else
                storeFile(library, {folder, slot}, title + u".png"_s,
                          drawPicture(settings.pictureSize, label, random));
        }
    }
}
