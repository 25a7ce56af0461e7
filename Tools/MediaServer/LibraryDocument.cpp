// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/LibraryDocument.h"

#include "MediaServer/FileHash.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject folderObject(int slot, const StoredFolder &folder)
{
    QJsonArray files;
    for (const auto &[visualSlot, visual] : folder.visuals) {
        files.append(QJsonObject{{u"hash"_s, visual.hash},
                                 {u"name"_s, LibraryDocument::displayName(visualSlot, visual)},
                                 {u"slot"_s, visualSlot}});
    }
    return {{u"files"_s, files}, {u"name"_s, folder.name}, {u"slot"_s, slot}};
}

} // namespace

LibraryDocument::LibraryDocument(const Library &storage, Faults faultsToShow)
    : library(storage)
    , faults(faultsToShow)
{
}

std::shared_ptr<const std::string> LibraryDocument::bytes()
{
    const std::lock_guard lock(mutex);
    if (!rendered || library.revision() != renderedRevision)
        rendered = std::make_shared<const std::string>(render(library.folders(&renderedRevision)));
    return rendered;
}

Folders LibraryDocument::listed(Folders folders)
{
    if (folders.empty())
        return folders;
    for (int slot = 0; slot < folders.rbegin()->first; ++slot)
        folders.try_emplace(slot, StoredFolder{Library::defaultName(slot), {}});
    return folders;
}

QString LibraryDocument::displayName(int slot, const StoredVisual &visual)
{
    return threeDigits(slot) + u": "_s + visual.title();
}

QString LibraryDocument::contentHash(const Folders &folders)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    const auto add = [&hash](const QString &text) {
        // NUL separates the texts, since none of them contains it.
        hash.addData(text.toUtf8() + '\0');
    };
    for (const auto &[slot, folder] : folders) {
        add(QString::number(slot));
        add(folder.name);
        for (const auto &[visualSlot, visual] : folder.visuals) {
            add(displayName(visualSlot, visual));
            add(visual.hash);
        }
    }
    return hashText(hash);
}

std::string LibraryDocument::render(Folders folders) const
{
    const Folders all = listed(std::move(folders));
    QJsonArray array;
    for (const auto &[slot, folder] : all) {
        if (!faults.sparse || !folder.visuals.empty())
            array.append(folderObject(slot, folder));
    }
    const QJsonObject document{{u"folders"_s, array}, {u"hash"_s, contentHash(all)}};
    QByteArray json = QJsonDocument(document).toJson(QJsonDocument::Compact);
    if (faults.broken)
        json.truncate(json.size() / 2);
    return json.toStdString();
}
