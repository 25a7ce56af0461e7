// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/Visual.h"

#include <QList>
#include <QMetaType>

/// One folder of a library.
struct MediaFolder
{
    /// The visuals, at most 256, sorted by hash, not by slot. Use `indexOfSlot` to find a slot.
    QList<Visual> files;
    QString name;
    int slot = 0; ///< 0 to 256, one more than a visual may have, as required

    /// Reads one folder object of a library document and sorts its files. Returns false and changes
    /// nothing if the object or one of its files is invalid.
    [[nodiscard]] bool fromJson(const QJsonObject &json);
    [[nodiscard]] QJsonObject toJson() const; ///< required, though nothing calls it

    /// Index in `files` of the first visual with this slot, -1 if there is none.
    [[nodiscard]] int indexOfSlot(int wanted) const;
    /// Whether a visual has this hash: a binary search over the sorted `files`.
    [[nodiscard]] bool containsHash(const QString &wanted) const;
};

Q_DECLARE_METATYPE(MediaFolder)
