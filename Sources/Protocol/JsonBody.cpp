// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/JsonBody.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

QJsonObject jsonObjectFromBody(const QByteArray &body)
{
    const qsizetype end = body.indexOf('\0');
    const QByteArray text = end < 0 ? body : body.first(end);
    // Valid text, which is the usual case, needs no conversion.
    return QJsonDocument::fromJson(text.isValidUtf8() ? text : QString::fromUtf8(text).toUtf8())
        .object();
}
