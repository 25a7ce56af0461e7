// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/LogText.h"

#include <spdlog/fmt/fmt.h>

#include <iterator>

namespace Zor {

namespace {

/// The first character of a text and its length in bytes. Invalid UTF-8 is one byte long and not
/// `valid`.
struct Character
{
    char32_t code;
    std::size_t size;
    bool valid;
};

/// The length of a character that begins with this byte, or 0 if none does.
std::size_t sizeAfter(unsigned char first)
{
    if (first < 0x80)
        return 1;
    if (first < 0xC2)
        return 0;
    if (first < 0xE0)
        return 2;
    if (first < 0xF0)
        return 3;
    return first < 0xF5 ? 4 : 0;
}

/// Whether it is the shortest form, no surrogate and within Unicode (RFC 3629).
bool isValid(char32_t code, std::size_t size)
{
    if (size == 3)
        return code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
    return size < 3 || (code >= 0x10000 && code <= 0x10FFFF);
}

Character firstOf(std::string_view text)
{
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const std::size_t size = sizeAfter(byte(0));
    const Character invalid{byte(0), 1, false};
    if (size == 0 || size > text.size())
        return invalid;
    char32_t code = size == 1 ? byte(0) : byte(0) & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        if ((byte(index) & 0xC0U) != 0x80)
            return invalid;
        code = code << 6 | (byte(index) & 0x3FU);
    }
    return isValid(code, size) ? Character{code, size, true} : invalid;
}

/// Those of ASCII, and U+0080 to U+009F, which terminals execute as well.
bool isControl(char32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

/// Line and paragraph separators, and characters that set the direction of letters.
bool breaksLineOrDirection(char32_t code)
{
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

void appendEscaped(std::string &result, char32_t code)
{
    const auto number = static_cast<unsigned>(code);
    if (code == U'\n')
        result += "\\n";
    else if (code == U'\r')
        result += "\\r";
    else if (code == U'\t')
        result += "\\t";
    else if (code <= 0xFF)
        fmt::format_to(std::back_inserter(result), "\\x{:02X}", number);
    else
        fmt::format_to(std::back_inserter(result), "\\u{:04X}", number);
}

} // namespace

std::string logText(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = firstOf(text);
        if (!character.valid || isControl(character.code) || breaksLineOrDirection(character.code))
            appendEscaped(result, character.code);
        else
            result += text.substr(0, character.size);
        text.remove_prefix(character.size);
    }
    return result;
}

} // namespace Zor
