// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Log/ZorLog.h"

#include "Log/DebuggerSink.h"
#include "Log/LogText.h"
#include "System/StandardStreams.h"

#include <boost/filesystem/operations.hpp>
#include <spdlog/async_logger.h>
#include <spdlog/details/os.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/sinks/basic_file_sink.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace Zor {

namespace {

namespace fs = boost::filesystem;

constexpr std::size_t queueSize = 4096;
constexpr int startupPasses = 10001;
constexpr int keptLogs = 9;

// Constant-initialised; its destructor writes what is queued when the program ends.
std::shared_ptr<Log> theLog; // clazy:exclude=non-pod-global-static

/// Renames every kept log to the next number, which drops the oldest, and the log of the last run
/// to number 1. If a log cannot be renamed, it stays and is appended to.
void rotate(const fs::path &logFile)
{
    const fs::path history = logFile.parent_path() / "loghistory";
    const auto numbered = [&logFile, &history](int number) {
        const std::string extension = logFile.extension().string() + "." + std::to_string(number);
        return (history / logFile.filename()).replace_extension(extension);
    };

    boost::system::error_code ignored;
    fs::create_directories(history, ignored);
    for (int number = keptLogs - 1; number >= 0; --number) // required: also from number 0
        fs::rename(numbered(number), numbered(number + 1), ignored);
    if (fs::status(logFile, ignored).type() == fs::regular_file)
        fs::rename(logFile, numbered(1), ignored);
}

void write(spdlog::logger *logger, spdlog::level::level_enum level, const char *file, int line,
           std::string_view text)
{
    if (logger)
        logger->log(level, "[{0}:{1}] {2}", file, line, logText(text));
}

/// Instead of spdlog's own report, which would wait for a standard error that nobody reads. On a
/// full disk every line fails, but one report a second is enough.
void reportFailure(const std::string &reason)
{
    using Clock = std::chrono::steady_clock;
    static std::atomic<Clock::time_point> next;
    const Clock::time_point now = Clock::now();
    if (now < next.load())
        return;
    next = now + std::chrono::seconds(1);
    StandardStreams::writeAtOnce(StandardStreams::error,
                                 "The log cannot be written: " + reason + '\n');
}

} // namespace

Log::Log(const fs::path &logFile)
{
    rotate(logFile);
    start(
        {std::make_shared<msvc_wide_sink_mt>(),
         std::make_shared<spdlog::sinks::basic_file_sink_mt>(logFile.string<spdlog::filename_t>())},
        "[%Y-%m-%d %H:%M:%S T:%t]%v");
}

Log::Log()
{
    start({std::make_shared<msvc_wide_sink_mt>()}, "[%Y-%m-%d %H:%M:%S %z][T:%t]%v");
}

Log::~Log() = default;

void Log::init(const fs::path &logFile)
{
    theLog = std::make_shared<Log>(logFile);
}

void Log::release()
{
    theLog.reset();
}

std::shared_ptr<Log> Log::instance()
{
    return theLog;
}

void Log::debug(const char *file, int line, const char *text)
{
    write(logger.get(), spdlog::level::debug, file, line, text);
}

void Log::info(const char *file, int line, const char *text)
{
    write(logger.get(), spdlog::level::info, file, line, text);
}

void Log::error(const char *file, int line, const char *text)
{
    write(logger.get(), spdlog::level::err, file, line, text);
}

void Log::start(const std::vector<std::shared_ptr<spdlog::sinks::sink>> &sinks, const char *pattern)
{
    worker = std::make_shared<spdlog::details::thread_pool>(queueSize, 1, [this] {
        asyncThreadId = static_cast<std::uint32_t>(spdlog::details::os::thread_id());
    });
    logger = std::make_shared<spdlog::async_logger>(std::string(), sinks.begin(), sinks.end(),
                                                    worker, spdlog::async_overflow_policy::block);
    logger->set_error_handler(reportFailure);
    logger->set_pattern(pattern);
    logger->set_level(spdlog::level::trace);
    // A flush per line is cheap for the worker. spdlog's timer would be another thread.
    logger->flush_on(spdlog::level::trace);
    announceWorker();
}

/// Not logged if the worker starts slowly: the program does not wait for it. The line number in the
/// log is required to be 216, whatever the line of this code.
void Log::announceWorker()
{
    for (int pass = 0; pass < startupPasses && asyncThreadId == 0; ++pass) {
    }
    if (asyncThreadId != 0) {
        const std::string text =
            "Async log thread started with thread id: " + std::to_string(asyncThreadId);
        info("ZorLog", 216, text.c_str());
    }
}

void logFormatted(Log::Entry entry, const char *path, int line, const char *format, ...)
{
    const std::shared_ptr<Log> log = Log::instance();
    if (!log)
        return;
    const char *backslash = std::strrchr(path, '\\');
    const char *file = backslash ? backslash + 1 : path;

    std::array<char, 128> buffer;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(buffer.data(), buffer.size(), format, arguments);
    va_end(arguments);

    if (length < 0) {
        log->error(file, line, "Error formatting the log line");
    } else if (static_cast<std::size_t>(length) < buffer.size()) {
        ((*log).*entry)(file, line, buffer.data());
    } else {
        std::vector<char> text(static_cast<std::size_t>(length) + 1);
        va_start(arguments, format);
        std::vsnprintf(text.data(), text.size(), format, arguments);
        va_end(arguments);
        ((*log).*entry)(file, line, text.data());
    }
}

} // namespace Zor
