// SPDX-FileCopyrightText: The Brenvoka authors
// SPDX-License-Identifier: MIT

//   answering-server ADDRESS [PATH=FILE]... [reports=COUNT]
//
// Answers each request on port 4567 at once and stores nothing. Prints "ready" when it listens, and
// ends with its standard input. See AnsweringServer.h.

#include "TransferReports.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

using Files = std::map<std::string, std::string>;

std::string response(const std::string &body)
{
    return "HTTP/1.1 200 OK\r\nX-BVProtocolVersion: 1\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

TransferReports reports;

/// The responses by the beginning of the path. The last one matches every path.
Files readFiles(int count, char **arguments)
{
    const std::string stream = "HTTP/1.1 200 OK\r\n\r\n";
    Files responses{{"/", response(R"({"msg_type":7,"RESULT":0})")},
                    {"/brenvoka/notifier.html", stream + std::string("{}\0", 3)}};
    for (int i = 0; i < count; ++i) {
        const std::string argument = arguments[i];
        const auto sign = argument.find('=');
        if (argument.starts_with("reports=")) {
            reports.expect(std::atoi(&argument[sign + 1]));
            continue;
        }
        std::ifstream file(argument.substr(sign + 1), std::ios::binary);
        const std::string path = argument.substr(0, sign);
        const std::string body(std::istreambuf_iterator<char>(file), {});
        const bool isStream = path == "/brenvoka/notifier.html";
        responses[path] = isStream ? stream + body : response(body);
    }
    return responses;
}

const std::string &responseTo(const Files &responses, std::string_view head)
{
    const auto begin = head.find(' ') + 1;
    const std::string_view path = head.substr(begin, head.find(' ', begin) - begin);
    auto match = responses.cbegin();
    for (auto it = responses.cbegin(); it != responses.cend(); ++it) {
        if (path.starts_with(it->first))
            match = it;
    }
    return match->second;
}

std::size_t contentLength(std::string_view head)
{
    constexpr std::string_view name = "Content-Length: ";
    const auto at = head.find(name);
    return at == std::string_view::npos ? 0 : std::strtoull(&head[at + name.size()], nullptr, 10);
}

/// One connection, until the client closes it.
class Connection final
{
public:
    explicit Connection(int descriptor)
        : socket(descriptor)
    {
    }
    ~Connection() { close(socket); }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    void serve(const Files &responses)
    {
        for (;;) {
            auto end = received.find("\r\n\r\n");
            for (; end == std::string::npos; end = received.find("\r\n\r\n")) {
                if (!receive())
                    return;
            }
            const std::string head = received.substr(0, end + 4);
            received.erase(0, head.size());
            const std::string beginOfBody = received.substr(0, 200);
            if (!skip(contentLength(head)))
                return;
            sendAll(socket, responseTo(responses, head));
            if (head.starts_with("GET /brenvoka/notifier.html"))
                reports.sendTo(socket);
            else
                reports.commandReceived(beginOfBody);
        }
    }

private:
    bool receive()
    {
        const ssize_t count = recv(socket, buffer.data(), buffer.size(), 0);
        if (count > 0)
            received.append(buffer.data(), static_cast<std::size_t>(count));
        return count > 0;
    }
    /// Drops that many bytes of a body.
    bool skip(std::size_t count)
    {
        while (received.size() < count) {
            count -= received.size();
            received.clear();
            if (!receive())
                return false;
        }
        received.erase(0, count);
        return true;
    }

    int socket;
    std::string received;
    std::vector<char> buffer = std::vector<char>(1 << 18);
};

int listenOn(const char *address)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_port = htons(4567);
    inet_pton(AF_INET, address, &local.sin_addr);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0 ||
        listen(listener, SOMAXCONN) != 0)
        return -1;
    return listener;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const Files responses = readFiles(argc - 2, argv + 2);
    const int listener = listenOn(argv[1]);
    if (listener < 0)
        return 1;
    std::thread([] {
        while (std::getchar() != EOF) {
        }
        std::_Exit(0);
    }).detach();
    std::puts("ready");
    std::fflush(stdout);
    for (;;) {
        const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            continue;
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        std::thread([=, &responses] { Connection(socket).serve(responses); }).detach();
    }
}
