// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "MediaServer/MediaLink.h"
#include "MediaServer/SlotId.h"

#include <QString>

#include <httplib.h>

#include <functional>
#include <memory>
#include <mutex>

/// Where one server offers its files to another: GET /media/FOLDER/SLOT. The response carries the
/// file, its name (percent-encoded) and its hash.
namespace MediaRoute {
inline constexpr const char *fileNameHeader = "X-Media-File";
inline constexpr const char *hashHeader = "X-Media-MD5";
[[nodiscard]] std::string path(SlotId slot);
} // namespace MediaRoute

/// Fetches files from other servers, one at a time, over a connection that is kept for the next
/// file from the same server. Used by one worker; only `stop` may be called from elsewhere.
class FileFetcher
{
public:
    enum class Failure {
        None,
        Network, ///< the file did not arrive
        Disk,    ///< it could not be written
    };

    struct Result
    {
        Failure failure = Failure::None;
        QString error;
        QString fileName;
        QString hash;
    };

    /// Told what arrived so far and what there will be; returns whether to go on.
    using Progress = std::function<bool(qint64 received, qint64 total)>;

    explicit FileFetcher(MediaLink &mediaLink);

    /// Prepares for a server. False when the address is none: "http://HOST:PORT" is.
    [[nodiscard]] bool connectTo(const QString &serverUrl);

    /// Copies one file of that server to `destination`. What was written of it before a failure
    /// is left for the caller to delete.
    [[nodiscard]] Result fetch(SlotId slot, const QString &destination, const Progress &progress);

    /// Ends a running `fetch` at once, from any thread.
    void stop();

private:
    MediaLink &link;
    QString server;
    std::mutex mutex;
    std::unique_ptr<httplib::Client> client;
};
