// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Discovery/DiscoverySocket.h"

#include <cstdlib>

/// Any datagram gives an announcement or nothing, and a name within its field.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const auto server = Discovery::parse({data, size}, {});
    if (!server)
        return 0;
    const std::string_view name = Discovery::name(*server);
    if (size < 128 || name.size() > 84 || name.find('\0') != std::string_view::npos)
        std::abort();
    return 0;
}
