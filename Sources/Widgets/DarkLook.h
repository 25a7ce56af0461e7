// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

class QAbstractButton;
class QWidget;

// Corrections of Qt's style for dark windows.

/// Sets a dark base colour. The style fills the groove of a progress bar and the field of a check
/// box with it, white by default, while the forms set their text and tick to white. A style sheet
/// cannot set this colour without drawing the whole control.
void useDarkBase(QWidget *widget);

/// Fades the button's icon while the button is disabled. Qt's own disabled icon is made for light
/// windows: it does not darken a light picture in a dark window.
void dimDisabledIcon(QAbstractButton *button);
