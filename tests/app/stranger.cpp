// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Another user of the same machine, for the shell's test, which runs it under another user id:
//   stranger listen SOCKET...  listens at each socket (making a missing folder of its own), says
//                              "listening", and once its input ends says for each socket what
//                              reached it: "{n} connections, {n} bytes".
//   stranger send SOCKET       sends its input to the socket and says "answered {n} bytes".
// Plain POSIX: it runs without a session, a display or a library of the application.

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

struct Listener {
    int socket = -1;
    long connections = 0;
    long bytes = 0;
    std::vector<int> clients;
};

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

// Takes in every connection and byte that has arrived, without waiting for more.
void drain(Listener& listener) {
    for (int client; (client = ::accept4(listener.socket, nullptr, nullptr, SOCK_NONBLOCK)) >= 0;) {
        ++listener.connections;
        listener.clients.push_back(client);
    }
    std::erase_if(listener.clients, [&listener](int client) {
        char buffer[4096];
        ssize_t n = 0;
        while ((n = ::read(client, buffer, sizeof buffer)) > 0) listener.bytes += n;
        if (n < 0 && errno == EAGAIN) return false;  // still open, nothing more yet
        ::close(client);
        return true;
    });
}

int listenUntilInputEnds(const std::vector<std::string>& paths) {
    std::vector<Listener> listeners;
    for (const auto& path : paths) {
        listeners.push_back({.socket = listenAt(path), .clients = {}});
        if (listeners.back().socket < 0) return 1;
    }
    std::puts("listening");
    std::fflush(stdout);
    for (;;) {
        std::vector<pollfd> watched{{STDIN_FILENO, POLLIN, 0}};
        for (const auto& listener : listeners) {
            watched.push_back({listener.socket, POLLIN, 0});
            for (const int client : listener.clients) watched.push_back({client, POLLIN, 0});
        }
        ::poll(watched.data(), watched.size(), -1);
        for (auto& listener : listeners) drain(listener);
        char input[256];
        if ((watched[0].revents & (POLLIN | POLLHUP)) != 0 && ::read(STDIN_FILENO, input, sizeof input) <= 0) break;
    }
    for (auto& listener : listeners) {
        drain(listener);
        std::printf("%ld connections, %ld bytes\n", listener.connections, listener.bytes);
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
