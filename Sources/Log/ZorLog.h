// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <boost/filesystem/path.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

namespace spdlog {
class logger;
namespace details {
class thread_pool;
}
namespace sinks {
class sink;
}
} // namespace spdlog

namespace Zor {

/// The program's one log: a file that is started anew at each start, and the debugger output.
///
/// A call costs the caller a formatted copy into a queue; one worker thread does all writing. The
/// queue waits when it is full and loses nothing. Each line goes to the system as soon as the
/// worker has it, so a crash loses no more than what still stands in the queue.
///
/// Before `init`, and after `release`, calls are dropped.
class Log final
{
public:
    /// One of `debug`, `info` and `error`.
    using Entry = void (Log::*)(const char *file, int line, const char *text);

    /// Rotates the old logs (up to nine are kept in "loghistory" beside the file), then starts the
    /// log. Throws spdlog::spdlog_ex if the file can't be opened.
    explicit Log(const boost::filesystem::path &logFile);
    /// A log without a file: the debugger output only. Required, though nothing uses it.
    Log();
    /// Writes everything that is still queued.
    ~Log();

    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    /// Starts the process-wide log and releases an earlier one. Throws like the constructor; the
    /// earlier log is then left in place.
    static void init(const boost::filesystem::path &logFile);
    /// Ends the process-wide log. Everything logged before is in the file afterwards.
    static void release();
    /// The process-wide log, null if there is none.
    [[nodiscard]] static std::shared_ptr<Log> instance();

    /// Writes one line; control characters in `text` are written escaped. `file` is shown as given.
    void debug(const char *file, int line, const char *text);
    void info(const char *file, int line, const char *text);
    void error(const char *file, int line, const char *text);

private:
    friend struct LogProbe; // the tests' view of levels and of the worker's announcement

    /// Starts the worker on sinks that exist, so that a file that can't be opened starts no thread.
    void start(const std::vector<std::shared_ptr<spdlog::sinks::sink>> &sinks, const char *pattern);
    void announceWorker();

    std::shared_ptr<spdlog::logger> logger;
    std::atomic<std::uint32_t> asyncThreadId{0};
    /// Last, so that it is destroyed first: it then writes what is queued, and stops. The logger
    /// does not own it.
    std::shared_ptr<spdlog::details::thread_pool> worker;
};

/// What ZOR_LOG stands for: formats like printf and hands the text to the process-wide log, if
/// there is one. `path` is cut after its last backslash. A text that can't be formatted is replaced
/// by a fixed one, at the error level.
[[gnu::format(printf, 4, 5)]] void logFormatted(Log::Entry entry, const char *path, int line,
                                                const char *format, ...);

} // namespace Zor

// The build hands each source of the program its own path, "..\Sources\Log\ZorLog".
#ifndef BRENVOKA_SOURCE_PATH
#define BRENVOKA_SOURCE_PATH __FILE__
#endif

/// Logs one line: ZOR_LOG(info, "Adding handler for %s", qPrintable(address.toString())). The level
/// is `debug`, `info` or `error`; the format and its arguments are checked like those of printf.
#define ZOR_LOG(level, ...)                                                                        \
    ::Zor::logFormatted(&::Zor::Log::level, BRENVOKA_SOURCE_PATH, __LINE__, __VA_ARGS__)
