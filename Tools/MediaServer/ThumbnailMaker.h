// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <QByteArray>
#include <QCache>

#include <mutex>
#include <optional>

/// Draws thumbnails of 128 by 96 pixels: pictures are scaled, other files get a pattern made from
/// their first bytes. Thumbnails are cached by content hash, up to 32 MiB. Thread-safe; the mutex
/// guards only the cache, so that several thumbnails can be drawn at the same time.
class ThumbnailMaker
{
public:
    struct Thumbnail
    {
        QByteArray png;
        QString hash;
    };

    explicit ThumbnailMaker(const Library &storage);

    /// Nothing when the slot is empty.
    [[nodiscard]] std::optional<Thumbnail> thumbnail(SlotId slot);

private:
    const Library &library;
    std::mutex mutex;
    QCache<QString, QByteArray> cache;
};
