// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Log/ZorLog.h"

namespace Zor {

/// Changes private parts of a log.
struct LogProbe
{
    /// Each line begins with its level from now on, "[error][Source:57] text". Lines that were
    /// logged before may still get the log's own form.
    static void showLevels(Log &log);

    /// Announces the worker as the log does at its start. It does so surely once the worker has
    /// written a line.
    static void announceWorker(Log &log) { log.announceWorker(); }
};

} // namespace Zor
