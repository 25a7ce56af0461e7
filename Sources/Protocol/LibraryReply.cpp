// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Protocol/LibraryReply.h"

#include "Protocol/FeatureList.h"

#include <QByteArray>

ProtocolInfo LibraryReply::protocolInfo(const QByteArray &version, const QByteArray &features)
{
    return {.protocolVersion = version.toULongLong(nullptr, 10),
            .featureList = featureListFromText(features)};
}

bool LibraryReply::isSupported(const ProtocolInfo &info)
{
    return info.protocolVersion != 0;
}
