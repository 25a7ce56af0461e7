// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/Library.h"

#include <QByteArray>
#include <QCache>

#include <mutex>
#include <optional>

/// Pictures of 128 by 96 pixels: a picture is scaled, other files get a pattern that is drawn from
/// their first bytes. What was drawn is kept by content hash, up to 32 MiB. Thread-safe; the mutex
/// guards only what is kept, so that several thumbnails are drawn at once.
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
    QCache<QString, QByteArray> kept;
};
