// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitMinimum.h"

#include <map>
#include <vector>

#include "CancellationCheck.h"
#include "Encoding.h"
#include "FitError.h"

namespace parcelo::detail {

namespace {

constexpr int kBestSetting = 100;

double qualityOf(int setting) { return setting / 100.0; }

std::int64_t byteCount(const std::vector<std::uint8_t>& data) { return static_cast<std::int64_t>(data.size()); }

}  // namespace

Found reachMinimum(Found found, const vips::VImage& rendered, bool usePNG, std::int64_t minBytes,
                   std::int64_t targetBytes, const std::stop_token& stopToken) {
    if (minBytes <= 0 || byteCount(found.data) >= minBytes) return found;
    if (usePNG) throw FitError::minimumUnreachable(byteCount(found.data), minBytes);

    // Files grow with the quality, so the lowest setting that reaches the minimum is bisected
    // between the found one (under it) and the best (which must reach it, or nothing will).
    std::map<int, std::vector<std::uint8_t>> files{{found.setting, std::move(found.data)}};
    throwIfStopped(stopToken);
    files[kBestSetting] = encode(rendered, false, qualityOf(kBestSetting));
    if (byteCount(files[kBestSetting]) < minBytes)
        throw FitError::minimumUnreachable(byteCount(files[kBestSetting]), minBytes);
    int under = found.setting, reaching = kBestSetting;
    while (reaching - under > 1) {
        throwIfStopped(stopToken);
        const int mid = (under + reaching) / 2;
        files[mid] = encode(rendered, false, qualityOf(mid));
        (byteCount(files[mid]) >= minBytes ? reaching : under) = mid;
    }
    // The window between minimum and limit can be narrower than one quality step.
    if (byteCount(files[reaching]) > targetBytes) throw FitError::minimumUnreachable(byteCount(files[under]), minBytes);
    return {std::move(files[reaching]), found.size, reaching};
}

}  // namespace parcelo::detail
