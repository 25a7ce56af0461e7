// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <fstream>
#include <mutex>
#include <string>

/// One line for each request, written when the request arrives and flushed at once, so that tests
/// can read the file while the server runs. Control characters are written escaped. Thread-safe.
class RequestLog
{
public:
    /// Appends to `path`, or writes nothing when it is empty. Throws std::runtime_error when the
    /// file cannot be opened.
    explicit RequestLog(const QString &path);

    /// "METHOD TARGET" and the body behind it, if there is one.
    void add(const std::string &method, const std::string &target, const std::string &body = {});

private:
    std::mutex mutex;
    std::ofstream file;
};
