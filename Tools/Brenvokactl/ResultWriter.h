// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/CommandLine.h"

#include <QByteArray>

struct Result;

/// The bytes of a result in UTF-8. All texts may be from a server: in text, control and direction
/// characters become blanks; in CSV control characters become blanks, every cell is quoted, and a
/// cell that a spreadsheet would run as a formula begins with an apostrophe; in JSON control
/// characters are escaped. `colored` is only for text.
[[nodiscard]] QByteArray formatted(Result result, Format format, bool colored);
