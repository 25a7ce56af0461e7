// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

class QAbstractButton;
class QWidget;

// What Qt's own look needs in dark windows.

/// Darkens what the style fills with the base colour, white by default: the groove of a progress
/// bar and the field of a check box. The forms make their text and tick white, which would be
/// white on white. A style sheet can't name that colour without drawing the whole control itself.
void useDarkBase(QWidget *widget);

/// Makes the button's icon faint while the button is disabled. The look that Qt makes by itself is
/// meant for light windows: on a dark one a light picture gets no darker.
void dimDisabledIcon(QAbstractButton *button);
