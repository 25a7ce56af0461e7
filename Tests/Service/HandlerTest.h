// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Service/HandlerFixture.h"
#include "Support/FailOnWarning.h"
#include "Support/Loopback.h"

#include <memory>

/// The base of the tests of one connected handler. `init` calls `setUp`, `cleanup` calls
/// `tearDown`.
class HandlerTest : public QObject
{
protected:
    void setUp()
    {
        failOnAnyWarning();
        fixture = std::make_unique<HandlerFixture>(loopback(1));
        QVERIFY(fixture->open());
    }
    void tearDown() { fixture.reset(); }

    std::unique_ptr<HandlerFixture> fixture;
};
