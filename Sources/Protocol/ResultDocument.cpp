// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/ResultDocument.h"

#include "Protocol/JsonBody.h"

#include <QCoreApplication>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resultMessage = 7;

QString text(const char *source)
{
    return QCoreApplication::translate("ServerConnectionHandler", source);
}

} // namespace

namespace ResultDocument {

void parse(const QByteArray &body, bool &success, QString &message)
{
    const QJsonObject document = jsonObjectFromBody(body);
    success = false;
    if (document["msg_type"_L1].toInt(0) != resultMessage) {
        message = text(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Invalid response data"));
        return;
    }
    switch (document["RESULT"_L1].toInt(0)) {
    case 0:
        success = true;
        message.clear();
        break;
    case 1:
        message = text(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Visual is in use"));
        break;
    case 2:
        message = text(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Unknown failure"));
        break;
    case 3:
        message = document["ERROR"_L1].toString();
        break;
    case 4:
        message =
            text(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Media library folder is in use"));
        break;
    case 5:
        message =
            text(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Reserved or read-only folder"));
        break;
    default:
        break;
    }
}

} // namespace ResultDocument
