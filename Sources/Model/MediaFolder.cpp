// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/MediaFolder.h"

#include "Model/JsonSlot.h"
#include "Model/Slots.h"

#include <QJsonArray>

#include <algorithm>
#include <string_view>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Is compared like a QString, but inline: a full library needs half a million comparisons.
std::u16string_view hashOf(const Visual &visual)
{
    return {QStringView(visual.hash).utf16(), static_cast<std::size_t>(visual.hash.size())};
}

std::optional<QList<Visual>> filesFromJson(const QJsonArray &array)
{
    QList<Visual> files;
    files.reserve(array.size());
    for (const auto element : array) {
        Visual visual;
        if (!element.isObject() || !visual.fromJson(element.toObject()))
            return std::nullopt;
        files.append(std::move(visual));
    }
    std::ranges::sort(files, {}, hashOf);
    return files;
}

} // namespace

bool MediaFolder::fromJson(const QJsonObject &json)
{
    const QJsonValue jsonFiles = json["files"_L1];
    const QJsonValue jsonName = json["name"_L1];
    const std::optional<int> jsonSlot = slotFromJson(json["slot"_L1], Slots::lastFolder);
    if (!jsonFiles.isArray() || !jsonName.isString() || !jsonSlot)
        return false;

    const QJsonArray array = jsonFiles.toArray();
    if (array.size() > Slots::count)
        return false;
    std::optional<QList<Visual>> newFiles = filesFromJson(array);
    if (!newFiles)
        return false;

    files = std::move(*newFiles);
    name = jsonName.toString();
    slot = *jsonSlot;
    return true;
}

QJsonObject MediaFolder::toJson() const
{
    QJsonArray array;
    for (const Visual &visual : files)
        array.append(visual.toJson());
    return {{u"name"_s, name}, {u"slot"_s, slot}, {u"files"_s, array}};
}

int MediaFolder::indexOfSlot(int wanted) const
{
    const auto found = std::ranges::find(files, wanted, &Visual::slot);
    return found == files.end() ? -1 : static_cast<int>(found - files.begin());
}

bool MediaFolder::containsHash(const QString &wanted) const
{
    const auto found = std::ranges::lower_bound(files, wanted, {}, &Visual::hash);
    return found != files.end() && found->hash == wanted;
}
