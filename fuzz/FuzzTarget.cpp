// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// libFuzzer entry point of one fuzzer; PARCELO_FUZZ_CHECK names the check it feeds (see fuzz/README.md).
#include <cstdlib>

#include "FuzzChecks.h"

// One libvips worker thread: the machine is shared, and a fault shows the same way.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setenv("VIPS_CONCURRENCY", "1", 0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static_cast<void>(parcelo::fuzz::PARCELO_FUZZ_CHECK({data, size}));
    return 0;
}
