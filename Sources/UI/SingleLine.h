// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// A text from the network in the form in which it can be drawn as one line: what would break the
/// line becomes a blank, what would reverse the letters around it goes, and what no screen has room
/// for is left out.
///
/// For drawing only. The text itself stays as the server gave it.
[[nodiscard]] QString singleLine(const QString &text);

/// The markup of a tool tip that tells such a line in full, or as much of it as a screen can take.
[[nodiscard]] QString toolTipOf(const QString &line);
