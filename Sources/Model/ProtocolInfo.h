// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <bitset>

/// The version headers of a server's library reply.
struct ProtocolInfo
{
    quint64 protocolVersion = 0x1000000000000; ///< the value of the header X-BVProtocolVersion
    std::bitset<1> featureList{1};             ///< bit 0 of the header X-BVFeatureList
};
