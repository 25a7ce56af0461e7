// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Widgets/ToolTip.h"

#include "Text/ShownText.h"

#include <QTextDocument>

namespace {

constexpr qsizetype longestTip = 512;
constexpr qsizetype longestWord = 32;

} // namespace

QString toolTipOf(const QString &line)
{
    // A name without blanks would be one endless word.
    QString tip = beginningOf(line, longestTip);
    for (qsizetype at = longestWord; at < tip.size(); at += longestWord + 1) {
        if (tip.at(at).isLowSurrogate())
            ++at;
        tip.insert(at, u'\u200b');
    }
    // Marked as rich, since a tip otherwise guesses from its text whether it is markup.
    return Qt::convertFromPlainText(tip);
}
