// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <memory>
#include <mutex>
#include <string>

/// The library as clients read it, rendered once for each revision of the library. May be called
/// from any thread. The mutex is locked while a document is rendered, so that many clients that
/// ask at the same time cost one rendering.
class LibraryDocument
{
public:
    struct Faults
    {
        bool sparse = false;
        bool broken = false;
    };

    LibraryDocument(const Library &storage, Faults faultsToShow);

    [[nodiscard]] std::shared_ptr<const std::string> bytes();

    /// The listed folders: from 0 to the last one that exists, without gaps.
    [[nodiscard]] static Folders listed(Folders folders);

    /// "017: Sunset".
    [[nodiscard]] static QString displayName(int slot, const StoredVisual &visual);

    /// Depends only on the listed slots, names and hashes, so equal libraries on two servers have
    /// equal hashes.
    [[nodiscard]] static QString contentHash(const Folders &folders);

private:
    [[nodiscard]] std::string render(Folders folders) const;

    const Library &library;
    const Faults faults;
    std::mutex mutex;
    quint64 renderedRevision = 0;
    std::shared_ptr<const std::string> rendered;
};
