// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/JsonBody.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

QJsonObject jsonObjectFromBody(const QByteArray &body)
{
    const qsizetype end = body.indexOf('\0');
    const QString text = QString::fromUtf8(QByteArrayView(body).first(end < 0 ? body.size() : end));
    return QJsonDocument::fromJson(text.toUtf8()).object();
}
