// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRegularExpression>
#include <QTest>

/// Fails the running test function at any warning that it has not announced by
/// QTest::ignoreMessage, except those of the offscreen platform ("This plugin does not support
/// propagateSizeHints()"). Call it in `init`.
inline void failOnAnyWarning()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support )")));
}
