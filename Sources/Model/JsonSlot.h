// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonValue>

#include <optional>

/// The slot number in a library document: a number without a fraction, from 0 to `highest`. Empty
/// for anything else.
[[nodiscard]] inline std::optional<int> slotFromJson(const QJsonValue &value, int highest)
{
    const double number = value.toDouble(-1.0);
    if (!(number >= 0.0 && number <= highest))
        return std::nullopt;
    const int slot = static_cast<int>(number);
    return slot == number ? std::optional(slot) : std::nullopt;
}
