// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ElidedComboBox.h"

#include "Widgets/ToolTip.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QStylePainter>
#include <QToolTip>

ElidedComboBox::ElidedComboBox(QWidget *parent)
    : QComboBox(parent)
{
}

// Measured only here: it is slow, and the box may be refilled a thousand times a second.
void ElidedComboBox::showPopup()
{
    constexpr int broadest = 700;
    constexpr int tickAndMargins = 60; // which the hint leaves out
    view()->setMinimumWidth(qMin(view()->sizeHintForColumn(0) + tickAndMargins, broadest));
    QComboBox::showPopup();
}

QString ElidedComboBox::elided(const QString &line) const
{
    QStyleOptionComboBox option;
    initStyleOption(&option);
    const QRect room =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    return fontMetrics().elidedText(line, Qt::ElideRight, room.width());
}

bool ElidedComboBox::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QComboBox::event(event);
    const QString line = currentText();
    if (elided(line) == line)
        return QComboBox::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), toolTipOf(line), this);
    return true;
}

void ElidedComboBox::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    option.currentText = elided(option.currentText);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
