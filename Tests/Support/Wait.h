// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QEventLoop>
#include <QTest>
#include <QTimer>

/// How long a test waits for something that should happen soon, in milliseconds. A busy machine may
/// need that long; a test that passes never does.
inline constexpr int patience = 60000;

/// Runs an event loop until the condition is true, or for `patience`. Returns the condition. Unlike
/// QTest::qWaitFor it does not sleep while there are events.
template <typename Condition>
[[nodiscard]] bool waitFor(const Condition &condition)
{
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        if (condition())
            loop.quit();
    });
    check.start(1);
    // Not QTimer::singleShot: its object would exist until the end of `patience`.
    QTimer end;
    QObject::connect(&end, &QTimer::timeout, &loop, &QEventLoop::quit);
    end.start(patience);
    if (!condition())
        loop.exec();
    return condition();
}

/// QVERIFY, as soon as the condition is true.
#define EVENTUALLY(...)                                                                            \
    do {                                                                                           \
        (void)waitFor([&] { return static_cast<bool>(__VA_ARGS__); });                             \
        QVERIFY(__VA_ARGS__);                                                                      \
    } while (false)

/// QCOMPARE, as soon as the two are equal.
#define EVENTUALLY_COMPARE(actual, expected)                                                       \
    do {                                                                                           \
        (void)waitFor([&] { return (actual) == (expected); });                                     \
        QCOMPARE(actual, expected);                                                                \
    } while (false)
