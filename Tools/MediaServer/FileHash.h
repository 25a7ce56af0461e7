// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCryptographicHash>
#include <QIODevice>
#include <QString>

/// The hash in hexadecimal, as it is written in the library document.
[[nodiscard]] inline QString hashText(const QCryptographicHash &hash)
{
    return QString::fromLatin1(hash.result().toHex());
}

/// The MD5 hash of the unread bytes of a device.
[[nodiscard]] inline QString hashOf(QIODevice &device)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(&device);
    return hashText(hash);
}
