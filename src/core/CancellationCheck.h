// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <functional>
#include <stop_token>

namespace parcelo {

// Ends blocking work with CancellationError once its stop token has been triggered. The engine
// and the folder scan run it between the steps of their work.
void throwIfStopped(const std::stop_token& stopToken);

// While one lives, every cancellation check first calls its function, on the thread doing the
// work, so that a test can make a stop happen at a known point of the work ("at the second
// check") instead of after a guess at how long the work takes. The product never makes one.
// Make and destroy it while no work is running; only one may live at a time.
class CancellationCheckHook {
public:
    explicit CancellationCheckHook(std::function<void()> check);
    ~CancellationCheckHook();
    CancellationCheckHook(const CancellationCheckHook&) = delete;
    CancellationCheckHook& operator=(const CancellationCheckHook&) = delete;

private:
    std::function<void()> check_;
};

}  // namespace parcelo
