// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

/// Which requests are refused, and with which result code. Thread-safe; the mutex guards the
/// counts.
class Refusals
{
public:
    /// The kind of request, "1" to "5", "upload" or "" for all of them, and which one of that kind
    /// is meant, counted from 1; 0 means each of them.
    using Which = std::pair<std::string, int>;
    using Codes = std::map<Which, int>;

    explicit Refusals(const Codes &resultCodes);

    /// Counts one request of a kind; gives the code with which it is refused, if it is. What is
    /// said of the kind goes before what is said of all, and of one request before each.
    [[nodiscard]] std::optional<int> next(const std::string &kind);

private:
    const Codes &codes;
    std::mutex mutex;
    std::map<std::string, int> counts;
    int total = 0;
};
