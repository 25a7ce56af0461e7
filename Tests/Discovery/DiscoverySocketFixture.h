// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Discovery/DiscoverySocket.h"

/// An open discovery socket that is closed at the end. Without Qt, for the Windows tests as well.
struct DiscoverySocketFixture : Discovery::DiscoverySocket
{
    DiscoverySocketFixture()
        : Discovery::DiscoverySocket{}
    {
        Discovery::init(*this);
        Discovery::open(*this);
        Discovery::resetTable(*this);
    }
    ~DiscoverySocketFixture() { Discovery::close(*this); }
    DiscoverySocketFixture(const DiscoverySocketFixture &) = delete;
    DiscoverySocketFixture &operator=(const DiscoverySocketFixture &) = delete;
};
