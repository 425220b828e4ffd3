// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Another user of the same machine, for the shell's test, which runs it under another user id:
//   stranger listen SOCKET...  listens at each socket (making a missing folder of its own), says
//                              "listening", and once its input ends says for each socket what
//                              reached it: "{n} connections, {n} bytes".
//   stranger send SOCKET       sends its input to the socket and says "answered {n} bytes".
// Plain POSIX: it runs without a session, a display or a library of the application.

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

int listenAt(const std::string& path) {
    ::mkdir(std::filesystem::path(path).parent_path().c_str(), 0700);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
    const sockaddr_un address = addressOf(path);
    if (::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 || ::listen(socket, 16) != 0) {
        std::perror(path.c_str());
        return -1;
    }
    ::chmod(path.c_str(), 0777);  // anyone may connect; root may anyway
    return socket;
}

// The kernel keeps whatever connects, and what it sends, until it is taken in: all of it is
// counted once the input ends, with nothing left to wait for.
int listenUntilInputEnds(const std::vector<std::string>& paths) {
    std::vector<int> sockets;
    for (const auto& path : paths) {
        sockets.push_back(listenAt(path));
        if (sockets.back() < 0) return 1;
    }
    std::puts("listening");
    std::fflush(stdout);
    char buffer[4096];
    while (::read(STDIN_FILENO, buffer, sizeof buffer) > 0) continue;
    for (const int socket : sockets) {
        long connections = 0, bytes = 0;
        for (int client; (client = ::accept4(socket, nullptr, nullptr, SOCK_NONBLOCK)) >= 0; ++connections)
            for (ssize_t n; (n = ::read(client, buffer, sizeof buffer)) > 0;) bytes += n;
        std::printf("%ld connections, %ld bytes\n", connections, bytes);
    }
    return 0;
}

int sendInput(const std::string& path) {
    std::string message;
    char buffer[4096];
    for (ssize_t n; (n = ::read(STDIN_FILENO, buffer, sizeof buffer)) > 0;) message.append(buffer, static_cast<size_t>(n));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr_un address = addressOf(path);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror(path.c_str());
        return 1;
    }
    // A listener that hangs up at once makes the send fail; what counts is what comes back.
    ::send(socket, message.data(), message.size(), MSG_NOSIGNAL);
    long answered = 0;
    for (ssize_t n; (n = ::read(socket, buffer, sizeof buffer)) > 0;) answered += n;
    std::printf("answered %ld bytes\n", answered);
    return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() >= 2 && arguments[0] == "listen") return listenUntilInputEnds({arguments.begin() + 1, arguments.end()});
    if (arguments.size() == 2 && arguments[0] == "send") return sendInput(arguments[1]);
    std::fputs("usage: stranger listen SOCKET... | stranger send SOCKET\n", stderr);
    return 2;
}
