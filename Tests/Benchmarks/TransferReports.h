// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sys/socket.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

inline void sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

/// Reports on the notification stream that each visual of a synchronisation is copied at once. The
/// end of a visual is reported after the start of the next one, as the table of transfers must not
/// become empty before the last visual.
class TransferReports final
{
public:
    /// The number of visuals. Nothing is reported without it.
    void expect(int visualCount) { count = visualCount; }
    void sendTo(int socket)
    {
        const std::scoped_lock lock(mutex);
        stream = socket;
    }

    void commandReceived(const std::string &body)
    {
        int folder = 0;
        int visual = 0;
        const auto slots = body.find("folderIdx=");
        if (count == 0 || !body.starts_with("req_type=1&") || slots == std::string::npos ||
            std::sscanf(&body[slots], "folderIdx=%d&visualIdx=%d", &folder, &visual) != 2)
            return;
        const std::scoped_lock lock(mutex);
        std::string messages = message(1, 0, folder, visual) + message(2, 1, folder, visual) + last;
        last = message(3, finishedState, folder, visual);
        if (++received % count == 0)
            messages += std::exchange(last, {});
        sendAll(stream, messages);
    }

private:
    static constexpr int finishedState = 6;

    static std::string message(int type, int state, int folder, int visual)
    {
        char text[256];
        const int length = std::snprintf(
            text, sizeof text,
            R"({"msg_type":%d,"sync":{"ID":"{00000000-0000-0000-%04x-00000000%04x}","STATUS":%d,)"
            R"("FLDIDX":%d,"VISIDX":%d,"CPERCENT":50}})",
            type, 0x8000 + folder, visual, state, folder, visual);
        return {text, static_cast<std::size_t>(length) + 1}; // with the NUL that ends a message
    }

    std::mutex mutex;
    std::string last;
    int stream = -1;
    int count = 0;
    int received = 0;
};
