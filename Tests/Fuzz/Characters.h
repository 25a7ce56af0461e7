// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QChar>

/// Whether a character ends a line, or changes the direction of the text: the marks, embeddings,
/// overrides and isolates of UAX 9.
inline bool breaksLineOrDirection(char32_t character)
{
    const auto category = QChar::category(character);
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph || character == 0x061C || character == 0x200E ||
           character == 0x200F || (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}
