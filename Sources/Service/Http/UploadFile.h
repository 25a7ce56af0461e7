// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QFile>

/// A local file on its way to a server, with the length that it had when it was opened.
///
/// The head of an upload states the length of what follows, and QHttpMultiPart asks each device
/// for its size again and again while it sends: with a plain QFile it reads and writes beyond its
/// memory when another program writes to the file meanwhile. What is appended to this one is not
/// sent, and what is cut off is a read error, which ends the upload.
class UploadFile final : public QFile
{
    Q_OBJECT

public:
    /// Opens the file for reading; `isOpen` tells whether that succeeded. What is no regular file,
    /// behind a symbolic link too, is not opened and never waited for.
    explicit UploadFile(const QString &path);

    /// In bytes, whatever has become of the file since it was opened.
    [[nodiscard]] qint64 size() const override { return length; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;

private:
    [[nodiscard]] bool openRegularFile();

    qint64 length = 0;
};
