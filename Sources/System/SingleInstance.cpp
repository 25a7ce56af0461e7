// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "System/SingleInstance.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#endif

namespace SingleInstance {

#ifdef _WIN32

bool acquire()
{
    // The handle is never closed: it keeps the name taken until the system closes it with the
    // process. The global namespace covers all users of the machine.
    CreateMutexA(nullptr, FALSE, "Global\\Brenvoka");
    return GetLastError() != ERROR_ALREADY_EXISTS;
}

#else

bool acquire()
{
    // A name in the abstract namespace (unix(7)) belongs to no file system and no user, and the
    // kernel releases it with the last descriptor, however the process ends. SOCK_CLOEXEC keeps
    // child processes from inheriting it. The descriptor is never closed.
    constexpr std::string_view name{"\0Global\\Brenvoka", 16};
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return true;

    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    const int result = bind(descriptor, reinterpret_cast<const sockaddr *>(&address), length);
    return result == 0 || errno != EADDRINUSE;
}

#endif

} // namespace SingleInstance
