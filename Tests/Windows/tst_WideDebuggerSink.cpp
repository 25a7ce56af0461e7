// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Check.h"

#include <windows.h>

#include <optional>
#include <string>

namespace {

std::optional<std::wstring> shown;
std::string reached;

void show(const wchar_t *text)
{
    shown = text;
    OutputDebugStringW(text);
}

} // namespace

// Wine converts the text to narrow characters before it reaches the debugger, so the tests check
// the text that the sink passes to the system.
#define OutputDebugStringW show
#include "Log/DebuggerSink.h"
#undef OutputDebugStringW

#include <spdlog/logger.h>

#include <memory>

namespace {

/// A debugger receives a text as an exception with the length and the characters, wide or narrow.
LONG CALLBACK listen(EXCEPTION_POINTERS *pointers)
{
    const EXCEPTION_RECORD &record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == DBG_PRINTEXCEPTION_C) {
        reached = reinterpret_cast<const char *>(record.ExceptionInformation[1]);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    if (record.ExceptionCode == DBG_PRINTEXCEPTION_WIDE_C) {
        reached.clear();
        const auto *text = reinterpret_cast<const wchar_t *>(record.ExceptionInformation[1]);
        for (; *text != L'\0'; ++text)
            reached += static_cast<char>(*text);
        return EXCEPTION_CONTINUE_EXECUTION;
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

/// The text that the sink outputs for a line; empty if it drops the line.
std::optional<std::wstring> output(const std::string &text, const char *pattern = "%v")
{
    spdlog::logger logger("", std::make_shared<Zor::msvc_wide_sink_mt>());
    logger.set_pattern(pattern);
    shown.reset();
    logger.info("{}", text);
    return shown;
}

void lineIsShownInWideCharacters()
{
    CHECK(output("B\xC3\xBChne \xE8\x88\x9E\xE5\x8F\xB0 \xF0\x9D\x84\x9E", "[%n]%v") ==
          L"[]B\u00FChne \u821E\u53F0 \xD834\xDD1E\r\n\n");
    CHECK(output("100% %s {}") == L"100% %s {}\r\n\n");
}

void lineReachesTheDebugger()
{
    reached.clear();
    CHECK(output("Found new server").has_value());
    CHECK(reached == "Found new server\r\n\n");
}

// The two characters of the line end count.
void lineIsDroppedIfItIsTooLong()
{
    CHECK(output(std::string(16380, 'x')) == std::wstring(16380, L'x') + L"\r\n\n");
    CHECK(!output(std::string(16381, 'x')));
    CHECK(!output(std::string(16382, 'x')));
    CHECK(!output(std::string(40000, 'x')));
    CHECK(output("and again") == L"and again\r\n\n");
}

// Each character has three bytes, and the limit of 16384 bytes is within one.
void onlyTheFirstBytesOfALineAreConverted()
{
    std::string text;
    for (int character = 0; character < 10000; ++character)
        text += "\xE8\x88\x9E";
    const std::optional<std::wstring> result = output(text);
    CHECK(result && result->size() == 5463);
    CHECK(result && result->starts_with(std::wstring(5461, L'\u821E')));
    CHECK(result && result->ends_with(L"\uFFFD\n"));
}

} // namespace

/// The log sink that writes each line to the debugger.
int main()
{
    AddVectoredExceptionHandler(TRUE, listen);
    RUN(lineIsShownInWideCharacters);
    RUN(lineReachesTheDebugger);
    RUN(lineIsDroppedIfItIsTooLong);
    RUN(onlyTheFirstBytesOfALineAreConverted);
    return Check::result();
}
