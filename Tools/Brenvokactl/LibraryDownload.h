// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

class QHostAddress;

/// One reply to a request for a library.
struct LibraryDownload
{
    QString error;           ///< of the network or of HTTP; empty if the reply arrived whole
    int status = 0;          ///< of HTTP; 0 if there was no answer
    QByteArray version;      ///< the header X-BVProtocolVersion
    QByteArray features;     ///< the header X-BVFeatureList
    bool staysFresh = false; ///< a cache may answer the next request without asking the server
    QByteArray body;

    /// Sends the request of the window and waits for the end of the reply, at most for `timeout`.
    /// Needs an application, runs an event loop, and keeps nothing on the disk.
    [[nodiscard]] static LibraryDownload get(const QHostAddress &address,
                                             std::chrono::milliseconds timeout);
};
