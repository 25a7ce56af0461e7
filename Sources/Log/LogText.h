// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace Zor {

/// The text as the log writes it, so that one call is always one line that reads in one direction
/// in every viewer: control characters become `\n`, `\r`, `\t` or `\xHH`, the separators and
/// direction marks of Unicode become `\uHHHH`, and each byte that is not part of valid UTF-8
/// becomes
/// `\xHH`. A backslash stays as it is, so an escape cannot be told from the same letters in a text.
[[nodiscard]] std::string logText(std::string_view text);

} // namespace Zor
