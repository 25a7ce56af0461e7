// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "UI/SingleLine.h"

#include <QTextDocument>

#include <algorithm>

namespace {

// The narrowest letters of the smallest font fill the widest screen with fewer. Shaping many more
// at every painting would be felt.
constexpr qsizetype longestLine = 2048;

constexpr qsizetype longestTip = 512;
constexpr qsizetype longestWord = 32;

bool breaksLine(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
           c.category() == QChar::Separator_Paragraph;
}

/// The explicit embeddings, overrides and isolates of the Unicode Bidirectional Algorithm (UAX 9).
/// Letters of right-to-left scripts need none of them.
bool setsDirection(QChar c)
{
    return (c >= u'\u202a' && c <= u'\u202e') || (c >= u'\u2066' && c <= u'\u2069');
}

} // namespace

QString singleLine(const QString &text)
{
    QString line = text.left(longestLine);
    line.removeIf(setsDirection);
    std::replace_if(line.begin(), line.end(), breaksLine, u' ');
    if (text.size() > longestLine)
        line += u'\u2026';
    return line;
}

QString toolTipOf(const QString &line)
{
    // A name without blanks would be one endless word.
    QString tip = line.left(longestTip);
    for (qsizetype at = longestWord; at < tip.size(); at += longestWord + 1)
        tip.insert(at, u'\u200b');
    // Marked as rich, since a tip otherwise guesses from its text whether it is markup.
    return Qt::convertFromPlainText(tip);
}
