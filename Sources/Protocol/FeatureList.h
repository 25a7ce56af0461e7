// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <bitset>

class QByteArray;

/// The value of the header X-BVFeatureList: its first digit, 0 if it is empty. Throws
/// std::invalid_argument if any character of the text is neither 0 nor 1.
[[nodiscard]] std::bitset<1> featureListFromText(const QByteArray &text);
