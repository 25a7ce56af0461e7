// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Service/Http/OneShotBody.h"

#include <algorithm>
#include <cstring>

OneShotBody::OneShotBody(const QByteArray &bytes, QObject *parent)
    : QIODevice(parent)
    , body(bytes)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

qint64 OneShotBody::bytesAvailable() const
{
    return body.size() - position + QIODevice::bytesAvailable();
}

qint64 OneShotBody::readData(char *data, qint64 maxSize)
{
    const qint64 count = std::min<qint64>(maxSize, body.size() - position);
    if (count == 0 && maxSize > 0)
        return -1;
    std::memcpy(data, body.constData() + position, static_cast<size_t>(count));
    position += count;
    return count;
}
