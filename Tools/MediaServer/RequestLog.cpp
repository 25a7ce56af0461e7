// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/RequestLog.h"

#include <QFile>

#include <stdexcept>

namespace {

std::string escaped(const std::string &text)
{
    constexpr const char *digits = "0123456789abcdef";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f)
            result += std::string("\\x") + digits[byte >> 4U] + digits[byte & 0xfU];
        else
            result += c;
    }
    return result;
}

} // namespace

RequestLog::RequestLog(const QString &path)
{
    if (path.isEmpty())
        return;
    file.open(QFile::encodeName(path).toStdString(), std::ios::app);
    if (!file)
        throw std::runtime_error("cannot write " + path.toStdString());
}

void RequestLog::add(const std::string &method, const std::string &target, const std::string &body)
{
    const std::string line = escaped(method + ' ' + target + (body.empty() ? "" : ' ' + body));
    const std::lock_guard lock(mutex);
    if (file.is_open())
        file << line << std::endl;
}
