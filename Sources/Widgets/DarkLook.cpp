// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/DarkLook.h"

#include <QAbstractButton>
#include <QPainter>

void useDarkBase(QWidget *widget)
{
    auto palette = widget->palette();
    palette.setColor(QPalette::Base, QColor(39, 44, 51));
    widget->setPalette(palette);
}

void dimDisabledIcon(QAbstractButton *button)
{
    QIcon icon = button->icon();
    const QPixmap picture = icon.pixmap(button->iconSize(), button->devicePixelRatioF());
    QPixmap faint(picture.size());
    faint.setDevicePixelRatio(picture.devicePixelRatio());
    faint.fill(Qt::transparent);
    QPainter painter(&faint);
    painter.setOpacity(0.35);
    painter.drawPixmap(0, 0, picture);
    painter.end();
    icon.addPixmap(faint, QIcon::Disabled);
    button->setIcon(icon);
}
