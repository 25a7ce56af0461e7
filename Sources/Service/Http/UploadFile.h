// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>

/// A local file for an upload, with the length that it had when it was opened.
///
/// The head of an upload states the length of the body, and QHttpMultiPart asks each device for its
/// size repeatedly while it sends. With a plain QFile it accesses memory out of bounds if another
/// program writes to the file meanwhile. With this class, appended bytes are not sent, and a
/// truncated file is a read error, which ends the upload.
class UploadFile final : public QFile
{
    Q_OBJECT

public:
    /// Opens the file for reading. `isOpen` returns false if that failed, or if the file (or the
    /// target of a symbolic link) is not a regular file. Never blocks.
    explicit UploadFile(const QString &filePath);

    /// The path. QFile itself clears it when it opens a descriptor.
    [[nodiscard]] QString fileName() const override { return path; }

    /// In bytes, when it was opened.
    [[nodiscard]] qint64 size() const override { return length; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;

private:
    [[nodiscard]] bool openRegularFile();

    const QString path;
    qint64 length = 0;
};
