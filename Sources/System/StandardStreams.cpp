// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#include "System/StandardStreams.h"

#ifdef _WIN32
#include <windows.h>

#include <io.h>
#else
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#endif

namespace StandardStreams {

#ifdef _WIN32

void replaceClosed()
{
}

void writeAtOnce(int stream, std::string_view text)
{
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(stream));
    const DWORD type = GetFileType(handle);
    const auto write = [&] {
        DWORD written = 0;
        WriteFile(handle, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    };
    DWORD mode = 0;
    if (type == FILE_TYPE_DISK) {
        write();
    } else if (type == FILE_TYPE_PIPE &&
               GetNamedPipeHandleStateA(handle, &mode, nullptr, nullptr, nullptr, nullptr, 0)) {
        // Whether a write blocks depends only on the pipe's mode.
        DWORD notWaiting = mode | PIPE_NOWAIT;
        if (SetNamedPipeHandleState(handle, &notWaiting, nullptr, nullptr)) {
            write();
            SetNamedPipeHandleState(handle, &mode, nullptr, nullptr);
        }
    }
    // A console is never written to: it blocks while the operator selects text in it.
}

#else

namespace {

void writeTo(int descriptor, std::string_view text)
{
    // Text that was not written is dropped.
    [[maybe_unused]] const ssize_t size = ::write(descriptor, text.data(), text.size());
}

/// Whether a pipe has a reader and room for a text of up to PIPE_BUF bytes.
bool hasRoom(int pipe)
{
    pollfd request{pipe, POLLOUT, 0};
    return poll(&request, 1, 0) == 1 && request.revents == POLLOUT;
}

} // namespace

void replaceClosed()
{
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= error);
    if (descriptor >= 0)
        close(descriptor);
}

void writeAtOnce(int stream, std::string_view text)
{
    struct stat status;
    if (fstat(stream, &status) != 0)
        return;
    if (S_ISREG(status.st_mode))
        return writeTo(stream, text);
    if (S_ISSOCK(status.st_mode)) {
        (void)send(stream, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        return;
    }

    const bool isPipe = S_ISFIFO(status.st_mode);
    if (isPipe && !hasRoom(stream))
        return;
    // O_NONBLOCK is a property of the open file, not of the descriptor, so setting it would change
    // the stream for all processes that inherited it. A pipe or terminal is opened again instead.
    const std::string path = "/proc/self/fd/" + std::to_string(stream);
    const int own = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (own >= 0) {
        writeTo(own, text);
        close(own);
    } else if (isPipe) {
        // Another user's pipe, for example under sudo. Only another writer can fill it meanwhile.
        writeTo(stream, text.substr(0, PIPE_BUF));
    }
}

#endif

} // namespace StandardStreams
