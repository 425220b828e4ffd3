// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SignalStop.h"

#include <pthread.h>
#include <signal.h>

namespace parcelo::cli {

namespace {

sigset_t stopSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);  // the terminal went away
    return signals;
}

// Waits in short steps, so that the watcher notices when the program is done with it.
void watch(std::stop_source stop, const std::stop_token& own) {
    const sigset_t signals = stopSignals();
    const timespec step{0, 100'000'000};
    while (!own.stop_requested()) {
        if (::sigtimedwait(&signals, nullptr, &step) > 0) stop.request_stop();
    }
}

}  // namespace

SignalStop::SignalStop() {
    const sigset_t signals = stopSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    watcher_ = std::jthread([stop = source_](const std::stop_token& own) { watch(stop, own); });
}

}  // namespace parcelo::cli
