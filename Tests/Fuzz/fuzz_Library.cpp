// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "Model/Server.h"
#include "Service/JsonBody.h"

#include <QByteArray>

#include <algorithm>
#include <cstdlib>

namespace {

void require(bool condition)
{
    if (!condition)
        std::abort();
}

void requireWithinLimits(const MediaFolder &folder)
{
    require(folder.slot >= 0 && folder.slot <= 256);
    require(folder.files.size() <= 256);
    require(std::is_sorted(folder.files.begin(), folder.files.end(),
                           [](const Visual &a, const Visual &b) { return a.hash < b.hash; }));
    for (const Visual &visual : folder.files) {
        require(visual.hash.size() == 32);
        require(visual.slot >= 0 && visual.slot <= 255);
        require(folder.containsHash(visual.hash));
        require(folder.indexOfSlot(visual.slot) >= 0);
    }
}

} // namespace

/// Any body is refused and changes nothing, or gives a library within its limits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray body(reinterpret_cast<const char *>(data), qsizetype(size));
    Server server;
    if (!server.fromJson(jsonObjectFromBody(body))) {
        require(server.folders.isEmpty() && server.hash.isNull());
        return 0;
    }
    for (const MediaFolder &folder : server.folders)
        requireWithinLimits(folder);
    return 0;
}
