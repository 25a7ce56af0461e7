// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Zor {

/// The text as the log writes it: one call is always one line, and every viewer shows it in the
/// same direction. Control characters become `\n`, `\r`, `\t` or `\xHH`, the separators and
/// direction marks of Unicode become `\uHHHH`, and each byte of invalid UTF-8 becomes `\xHH`. A
/// backslash is not escaped, so an escape looks the same as these letters in a text.
[[nodiscard]] std::string logText(std::string_view text);

} // namespace Zor
