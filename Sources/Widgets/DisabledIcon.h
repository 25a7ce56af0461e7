// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

class QAbstractButton;

/// Makes the button's icon faint while the button is disabled. The look that Qt makes by itself is
/// meant for light windows: on a dark one a light picture gets no darker.
void dimDisabledIcon(QAbstractButton *button);
