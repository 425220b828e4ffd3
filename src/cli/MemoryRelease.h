// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <mutex>

namespace parcelo::cli {

// Sets glibc's allocator up for a run of many fits; called in main() before any other thread
// allocates.
void setUpAllocator();

// Hands the heap that finished fits freed back to the system, but only once the free heap or
// the process has grown by more than kGrowthBeforeRelease since it last did: a run over
// thousands of images then peaks about where a run over a few of its largest does, while the
// many small images between the large ones cost no release at all.
class MemoryRelease {
public:
    // How far the free heap and the resident memory may grow before a release.
    static constexpr std::int64_t kGrowthBeforeRelease = 32'000'000;

    // Called by a worker after each fit; safe from any thread.
    void afterFit();

private:
    std::mutex mutex_;
    std::int64_t residentAfterRelease_ = 0;
    std::int64_t leastFreeSinceRelease_ = 0;
};

}  // namespace parcelo::cli
