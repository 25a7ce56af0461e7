// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

/// Decides which requests are refused, and with which result code. Thread-safe; the mutex guards
/// the counts.
class Refusals
{
public:
    /// The kind of request ("1" to "5", "upload", or "" for all kinds) and its number within that
    /// kind, counted from 1; 0 means every request.
    using Selector = std::pair<std::string, int>;
    using Codes = std::map<Selector, int>;

    explicit Refusals(const Codes &resultCodes);

    /// Counts a request and returns the code with which it is refused, if it is. An entry for the
    /// kind wins over one for all kinds, and an entry for a number over one for every request.
    [[nodiscard]] std::optional<int> next(const std::string &kind);

private:
    const Codes &codes;
    std::mutex mutex;
    std::map<std::string, int> counts;
    int total = 0;
};
