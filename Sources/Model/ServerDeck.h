// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QMetaType>

/// Names one of the two banks. Used in signals.
enum ServerDeck {
    ServerDeckA = 0, ///< the left-hand bank
    ServerDeckB = 1, ///< the right-hand bank
};

Q_DECLARE_METATYPE(ServerDeck)
