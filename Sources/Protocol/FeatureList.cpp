// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/FeatureList.h"

#include <QByteArray>

#include <algorithm>
#include <stdexcept>

std::bitset<1> featureListFromText(const QByteArray &text)
{
    // Checks the whole text: a bitset reads only as many characters as it has bits.
    const auto isBit = [](char character) { return character == '0' || character == '1'; };
    if (!std::all_of(text.cbegin(), text.cend(), isBit))
        throw std::invalid_argument("invalid bitset<N> char");
    return text.startsWith('1') ? 1 : 0;
}
