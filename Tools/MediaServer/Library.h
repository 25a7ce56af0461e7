// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/SlotId.h"

#include <QFile>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

/// One visual: one file in one slot.
struct StoredVisual
{
    /// The name of the file, such as "Sunset.png".
    QString fileName;
    /// MD5 of the file in hexadecimal, 32 characters.
    QString hash;

    /// "Sunset": the file's name without its last suffix.
    [[nodiscard]] QString title() const;
};

struct StoredFolder
{
    QString name;
    std::map<int, StoredVisual> visuals;
};

using Folders = std::map<int, StoredFolder>;

/// The media library: real files below one directory, and an index of them in memory.
///
///     DIRECTORY/003/folder.name        the name of folder 3 in UTF-8
///     DIRECTORY/003/017/Sunset.png     the visual in slot 17, shown as "017: Sunset"
///     DIRECTORY/.incoming/             files that are still on their way
///
/// Nothing but this class touches the files of a slot. All operations may be called from any
/// thread. One mutex guards the index and is held while a slot's files are renamed or deleted, so
/// that whoever opens a slot gets the file that the index describes; it is never held while
/// bytes are copied or hashed. The change callback runs after the mutex has been released.
///
/// Operations that change something return an error text, empty on success.
class Library
{
public:
    /// A visual with its file opened for reading. The file stays readable though the slot changes.
    struct OpenVisual
    {
        StoredVisual visual;
        std::unique_ptr<QFile> file;
    };

    /// Reads the directory, creating it if need be, and hashes its files. Throws
    /// std::runtime_error when that is not possible.
    explicit Library(const QString &path);

    /// Called after each change. Set before other threads use the library.
    void setChangeCallback(std::function<void()> callback);

    /// "003_Folder": the name of a folder that was never given one.
    [[nodiscard]] static QString defaultName(int folder);

    /// A file name that is safe in a slot: no path, no control characters, no leading dot, at
    /// most 200 bytes of UTF-8, never empty.
    [[nodiscard]] static QString safeFileName(const QString &suggested);

    /// The folders that exist, and the number that grows with each change.
    [[nodiscard]] Folders folders(quint64 *revision = nullptr) const;
    [[nodiscard]] quint64 revision() const;
    [[nodiscard]] bool isEmpty() const;

    [[nodiscard]] std::optional<StoredVisual> find(SlotId slot) const;
    [[nodiscard]] std::optional<OpenVisual> open(SlotId slot) const;

    /// A path for a file on its way into the library, on the same file system as its slots.
    [[nodiscard]] QString newIncomingPath();

    /// Puts the file at `incomingPath` into a slot, in place of what was there. The folder is
    /// created if need be. The path is gone on success.
    [[nodiscard]] QString store(SlotId slot, const StoredVisual &visual,
                                const QString &incomingPath);
    [[nodiscard]] QString remove(SlotId slot);
    /// Moves within one folder, in place of what was in the slot `to`.
    [[nodiscard]] QString move(int folder, int from, int to);
    /// Names a folder, which is created if need be.
    [[nodiscard]] QString rename(int folder, const QString &name);

private:
    void scanFolder(int folder);
    void scanSlot(SlotId slot);
    [[nodiscard]] QString folderPath(int folder) const;
    [[nodiscard]] QString slotPath(SlotId slot) const;
    [[nodiscard]] QString filePath(SlotId slot, const StoredVisual &visual) const;
    [[nodiscard]] QString placeFile(const QString &from, SlotId slot, const StoredVisual &visual);
    void changed();

    const QString directory;
    std::function<void()> changeCallback;
    mutable std::mutex mutex;
    Folders index;
    quint64 changeCount = 0;
    quint64 incomingCount = 0;
};
