// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QPalette>
#include <QWidget>

/// Darkens what the style fills with the base colour, white by default: the groove of a progress
/// bar and the field of a check box. The forms make their text and tick white, which would be
/// white on white. A style sheet can't name that colour without drawing the whole control itself.
inline void useDarkBase(QWidget &widget)
{
    auto palette = widget.palette();
    palette.setColor(QPalette::Base, QColor(39, 44, 51));
    widget.setPalette(palette);
}
