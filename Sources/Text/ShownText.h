// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What is shown of a text from the network. It is data that anybody may have written: it must not
/// change what a sentence around it says, nor keep the window busy. Everything that a window shows
/// of it goes through here first. Records, requests, comparisons and the log keep the text whole.
///
/// Both functions keep the first `longestShownText` UTF-16 units, and end with an ellipsis where
/// they cut. A surrogate without its other half becomes U+FFFD. Of combining marks in a row the
/// first 30 stay, as in the Stream-Safe Text Format of UAX 15: a letter takes quadratic time in its
/// marks to be laid out.
constexpr qsizetype longestShownText = 4096;

/// A name, for a line or a sentence: control characters (Cc), line and paragraph separators, the
/// characters that set the direction of letters (UAX 9) and noncharacters, two of which divide Qt's
/// documents, become blanks. Joiners, soft hyphens and tags stay, as scripts and emoji need them
/// and they change nothing around them.
[[nodiscard]] QString shownName(const QString &name);

/// Any other text, such as an error. It may have several lines.
[[nodiscard]] QString shownText(const QString &text);

/// The text itself, or where it is longer its first `length` units, at least 1, and an ellipsis. A
/// surrogate pair is not divided.
[[nodiscard]] QString beginningOf(const QString &text, qsizetype length);
