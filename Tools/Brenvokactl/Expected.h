// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <optional>
#include <utility>

/// A value, or the reason why there is none, as one line for the operator.
template <typename Value>
struct Expected
{
    std::optional<Value> value;
    QString error; ///< empty if there is a value

    Expected(Value result) // NOLINT: a value is a success
        : value(std::move(result))
    {
    }
    [[nodiscard]] static Expected failure(const QString &reason) { return Expected(reason, 0); }

    explicit operator bool() const { return value.has_value(); }
    const Value &operator*() const { return *value; }
    const Value *operator->() const { return &*value; }

private:
    Expected(QString reason, int)
        : error(std::move(reason))
    {
    }
};
