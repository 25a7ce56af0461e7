// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QRegularExpression>
#include <QTest>

/// Fails the running test function at any warning that it has not announced by
/// QTest::ignoreMessage. Call it in `init`.
inline void failOnAnyWarning()
{
    QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
}
