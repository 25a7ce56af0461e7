// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/UploadFile.h"

#include <algorithm>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

UploadFile::UploadFile(const QString &filePath)
    : QFile(filePath)
    , path(filePath)
{
    if (openRegularFile())
        length = QFile::size();
}

#ifdef _WIN32
bool UploadFile::openRegularFile()
{
    if (!open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    const auto file = reinterpret_cast<HANDLE>(_get_osfhandle(handle()));
    if (GetFileType(file) == FILE_TYPE_DISK)
        return true;
    close();
    return false;
}
#else
// Checks the open file, not its path, which may name another file by then. Without O_NONBLOCK,
// opening a named pipe would block until there is a writer.
bool UploadFile::openRegularFile()
{
    const int file =
        ::open(encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
        return false;
    struct stat status = {};
    if (fstat(file, &status) == 0 && S_ISREG(status.st_mode) &&
        open(file, QIODevice::ReadOnly | QIODevice::Unbuffered, AutoCloseHandle))
        return true;
    ::close(file);
    return false;
}
#endif

// The file is unbuffered, so its position is that of the bytes that were read. After a short read
// QHttpMultiPart would keep asking for the missing bytes.
qint64 UploadFile::readData(char *data, qint64 maxSize)
{
    const qint64 wanted = std::min(maxSize, length - pos());
    const qint64 count = QFile::readData(data, wanted);
    return count == 0 && wanted > 0 ? -1 : count;
}
