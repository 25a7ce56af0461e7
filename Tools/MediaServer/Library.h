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
///     DIRECTORY/.incoming/             files that are not complete yet
///
/// Only this class changes the files of a slot. All functions may be called from any thread. One
/// mutex guards the index. It is locked while a slot's files are renamed or deleted, so that
/// `open` always gives the file that the index describes, but never while bytes are copied or
/// hashed. The change callback is called after the mutex has been unlocked.
///
/// Functions that change the library return an error text, empty on success.
class Library
{
public:
    /// A visual with its file opened for reading. The file stays readable when the slot changes.
    struct OpenVisual
    {
        StoredVisual visual;
        std::unique_ptr<QFile> file;
    };

    /// Reads the directory, which is created if it is missing, and hashes its files. Throws
    /// std::runtime_error on failure.
    explicit Library(const QString &path);

    /// Called after each change. Set before other threads use the library.
    void setChangeCallback(std::function<void()> callback);

    /// "003_Folder": the name of a folder that has not been renamed.
    [[nodiscard]] static QString defaultName(int folder);

    /// A safe file name: no path, no control characters, no leading dot, at most 200 bytes of
    /// UTF-8, never empty.
    [[nodiscard]] static QString safeFileName(const QString &suggested);

    /// The folders that exist, and the revision, which grows with each change.
    [[nodiscard]] Folders folders(quint64 *revision = nullptr) const;
    [[nodiscard]] quint64 revision() const;
    [[nodiscard]] bool isEmpty() const;

    [[nodiscard]] std::optional<StoredVisual> find(SlotId slot) const;
    [[nodiscard]] std::optional<OpenVisual> open(SlotId slot) const;

    /// A new path for an incoming file, on the same file system as the slots.
    [[nodiscard]] QString newIncomingPath();

    /// Moves the file at `incomingPath` into a slot and replaces what was there. A missing folder
    /// is created.
    [[nodiscard]] QString store(SlotId slot, const StoredVisual &visual,
                                const QString &incomingPath);
    [[nodiscard]] QString remove(SlotId slot);
    /// Moves within one folder and replaces what was in the slot `to`.
    [[nodiscard]] QString move(int folder, int from, int to);
    /// Names a folder. A missing folder is created.
    [[nodiscard]] QString rename(int folder, const QString &name);

private:
    void scanFolder(int folder);
    void scanSlot(SlotId slot);
    /// Null if the slot is empty. Call with `mutex` locked.
    [[nodiscard]] const StoredVisual *visualIn(SlotId slot) const;
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
