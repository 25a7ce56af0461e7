// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// The bytes of one run, read from the front. After the end it returns 0 or nothing.
class Input final
{
public:
    Input(const std::uint8_t *bytes, std::size_t count)
        : rest(reinterpret_cast<const char *>(bytes), qsizetype(count))
    {
    }

    [[nodiscard]] bool isEmpty() const { return rest.isEmpty(); }
    [[nodiscard]] std::uint8_t byte()
    {
        const QByteArray one = bytes(1);
        return one.isEmpty() ? 0 : static_cast<std::uint8_t>(one.front());
    }
    [[nodiscard]] QByteArray bytes(qsizetype count)
    {
        const QByteArray taken = rest.first(std::min(count, rest.size()));
        rest.remove(0, taken.size());
        return taken;
    }
    [[nodiscard]] QByteArray all() { return bytes(rest.size()); }

private:
    QByteArray rest;
};
