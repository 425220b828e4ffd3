// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CancellationCheck.h"

#include <atomic>

#include "FitError.h"

namespace parcelo {

namespace {

// Empty in the product: one load per check, and checks come between encodes and folder entries.
std::atomic<const std::function<void()>*> installedCheck{nullptr};

}  // namespace

void throwIfStopped(const std::stop_token& stopToken) {
    if (const auto* check = installedCheck.load(std::memory_order_acquire)) (*check)();
    if (stopToken.stop_requested()) throw CancellationError();
}

CancellationCheckHook::CancellationCheckHook(std::function<void()> check) : check_(std::move(check)) {
    installedCheck.store(&check_, std::memory_order_release);
}

CancellationCheckHook::~CancellationCheckHook() { installedCheck.store(nullptr, std::memory_order_release); }

}  // namespace parcelo
