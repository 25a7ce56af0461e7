// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/UploadFile.h"

#include <algorithm>

// Without a buffer of its own, so that the position is that of the bytes handed out.
UploadFile::UploadFile(const QString &path)
    : QFile(path)
{
    if (open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        length = QFile::size();
}

// Of nothing at all QHttpMultiPart would ask for the rest for ever.
qint64 UploadFile::readData(char *data, qint64 maxSize)
{
    const qint64 wanted = std::min(maxSize, length - pos());
    const qint64 count = QFile::readData(data, wanted);
    return count == 0 && wanted > 0 ? -1 : count;
}
