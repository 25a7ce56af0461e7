// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "System/StandardStreams.h"

#include <spdlog/sinks/base_sink.h>

#include <mutex>

#ifdef _WIN32
#include <windows.h>

#include <algorithm>
#include <array>
#else
#include <unistd.h>
#endif

namespace Zor {

#ifdef _WIN32

/// Writes each line to the debugger as wide characters. A line that is too long is dropped.
template <typename Mutex>
class msvc_wide_sink final : public spdlog::sinks::base_sink<Mutex>
{
protected:
    void sink_it_(const spdlog::details::log_msg &message) override
    {
        spdlog::memory_buf_t text;
        this->formatter_->format(message, text);
        const int size = static_cast<int>(std::min(text.size(), maximumBytes));
        const int length =
            MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wideText.data(), wideCapacity);
        if (length < 1 || length >= wideCapacity)
            return;
        wideText[static_cast<std::size_t>(length)] = L'\n';
        wideText[static_cast<std::size_t>(length) + 1] = L'\0';
        OutputDebugStringW(wideText.data());
    }

    void flush_() override {}

private:
    static constexpr std::size_t maximumBytes = 16384;
    static constexpr int wideCapacity = 16383;

    // The longest line has 16382 characters, a line feed and the terminating zero.
    std::array<wchar_t, wideCapacity + 1> wideText;
};

#else

/// Writes each line to the terminal from which the program was started, if there is one. A line
/// that would block, for example at a stopped terminal, is dropped: a blocked worker would stop the
/// whole program as soon as the queue is full.
template <typename Mutex>
class msvc_wide_sink final : public spdlog::sinks::base_sink<Mutex>
{
protected:
    void sink_it_(const spdlog::details::log_msg &message) override
    {
        if (!onTerminal)
            return;
        spdlog::memory_buf_t text;
        this->formatter_->format(message, text);
        StandardStreams::writeAtOnce(StandardStreams::error, {text.data(), text.size()});
    }

    void flush_() override {}

private:
    const bool onTerminal = isatty(StandardStreams::error) != 0;
};

#endif

using msvc_wide_sink_mt = msvc_wide_sink<std::mutex>;

} // namespace Zor
