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

/// How one server gets a file from another: GET /media/FOLDER/SLOT. The response contains the
/// file, its name (percent-encoded) and its hash.
namespace MediaRoute {
inline constexpr const char *fileNameHeader = "X-Media-File";
inline constexpr const char *hashHeader = "X-Media-MD5";
[[nodiscard]] std::string path(SlotId slot);
} // namespace MediaRoute

/// Fetches files from other servers, one at a time. The connection is kept for the next file from
/// the same server. Used by one worker; only `stop` may be called from other threads.
class FileFetcher
{
public:
    enum class Failure {
        None,
        Network, ///< the file did not arrive
        Disk,    ///< the file could not be written
    };

    struct Result
    {
        Failure failure = Failure::None;
        QString error;
        QString fileName;
        QString hash;
    };

    /// Called with the bytes received so far and the length of the file; false stops the fetch.
    using Progress = std::function<bool(qint64 received, qint64 total)>;

    explicit FileFetcher(MediaLink &mediaLink);

    /// Selects the server. False when the URL does not have the form "http://HOST:PORT".
    [[nodiscard]] bool connectTo(const QString &serverUrl);

    /// Copies one file of that server to `destination`. After a failure the caller has to delete
    /// the partial file.
    [[nodiscard]] Result fetch(SlotId slot, const QString &destination, const Progress &progress);

    /// Makes a running `fetch` return at once. May be called from any thread.
    void stop();

private:
    MediaLink &link;
    QString server;
    std::mutex mutex;
    std::unique_ptr<httplib::Client> client;
};
