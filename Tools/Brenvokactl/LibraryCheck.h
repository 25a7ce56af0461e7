// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Brenvokactl/Expected.h"
#include "Model/Server.h"

#include <QList>

struct LibraryDownload;

/// One statement about a library.
struct Finding
{
    enum Level {
        Passed,      ///< this gate is passed
        Refused,     ///< the window refuses the library
        Unreachable, ///< there was no answer
        Advice,      ///< accepted, but it works badly
    };
    Level level = Passed;
    QString subject; ///< of a few words, such as "version"
    QString text;
    int folder = -1;
    int slot = -1;
};

/// What the window decides about a downloaded library.
namespace LibraryCheck {

/// The server as the window keeps it, with an id of its own, or the first reason why the window
/// refuses it. The same functions decide as in the window.
[[nodiscard]] Expected<Server> read(const LibraryDownload &download);

/// The gates of `read` one by one, up to the first that is not passed. A refused document gets one
/// finding for each of the first thousand rules that it breaks. `read` has a value exactly if
/// nothing is refused.
[[nodiscard]] QList<Finding> gates(const LibraryDownload &download);

/// What works badly in an accepted library, up to a thousand findings.
[[nodiscard]] QList<Finding> advice(const LibraryDownload &download, const Server &server);

} // namespace LibraryCheck
