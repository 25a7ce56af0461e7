// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

/// While it lives, allocations may leak: an abandoned task is never deleted.
class LeakAllowed final
{
public:
#if defined(__SANITIZE_ADDRESS__)
    LeakAllowed()
    {
        __lsan_disable();
    }
    ~LeakAllowed()
    {
        __lsan_enable();
    }
#else
    LeakAllowed()
    {
    }
#endif
    Q_DISABLE_COPY_MOVE(LeakAllowed)
};
