// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "MemoryRelease.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace parcelo::cli {

// glibc keeps freed memory in an arena per thread, and every fit's threads, workers' and
// libvips' alike, leave theirs there: uncapped, the peak over 276 images of the corpus with
// --jobs 2 was 523 MB against 288 MB with two arenas. With one, what either worker's fit frees
// serves the next fit of both (500 images: 262–278 MB against 300–318 MB with two), at the same
// processor time: two workers on two cores hardly ever wait for its lock.
void setUpAllocator() { mallopt(M_ARENA_MAX, 1); }

namespace {

// The process's resident memory in bytes; 0 when it cannot be read.
std::int64_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::int64_t pages = 0;
    std::int64_t residentPages = 0;
    if (!(statm >> pages >> residentPages)) return 0;
    return residentPages * sysconf(_SC_PAGESIZE);
}

std::int64_t freeHeapBytes() { return static_cast<std::int64_t>(mallinfo2().fordblks); }

}  // namespace

// The decoder of a 5120 × 2880 JPEG holds 88 MB of coefficients. Freed, they stay in the heap,
// where the small blocks of later fits split them, so the next large image takes fresh memory
// beside them and the peak creeps up with every pass over large images. malloc_trim gives back
// every free page wherever it lies; after every fit that costs a tenth more processor time in
// pages taken again, so it waits until a fit has freed or added that much. Free heap that was
// used again since the last release is resident again, so the free bytes are counted from their
// lowest since. While one worker releases, the other goes on rather than wait to release the
// same pages.
void MemoryRelease::afterFit() {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock.owns_lock()) return;
    const std::int64_t freeBytes = freeHeapBytes();
    leastFreeSinceRelease_ = std::min(leastFreeSinceRelease_, freeBytes);
    if (freeBytes <= leastFreeSinceRelease_ + kGrowthBeforeRelease &&
        residentBytes() <= residentAfterRelease_ + kGrowthBeforeRelease)
        return;
    malloc_trim(0);
    residentAfterRelease_ = residentBytes();
    leastFreeSinceRelease_ = freeHeapBytes();
}

}  // namespace parcelo::cli
