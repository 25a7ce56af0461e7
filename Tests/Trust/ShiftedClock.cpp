// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

// A library for LD_PRELOAD that lets the wall clock of a program jump: SIGUSR1 by ten years
// forward, SIGUSR2 by twenty years back. The clocks that never jump stay as they are.

#include <csignal>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr std::time_t year = 365 * 24 * 3600;
volatile std::time_t shift = 0;

void jump(int number)
{
    shift = shift + (number == SIGUSR1 ? 10 * year : -20 * year);
}

[[gnu::constructor]] void listen()
{
    std::signal(SIGUSR1, jump);
    std::signal(SIGUSR2, jump);
}

} // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec *now) noexcept
{
    const long result = syscall(SYS_clock_gettime, clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += shift;
    return static_cast<int>(result);
}

int gettimeofday(timeval *now, void *) noexcept
{
    timespec exact{};
    clock_gettime(CLOCK_REALTIME, &exact);
    now->tv_sec = exact.tv_sec;
    now->tv_usec = exact.tv_nsec / 1000;
    return 0;
}

std::time_t time(std::time_t *result) noexcept
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result)
        *result = now.tv_sec;
    return now.tv_sec;
}
}
