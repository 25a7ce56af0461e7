// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Makes a text from the network safe to show. Anybody may have written it, so it must neither
/// change the meaning of a sentence around it nor keep the window busy. Windows show such a text
/// only in this form. Records, requests, comparisons and the log keep the whole text.
///
/// Both functions keep the first `longestShownText` UTF-16 units and add an ellipsis where they
/// cut. An unpaired surrogate becomes U+FFFD. Of consecutive combining marks the first 30 are kept,
/// as in the Stream-Safe Text Format of UAX 15, because layout takes quadratic time in the marks of
/// a letter.
constexpr qsizetype longestShownText = 4096;

/// A name, for a line or a sentence. Control characters (Cc), line and paragraph separators, the
/// characters that set the direction of letters (UAX 9) and noncharacters become blanks. Two of the
/// noncharacters divide Qt's documents. Joiners, soft hyphens and tags are kept: scripts and emoji
/// need them, and they change nothing around them.
[[nodiscard]] QString shownName(const QString &name);

/// Any other text, such as an error. It may have several lines.
[[nodiscard]] QString shownText(const QString &text);

/// The text, or its first `length` units (at least 1) and an ellipsis if it is longer. A surrogate
/// pair is not divided.
[[nodiscard]] QString beginningOf(const QString &text, qsizetype length);
