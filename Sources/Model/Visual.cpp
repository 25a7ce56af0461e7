// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Visual.h"

#include "Model/JsonSlot.h"
#include "Model/Slots.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

bool Visual::fromJson(const QJsonObject &json)
{
    const QJsonValue jsonHash = json["hash"_L1];
    const QJsonValue jsonName = json["name"_L1];
    const std::optional<int> jsonSlot = slotFromJson(json["slot"_L1], Slots::last);
    if (!jsonHash.isString() || !jsonName.isString() || !jsonSlot)
        return false;

    QString newHash = jsonHash.toString();
    if (newHash.size() != hashLength)
        return false;

    hash = std::move(newHash);
    name = jsonName.toString();
    slot = *jsonSlot;
    return true;
}

QJsonObject Visual::toJson() const
{
    return {{u"hash"_s, hash}, {u"name"_s, name}, {u"slot"_s, slot}};
}
