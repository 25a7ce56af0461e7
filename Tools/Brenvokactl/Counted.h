// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// "1 folder", "2 folders".
[[nodiscard]] inline QString counted(qsizetype count, QLatin1String noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(count), noun,
                                         QLatin1String(count == 1 ? "" : "s"));
}
