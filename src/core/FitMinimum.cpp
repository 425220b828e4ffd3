// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitMinimum.h"

#include <algorithm>
#include <vector>

#include "CancellationCheck.h"
#include "FitError.h"

namespace parcelo::detail {

namespace {

constexpr int kBestSetting = 100;

std::int64_t byteCount(const std::vector<std::uint8_t>& data) { return static_cast<std::int64_t>(data.size()); }

}  // namespace

// Files do not grow strictly with the quality (a photo can be a few bytes smaller at 0.51 than at
// 0.50), so a bisection could step over the lowest setting that reaches the minimum. The settings
// above the found one are walked upward instead, each encoded once, and the first whose file lies
// between the minimum and the limit is taken. The best setting is tried first: when even it stays
// under the minimum, the image fails at once. Copies with a minimum are small, so the walk is cheap.
Found reachMinimum(Found found, const EncodeAtSetting& encodeAt, bool usePNG, std::int64_t minBytes,
                   std::int64_t targetBytes, const std::stop_token& stopToken) {
    if (minBytes <= 0 || byteCount(found.data) >= minBytes) return found;
    if (usePNG) throw FitError::minimumUnreachable(byteCount(found.data), minBytes);

    throwIfStopped(stopToken);
    std::vector<std::uint8_t> best = encodeAt(kBestSetting);
    if (byteCount(best) < minBytes) throw FitError::minimumUnreachable(byteCount(best), minBytes);
    // How big a copy within the limit got, for the failure when the window is narrower than one step.
    std::int64_t largestWithin = byteCount(found.data);
    for (int setting = found.setting + 1; setting <= kBestSetting; ++setting) {
        throwIfStopped(stopToken);
        std::vector<std::uint8_t> data =
            setting == kBestSetting ? std::move(best) : encodeAt(setting);
        const std::int64_t bytes = byteCount(data);
        if (bytes > targetBytes) continue;
        if (bytes >= minBytes) return {std::move(data), found.size, setting};
        largestWithin = std::max(largestWithin, bytes);
    }
    throw FitError::minimumUnreachable(largestWithin, minBytes);
}

}  // namespace parcelo::detail
