// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QCryptographicHash>
#include <QIODevice>
#include <QString>

/// MD5 in hexadecimal, the form in which content is told apart on the wire.
[[nodiscard]] inline QString hashText(const QCryptographicHash &hash)
{
    return QString::fromLatin1(hash.result().toHex());
}

/// The hash of all that a device still holds.
[[nodiscard]] inline QString hashOf(QIODevice &device)
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    hash.addData(&device);
    return hashText(hash);
}
