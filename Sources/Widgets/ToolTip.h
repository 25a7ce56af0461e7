// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The markup of a tool tip that shows a line as plain text, as much of it as a screen has room
/// for.
[[nodiscard]] QString toolTipOf(const QString &line);
