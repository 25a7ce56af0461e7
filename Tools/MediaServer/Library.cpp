// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/Library.h"

#include "MediaServer/FileHash.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cstdio>
#include <stdexcept>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto nameFile = "folder.name"_L1;
constexpr auto incoming = ".incoming"_L1;

QString noSuchVisual(SlotId slot)
{
    return u"There is no visual in folder %1 slot %2"_s.arg(threeDigits(slot.folder),
                                                            threeDigits(slot.visual));
}

/// rename(2), which replaces an existing file atomically; QFile::rename does not replace files.
bool replaceFile(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0;
}

} // namespace

QString StoredVisual::title() const
{
    return QFileInfo(fileName).completeBaseName();
}

Library::Library(const QString &path)
    : directory(QDir(path).absolutePath())
{
    QDir(directory + u'/' + incoming).removeRecursively();
    if (!QDir().mkpath(directory + u'/' + incoming))
        throw std::runtime_error("cannot create " + (directory + u'/' + incoming).toStdString());
    for (int folder = 0; folder < folderLimit; ++folder) {
        if (QFileInfo(folderPath(folder)).isDir())
            scanFolder(folder);
    }
}

void Library::setChangeCallback(std::function<void()> callback)
{
    changeCallback = std::move(callback);
}

QString Library::defaultName(int folder)
{
    return threeDigits(folder) + u"_Folder"_s;
}

QString Library::safeFileName(const QString &suggested)
{
    QString name = suggested.section(u'/', -1).section(u'\\', -1);
    erase_if(name, [](QChar c) { return c.category() == QChar::Other_Control; });
    while (name.startsWith(u'.'))
        name.remove(0, 1);
    const QString suffix = QFileInfo(name).suffix().left(16);
    QString base = suffix.isEmpty() ? name : QFileInfo(name).completeBaseName();
    while (base.toUtf8().size() > 180)
        base.chop(base.back().isLowSurrogate() ? 2 : 1);
    if (base.isEmpty())
        base = u"Untitled"_s;
    return suffix.isEmpty() ? base : base + u'.' + suffix;
}

Folders Library::folders(quint64 *revision) const
{
    const std::lock_guard lock(mutex);
    if (revision)
        *revision = changeCount;
    return index;
}

quint64 Library::revision() const
{
    const std::lock_guard lock(mutex);
    return changeCount;
}

bool Library::isEmpty() const
{
    const std::lock_guard lock(mutex);
    return index.empty();
}

std::optional<StoredVisual> Library::find(SlotId slot) const
{
    const std::lock_guard lock(mutex);
    const StoredVisual *const visual = visualIn(slot);
    return visual ? std::optional(*visual) : std::nullopt;
}

std::optional<Library::OpenVisual> Library::open(SlotId slot) const
{
    const std::lock_guard lock(mutex);
    const StoredVisual *const visual = visualIn(slot);
    if (!visual)
        return {};
    auto file = std::make_unique<QFile>(filePath(slot, *visual));
    if (!file->open(QIODevice::ReadOnly))
        return {};
    return OpenVisual{*visual, std::move(file)};
}

QString Library::newIncomingPath()
{
    const std::lock_guard lock(mutex);
    return directory + u'/' + incoming + u'/' + QString::number(++incomingCount);
}

QString Library::store(SlotId slot, const StoredVisual &visual, const QString &incomingPath)
{
    {
        const std::lock_guard lock(mutex);
        if (QString error = placeFile(incomingPath, slot, visual); !error.isEmpty())
            return error;
    }
    changed();
    return {};
}

QString Library::remove(SlotId slot)
{
    {
        const std::lock_guard lock(mutex);
        const StoredVisual *const visual = visualIn(slot);
        if (!visual)
            return noSuchVisual(slot);
        const QString path = filePath(slot, *visual);
        if (!QFile::remove(path))
            return u"Cannot delete %1"_s.arg(path);
        QDir().rmdir(slotPath(slot));
        index[slot.folder].visuals.erase(slot.visual);
        ++changeCount;
    }
    changed();
    return {};
}

QString Library::move(int folder, int from, int to)
{
    const SlotId source{folder, from};
    {
        const std::lock_guard lock(mutex);
        const StoredVisual *const visual = visualIn(source);
        if (!visual)
            return noSuchVisual(source);
        if (from == to)
            return {};
        if (QString error = placeFile(filePath(source, *visual), {folder, to}, *visual);
            !error.isEmpty())
            return error;
        index[folder].visuals.erase(from);
        QDir().rmdir(slotPath(source));
    }
    changed();
    return {};
}

QString Library::rename(int folder, const QString &name)
{
    {
        const std::lock_guard lock(mutex);
        QSaveFile file(folderPath(folder) + u'/' + nameFile);
        if (!QDir().mkpath(folderPath(folder)) || !file.open(QIODevice::WriteOnly))
            return file.errorString();
        file.write(name.toUtf8());
        if (!file.commit())
            return file.errorString();
        index[folder].name = name;
        ++changeCount;
    }
    changed();
    return {};
}

void Library::scanFolder(int folder)
{
    StoredFolder &stored = index[folder];
    QFile name(folderPath(folder) + u'/' + nameFile);
    stored.name =
        name.open(QIODevice::ReadOnly) ? QString::fromUtf8(name.readAll()) : defaultName(folder);
    for (int visual = 1; visual < slotLimit; ++visual) {
        if (QFileInfo(slotPath({folder, visual})).isDir())
            scanSlot({folder, visual});
    }
}

/// A crash while a file is replaced can leave two files: the newer one is kept.
void Library::scanSlot(SlotId slot)
{
    const QFileInfoList files =
        QDir(slotPath(slot)).entryInfoList(QDir::Files | QDir::Hidden, QDir::Time);
    if (files.isEmpty())
        return;
    for (const QFileInfo &older : files.sliced(1))
        QFile::remove(older.filePath());
    QFile file(files.first().filePath());
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error("cannot read " + file.fileName().toStdString());
    index[slot.folder].visuals[slot.visual] = {files.first().fileName(), hashOf(file)};
}

const StoredVisual *Library::visualIn(SlotId slot) const
{
    const auto folder = index.find(slot.folder);
    if (folder == index.end())
        return nullptr;
    const auto visual = folder->second.visuals.find(slot.visual);
    return visual == folder->second.visuals.end() ? nullptr : &visual->second;
}

QString Library::folderPath(int folder) const
{
    return directory + u'/' + threeDigits(folder);
}

QString Library::slotPath(SlotId slot) const
{
    return folderPath(slot.folder) + u'/' + threeDigits(slot.visual);
}

QString Library::filePath(SlotId slot, const StoredVisual &visual) const
{
    return slotPath(slot) + u'/' + visual.fileName;
}

/// Renames a file into a slot and deletes an old file of another name. Call with `mutex` locked.
QString Library::placeFile(const QString &from, SlotId slot, const StoredVisual &visual)
{
    if (!QDir().mkpath(slotPath(slot)) || !replaceFile(from, filePath(slot, visual)))
        return u"Cannot write %1"_s.arg(filePath(slot, visual));
    const auto [folder, isNew] = index.try_emplace(slot.folder);
    if (isNew)
        folder->second.name = defaultName(slot.folder);
    StoredVisual &entry = folder->second.visuals[slot.visual];
    if (!entry.fileName.isEmpty() && entry.fileName != visual.fileName)
        QFile::remove(filePath(slot, entry));
    entry = visual;
    ++changeCount;
    return {};
}

void Library::changed()
{
    if (changeCallback)
        changeCallback();
}
