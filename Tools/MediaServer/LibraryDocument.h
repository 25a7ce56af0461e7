// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <memory>
#include <mutex>
#include <string>

/// The library as clients read it, rendered once for each state of the library and handed out
/// from there. May be called from any thread; the one mutex is held while a document is rendered,
/// so that a crowd of clients costs one rendering.
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

    /// The folders as they are listed: from 0 to the last one that exists, without gaps.
    [[nodiscard]] static Folders listed(Folders folders);

    /// "017: Sunset".
    [[nodiscard]] static QString displayName(int slot, const StoredVisual &visual);

    /// A pure function of what is listed: slots, names and hashes. Equal libraries on two servers
    /// have equal hashes.
    [[nodiscard]] static QString contentHash(const Folders &folders);

private:
    [[nodiscard]] std::string render(Folders folders) const;

    const Library &library;
    const Faults faults;
    std::mutex mutex;
    quint64 renderedRevision = 0;
    std::shared_ptr<const std::string> rendered;
};
