// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRegularExpression>
#include <QTest>

/// Fails the running test function at any warning that it has not announced by
/// QTest::ignoreMessage. What the offscreen platform says of itself ("This plugin does not support
/// propagateSizeHints()") is no concern of a test. Call it in `init`.
inline void failOnAnyWarning()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral("^(?!This plugin does not support )")));
}
