// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/ResultDocument.h"

#include "Protocol/JsonBody.h"

#include <QCoreApplication>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int resultMessage = 7;

Outcome failure(const char *text)
{
    return {false, QCoreApplication::translate("ServerConnectionHandler", text)};
}

} // namespace

namespace ResultDocument {

Outcome parse(const QByteArray &body)
{
    const QJsonObject document = jsonObjectFromBody(body);
    if (document["msg_type"_L1].toInt(0) != resultMessage)
        return failure(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Invalid response data"));
    switch (document["RESULT"_L1].toInt(0)) {
    case 0:
        return {true, {}};
    case 1:
        return failure(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Visual is in use"));
    case 2:
        return failure(QT_TRANSLATE_NOOP("ServerConnectionHandler", "Unknown failure"));
    case 3:
        return {false, document["ERROR"_L1].toString()};
    case 4:
        return failure(
            QT_TRANSLATE_NOOP("ServerConnectionHandler", "Media library folder is in use"));
    case 5:
        return failure(
            QT_TRANSLATE_NOOP("ServerConnectionHandler", "Reserved or read-only folder"));
    default:
        return {};
    }
}

} // namespace ResultDocument
