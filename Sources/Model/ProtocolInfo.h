// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <bitset>

/// What a server said about itself when its library was fetched.
struct ProtocolInfo
{
    quint64 protocolVersion = 0x1000000000000; ///< the value of the header X-BVProtocolVersion
    std::bitset<1> featureList{1};             ///< bit 0 of the header X-BVFeatureList
};
