// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Discovery/DiscoverySocket.h"

#include <QtGlobal>

/// An open discovery socket that is closed again.
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
    Q_DISABLE_COPY_MOVE(OpenSocket)
};
