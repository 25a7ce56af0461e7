// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Text/ShownText.h"

#include <QList>

#include <algorithm>

namespace {

constexpr int mostMarks = 30;

bool isMark(char32_t c)
{
    const QChar::Category category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

bool breaksLine(char32_t c)
{
    const QChar::Category category = QChar::category(c);
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

/// The marks, embeddings, overrides and isolates of the Unicode Bidirectional Algorithm. Letters of
/// right-to-left scripts need none of them.
bool setsDirection(char32_t c)
{
    return c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

char32_t inName(char32_t c)
{
    return breaksLine(c) || setsDirection(c) || QChar::isNonCharacter(c) ? U' ' : c;
}

char32_t inText(char32_t c)
{
    return c;
}

/// Whether the text is shown as it is: short, and of printable characters of ASCII. Most names are.
bool isPlain(const QString &text)
{
    return text.size() <= longestShownText &&
           std::ranges::all_of(text, [](QChar c) { return c >= u' ' && c <= u'~'; });
}

template <typename Shown>
QString shown(const QString &text, Shown shownCharacter)
{
    if (isPlain(text))
        return text;
    QString result;
    int marks = 0;
    for (const char32_t c : beginningOf(text, longestShownText).toUcs4()) {
        marks = isMark(c) ? marks + 1 : 0;
        if (marks <= mostMarks)
            result += QChar::fromUcs4(shownCharacter(c));
    }
    return result;
}

} // namespace

QString shownName(const QString &name)
{
    return shown(name, inName);
}

QString shownText(const QString &text)
{
    return shown(text, inText);
}

QString beginningOf(const QString &text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    const bool dividesPair =
        text.at(length - 1).isHighSurrogate() && text.at(length).isLowSurrogate();
    return text.left(dividesPair ? length - 1 : length) + u'\u2026';
}
