// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>
#include <QString>

/// One media item in one numbered slot of a folder.
struct Visual
{
    static constexpr qsizetype hashLength = 32;

    /// Content hash, `hashLength` characters after a successful parse. Two slots have the same
    /// media exactly if their hashes are equal.
    QString hash;
    QString name; ///< display name
    int slot = 0; ///< 0 to 255

    /// Reads one file object of a library document. Returns false and changes nothing if a key is
    /// missing or has another type, if the slot is not an integer from 0 to 255, or if the hash
    /// has another length.
    [[nodiscard]] bool fromJson(const QJsonObject &json);
    [[nodiscard]] QJsonObject toJson() const;

    friend bool operator==(const Visual &, const Visual &) = default;
};
