// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// How a folder or slot number stands in the operator's messages: at least three digits.
[[nodiscard]] inline QString threeDigits(int number)
{
    return QStringLiteral("%1").arg(number, 3, 10, QLatin1Char('0'));
}
