// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitGeometry.h"

#include <algorithm>
#include <cmath>

#include "ImageFitter.h"

namespace parcelo::geometry {

std::int64_t sizeModeDecodeEdge(std::int64_t longest, std::int64_t maxEdge) {
    const std::int64_t limit = maxEdge == 0 ? kMaxMaxEdge : maxEdge;
    return std::min(limit, longest);
}

std::optional<PixelSize> nextSmallerSize(PixelSize current) {
    auto shrink = [](std::int64_t side) {
        return std::max<std::int64_t>(1, static_cast<std::int64_t>(static_cast<double>(side) * kShrinkFactor));
    };
    const PixelSize next{shrink(current.width), shrink(current.height)};
    if (next.longest() < kSmallestUsefulEdge || next == current) return std::nullopt;
    return next;
}

std::vector<PixelSize> sizeLadder(PixelSize first) {
    std::vector<PixelSize> sizes{first};
    while (sizes.size() < static_cast<std::size_t>(kSizeSteps)) {
        const auto next = nextSmallerSize(sizes.back());
        if (!next) break;
        sizes.push_back(*next);
    }
    return sizes;
}

PixelSize orientedSize(PixelSize stored, std::optional<int> orientation) {
    const bool swapsSides = orientation && *orientation >= 5 && *orientation <= 8;
    return swapsSides ? PixelSize{stored.height, stored.width} : stored;
}

ExactDecode exactDecode(PixelSize stored, std::optional<int> orientation, PixelSize exact) {
    const PixelSize oriented = orientedSize(stored, orientation);
    if (oriented.width < exact.width || oriented.height < exact.height)
        return {ExactDecode::Verdict::sourceTooSmall, 0};

    const double scale = std::max(static_cast<double>(exact.width) / static_cast<double>(oriented.width),
                                  static_cast<double>(exact.height) / static_cast<double>(oriented.height));
    const std::int64_t longest = stored.longest();
    const auto wanted = static_cast<std::int64_t>(std::ceil(scale * static_cast<double>(longest))) + kDecodeMargin;
    const std::int64_t decodeEdge = std::min(wanted, longest);

    // The decode keeps the source's shape, so its pixel count scales with the square of the edge.
    const double ratio = static_cast<double>(decodeEdge) / static_cast<double>(longest);
    const double decodedPixels = static_cast<double>(stored.width) * static_cast<double>(stored.height) * ratio * ratio;
    if (decodedPixels > kProcessingLimitPixels) return {ExactDecode::Verdict::processingLimit, decodeEdge};
    return {ExactDecode::Verdict::fits, decodeEdge};
}

CoverPlacement coverPlacement(PixelSize decoded, PixelSize exact, CropPosition crop) {
    const double scale = std::max(static_cast<double>(exact.width) / static_cast<double>(decoded.width),
                                  static_cast<double>(exact.height) / static_cast<double>(decoded.height));
    // Round the drawn size to whole pixels, never below the frame, so the frame is always covered.
    auto cover = [scale](std::int64_t side, std::int64_t frame) {
        return std::max<std::int64_t>(frame, std::llround(static_cast<double>(side) * scale));
    };
    const PixelSize scaled{cover(decoded.width, exact.width), cover(decoded.height, exact.height)};
    const auto left = std::llround(crop.x * static_cast<double>(scaled.width - exact.width));
    const auto top = std::llround(crop.y * static_cast<double>(scaled.height - exact.height));
    return {scaled, left, top};
}

}  // namespace parcelo::geometry
