// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <sys/resource.h>

/// While it lives the process can open no more files and sockets.
class NoMoreDescriptors final
{
public:
    NoMoreDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &before);
        rlimit none = before;
        none.rlim_cur = 0;
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &before); }
    Q_DISABLE_COPY_MOVE(NoMoreDescriptors)

private:
    rlimit before{};
};
