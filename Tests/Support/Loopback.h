// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// LOOPBACK(3) is the third address of this test program as a string literal, to be joined with
/// others: u"http://" LOOPBACK(3) ":4567"_s. The build gives each program 254 addresses (1 to 254)
/// that no other program has, so that programs run in parallel; see brenvoka_loopback in CMake.
#define LOOPBACK(number) BRENVOKA_LOOPBACK "." #number

/// The same address as a string.
[[nodiscard]] inline QString loopback(int number)
{
    return QStringLiteral(BRENVOKA_LOOPBACK ".%1").arg(number);
}
