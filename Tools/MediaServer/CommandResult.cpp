// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "MediaServer/CommandResult.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

std::string CommandResult::toJson() const
{
    QJsonObject document{{u"msg_type"_s, 7}, {u"RESULT"_s, static_cast<int>(code)}};
    if (code == ResultCode::OtherFailure)
        document.insert("ERROR"_L1, error);
    return QJsonDocument(document).toJson(QJsonDocument::Compact).toStdString();
}
