// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ElidedLabel.h"

#include "Widgets/ToolTip.h"

#include <QHelpEvent>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <QToolTip>

/// A part of the line with one format.
struct ElidedLabel::Piece
{
    QString text;
    QFont font;
    QColor color;

    [[nodiscard]] int width() const { return QFontMetrics(font).horizontalAdvance(text); }
};

ElidedLabel::ElidedLabel(QWidget *parent)
    : QLabel(parent)
{
}

QList<ElidedLabel::Piece> ElidedLabel::pieces() const
{
    const QColor color = palette().color(foregroundRole());
    if (textFormat() == Qt::PlainText)
        return {{text(), font(), color}};
    QTextDocument document;
    document.setHtml(text());
    QList<Piece> all;
    for (auto block = document.begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat format = it.fragment().charFormat();
            const bool colored = format.foreground().style() != Qt::NoBrush;
            all.append({it.fragment().text(), format.font().resolve(font()),
                        colored ? format.foreground().color() : color});
        }
    }
    return all;
}

QRect ElidedLabel::room() const
{
    return contentsRect().marginsRemoved(
        {margin() + qMax(indent(), 0), margin(), margin(), margin()});
}

bool ElidedLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    int width = 0;
    QString line;
    for (const Piece &piece : pieces()) {
        width += piece.width();
        line += piece.text;
    }
    if (width <= room().width())
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(), toolTipOf(line), this);
    return true;
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QRect rest = room();
    for (const Piece &piece : pieces()) {
        if (rest.width() <= 0)
            return;
        painter.setFont(piece.font);
        painter.setPen(piece.color);
        painter.drawText(
            rest, static_cast<int>(alignment()) | Qt::TextSingleLine,
            QFontMetrics(piece.font).elidedText(piece.text, Qt::ElideRight, rest.width()));
        rest.setLeft(rest.left() + piece.width());
    }
}
