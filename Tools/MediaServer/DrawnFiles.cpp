// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/DrawnFiles.h"

#include "MediaServer/FileHash.h"

#include <QBuffer>
#include <QLinearGradient>
#include <QPainter>
#include <QRandomGenerator>

#include <algorithm>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

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

} // namespace

QImage drawPicture(QSize size, const QString &label, QRandomGenerator &random)
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
    return image;
}

QByteArray pngOf(const QImage &image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
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
