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
    for (qsizetype at = 0, word = 0; at < tip.size(); ++at) {
        word = tip.at(at).isSpace() ? 0 : word + 1;
        if (word > longestWord && !tip.at(at).isLowSurrogate()) {
            tip.insert(at, u'\u200b');
            word = 0;
        }
    }
    // Marked as rich, since a tip otherwise guesses from its text whether it is markup.
    return Qt::convertFromPlainText(tip);
}
