// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/Expected.h"
#include "Brenvokactl/LibraryDownload.h"

#include <QDateTime>

/// A downloaded library in a file: lines of text, an empty line, and the bytes of the body. The
/// lines contain the length and the checksum of the body.
struct Snapshot
{
    QString address;
    QDateTime time; ///< in UTC, whole seconds
    QByteArray version;
    QByteArray features;
    QByteArray body;

    [[nodiscard]] QByteArray toBytes() const;
    [[nodiscard]] static Expected<Snapshot> fromBytes(const QByteArray &bytes);

    /// Whether a file begins as a snapshot does.
    [[nodiscard]] static bool isSnapshot(const QString &path);
    /// Reads regular files only.
    [[nodiscard]] static Expected<Snapshot> read(const QString &path);
    /// Writes the whole file or nothing. Replaces only a snapshot. Returns the error, if any.
    [[nodiscard]] QString write(const QString &path) const;

    /// The reply that was saved.
    [[nodiscard]] LibraryDownload download() const;
};
