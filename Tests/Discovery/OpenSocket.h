// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Discovery/DiscoverySocket.h"

/// An open discovery socket that is closed again. Without Qt, for the tests under Windows as well.
struct OpenSocket : Discovery::DiscoverySocket
{
    OpenSocket()
        : Discovery::DiscoverySocket{}
    {
        Discovery::init(*this);
        Discovery::open(*this);
        Discovery::resetTable(*this);
    }
    ~OpenSocket() { Discovery::close(*this); }
    OpenSocket(const OpenSocket &) = delete;
    OpenSocket &operator=(const OpenSocket &) = delete;
};
