// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "QuitSignals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

namespace parcelo {

namespace {

constexpr std::array kQuitSignals{SIGTERM, SIGINT, SIGHUP};

// [0] is written by the handler, [1] read on the main thread.
int signalPipe[2] = {-1, -1};
std::array<struct sigaction, kQuitSignals.size()> previousActions{};

// Only async-signal-safe calls here: one write, errno kept as it was.
void onSignal(int number) {
    const int savedErrno = errno;
    const auto byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &byte, 1);
    errno = savedErrno;
}

}  // namespace

QuitSignals::QuitSignals(QObject* parent) : QObject(parent) {
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) {
        qWarning("Parcelo cannot watch for quit signals: %s", std::strerror(errno));
        return;
    }
    notifier_ = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &QuitSignals::readSignal);
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < kQuitSignals.size(); ++i) ::sigaction(kQuitSignals[i], &action, &previousActions[i]);
}

QuitSignals::~QuitSignals() {
    if (!notifier_) return;
    for (std::size_t i = 0; i < kQuitSignals.size(); ++i) ::sigaction(kQuitSignals[i], &previousActions[i], nullptr);
    delete notifier_;
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void QuitSignals::readSignal() {
    unsigned char byte = 0;
    if (::read(signalPipe[1], &byte, 1) == 1) emit received(byte);
}

}  // namespace parcelo
