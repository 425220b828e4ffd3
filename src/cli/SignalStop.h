// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <stop_token>
#include <thread>

namespace parcelo::cli {

// Turns Ctrl+C (SIGINT), SIGTERM and SIGHUP into a stop request, so that a run ends through the
// engine's own cancellation and never halfway through writing a copy. Make it before any
// other thread: the signals are blocked in this thread and in every thread started later,
// and only a watcher thread of its own receives them.
class SignalStop {
public:
    SignalStop();

    [[nodiscard]] std::stop_token token() const { return source_.get_token(); }

private:
    std::stop_source source_;
    std::jthread watcher_;
};

}  // namespace parcelo::cli
