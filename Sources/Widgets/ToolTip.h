// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The markup of a tool tip that shows a text as plain text, as much of it as a screen has room
/// for. Words that are too long for a line are divided.
[[nodiscard]] QString toolTipOf(const QString &line);
