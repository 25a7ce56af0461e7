// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Input.h"
#include "Protocol/JsonBody.h"
#include "Protocol/ResultDocument.h"
#include "Require.h"

using namespace Qt::Literals::StringLiterals;

namespace {

QString expected(const QJsonObject &document)
{
    if (document["msg_type"_L1].toInt() != 7)
        return u"Invalid response data"_s;
    switch (document["RESULT"_L1].toInt()) {
    case 0:
        return {};
    case 1:
        return u"Visual is in use"_s;
    case 2:
        return u"Unknown failure"_s;
    case 3:
        return document["ERROR"_L1].toString();
    case 4:
        return u"Media library folder is in use"_s;
    case 5:
        return u"Reserved or read-only folder"_s;
    default:
        return {};
    }
}

} // namespace

/// Only a result document with code 0 is a success; other results give their error texts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body = Input(data, size).all();
    const QJsonObject document = jsonObjectFromBody(body);
    const Outcome outcome = ResultDocument::parse(body);
    require(outcome.success ==
            (document["msg_type"_L1].toInt() == 7 && document["RESULT"_L1].toInt() == 0));
    require(outcome.message == expected(document));
    return 0;
}
