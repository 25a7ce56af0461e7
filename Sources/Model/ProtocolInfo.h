// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <bitset>

/// The headers of a server's library reply. Stored as required, although nothing reads them.
struct ProtocolInfo
{
    quint64 protocolVersion = 0x1000000000000; ///< the value of the header X-BVProtocolVersion
    std::bitset<1> featureList{1};             ///< bit 0 of the header X-BVFeatureList
};
