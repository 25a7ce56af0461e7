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

/// The log of the program: a file that is new at each start, and the debugger output.
///
/// A call formats its line and appends it to a queue; one worker thread writes. A full queue blocks
/// the caller and drops nothing. The worker hands each line to the system at once, so a crash loses
/// only the lines in the queue.
///
/// Calls before `init` and after `release` are dropped.
class Log final
{
public:
    /// One of `debug`, `info` and `error`.
    using Entry = void (Log::*)(const char *file, int line, const char *text);

    /// Rotates the old logs (up to nine are kept in the folder "loghistory" next to the file), then
    /// starts the log. Throws spdlog::spdlog_ex if the file cannot be opened.
    explicit Log(const boost::filesystem::path &logFile);
    /// A log without a file, with the debugger output only. Required, although nothing uses it.
    Log();
    /// Writes everything that is queued.
    ~Log();

    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    /// Starts the process-wide log and releases an earlier one. Throws like the constructor and
    /// then keeps the earlier log.
    static void init(const boost::filesystem::path &logFile);
    /// Ends the process-wide log. Everything logged before is in the file afterwards.
    static void release();
    /// The process-wide log, null if there is none.
    [[nodiscard]] static std::shared_ptr<Log> instance();

    /// Writes one line. Control characters in `text` are escaped; `file` is written as given.
    void debug(const char *file, int line, const char *text);
    void info(const char *file, int line, const char *text);
    void error(const char *file, int line, const char *text);

private:
    friend struct LogProbe; // lets tests read the levels and the line about the worker

    /// Starts the worker. The sinks exist before, so a file that cannot be opened starts no thread.
    void start(const std::vector<std::shared_ptr<spdlog::sinks::sink>> &sinks, const char *pattern);
    void announceWorker();

    std::shared_ptr<spdlog::logger> logger;
    std::atomic<std::uint32_t> asyncThreadId{0};
    /// The last member, so it is destroyed first: it then writes what is queued and stops. The
    /// logger does not own it.
    std::shared_ptr<spdlog::details::thread_pool> worker;
};

/// Implements ZOR_LOG: formats like printf and passes the text to the process-wide log, if there is
/// one. Only the part of `path` after its last backslash is used. A text that cannot be formatted
/// is replaced by a fixed one at the error level.
[[gnu::format(printf, 4, 5)]] void logFormatted(Log::Entry entry, const char *path, int line,
                                                const char *format, ...);

} // namespace Zor

// The build defines the path of each source of the program, such as "..\Sources\Log\ZorLog".
#ifndef BRENVOKA_SOURCE_PATH
#define BRENVOKA_SOURCE_PATH __FILE__
#endif

/// Logs one line: ZOR_LOG(info, "Adding handler for %s", qPrintable(address.toString())). The level
/// is `debug`, `info` or `error`; the format and its arguments are checked like those of printf.
#define ZOR_LOG(level, ...)                                                                        \
    ::Zor::logFormatted(&::Zor::Log::level, BRENVOKA_SOURCE_PATH, __LINE__, __VA_ARGS__)
