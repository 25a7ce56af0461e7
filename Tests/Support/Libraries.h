// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Model/LibraryComparison.h"
#include "Model/Server.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <set>

inline QString threeDigits(int number)
{
    return QStringLiteral("%1").arg(number, 3, 10, QLatin1Char('0'));
}

/// A hash as servers send it, 32 characters, different for each number.
inline QString hashOf(int number)
{
    return QStringLiteral("%1").arg(number, 32, 16, QLatin1Char('0'));
}

/// A visual with a name as servers send it, such as "017: Sunset".
inline Visual visual(int slot, const QString &title, const QString &hash)
{
    return {hash, QStringLiteral("%1: %2").arg(threeDigits(slot), title), slot};
}

/// A visual whose hash follows from `content`.
inline Visual visual(int slot, const QString &content = QStringLiteral("clip"))
{
    return visual(slot, content, content.leftJustified(32, QLatin1Char('0'), true));
}

/// A folder with its files in stored order.
inline MediaFolder folder(int slot, const QString &name, QList<Visual> files = {})
{
    std::ranges::stable_sort(files, {}, &Visual::hash);
    return {files, name, slot};
}

inline Server server(const QUuid &uuid, const QList<MediaFolder> &folders,
                     const QString &hash = QStringLiteral("hash"))
{
    Server result;
    result.uuid = uuid;
    result.folders = folders;
    result.hash = hash;
    return result;
}

inline Server server(const QList<MediaFolder> &folders)
{
    return server(QUuid::createUuid(), folders);
}

/// 256 folders of 255 visuals each: every slot that a synchronisation compares.
inline Server fullServer(const QString &content)
{
    QList<MediaFolder> folders;
    for (int slot = 0; slot < 256; ++slot) {
        QList<Visual> files;
        for (int file = 1; file < 256; ++file)
            files.append(visual(file, QStringLiteral("%1 %2 %3").arg(file).arg(slot).arg(content)));
        folders.append(folder(slot, threeDigits(slot) + content, files));
    }
    return server(folders);
}

/// The document in which a server sends these folders.
inline QJsonDocument libraryDocument(const QList<MediaFolder> &folders, const QString &hash)
{
    QJsonArray array;
    for (const MediaFolder &folder : folders)
        array.append(folder.toJson());
    return QJsonDocument(
        QJsonObject{{QStringLiteral("folders"), array}, {QStringLiteral("hash"), hash}});
}

/// The numbers of the marks that mean "different".
inline QList<int> differences(const Marks &marks)
{
    QList<int> numbers;
    for (std::size_t bit = 0; bit < marks.size(); ++bit) {
        if (!marks.test(bit))
            numbers.append(static_cast<int>(bit));
    }
    return numbers;
}

/// Every slot of every folder.
inline QList<VisualRef> allSlots()
{
    QList<VisualRef> refs;
    for (int slot = 0; slot < 256; ++slot) {
        for (int file = 1; file < 256; ++file)
            refs.append({slot, file});
    }
    return refs;
}

/// A simple model of LibraryComparison::planSync: linear searches, slot by slot.
inline LibraryComparison::SyncPlan literalPlan(const Server &source, const Server &destination,
                                               const QList<VisualRef> &candidates)
{
    using namespace LibraryComparison;
    SyncPlan plan;
    std::set<int> touched;
    for (const auto &[folderSlot, fileSlot] : candidates) {
        touched.insert(folderSlot);
        if (slotsEqual(source, destination, folderSlot, fileSlot))
            continue;
        if (slotEmpty(source, folderSlot, fileSlot)) {
            plan.removals.append({folderSlot, fileSlot});
        } else {
            plan.transfers.append({folderSlot, fileSlot});
            if (!slotEmpty(destination, folderSlot, fileSlot))
                plan.replaces = true;
        }
    }
    for (const int folderSlot : touched) {
        const auto found = std::ranges::find(source.folders, folderSlot, &MediaFolder::slot);
        if (found != source.folders.cend() && !folderNamesEqual(source, destination, folderSlot))
            plan.renames.append({folderSlot, found->name});
    }
    return plan;
}
