// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <fstream>
#include <mutex>
#include <string>

/// Writes one line for each request and flushes it, so that tests can read the file while the
/// server runs. Control characters are escaped. Thread-safe.
class RequestLog
{
public:
    /// Appends to the file at `path`; logs nothing when it is empty. Throws std::runtime_error
    /// when the file cannot be opened.
    explicit RequestLog(const QString &path);

    /// Writes "METHOD TARGET BODY".
    void add(const std::string &method, const std::string &target, const std::string &body = {});

private:
    std::mutex mutex;
    std::ofstream file;
};
