// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include <QStandardPaths>

/// Replaces Qt's own, which on this system always finds a place for data. A temporary
/// directory is there if TMPDIR names one; all else is as it was.
QString QStandardPaths::writableLocation(StandardLocation type)
{
    switch (type) {
    case AppDataLocation:
        return {};
    case TempLocation:
        return qEnvironmentVariable("TMPDIR");
    default:
        return standardLocations(type).value(0);
    }
}
