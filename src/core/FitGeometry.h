// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CropPosition.h"

// Pure geometry of a fit: decode sizes, shrink steps, cover scaling and crop placement.
// Plain numbers in, plain numbers out; no pixels are touched here.
namespace parcelo::geometry {

struct PixelSize {
    std::int64_t width = 0;
    std::int64_t height = 0;

    [[nodiscard]] std::int64_t longest() const { return width > height ? width : height; }
    friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

// Longest decoded edge in size mode: the edge limit (8,192 when none is set), never above the source.
std::int64_t sizeModeDecodeEdge(std::int64_t longest, std::int64_t maxEdge);

// The next smaller size to try: 0.8 of each side, truncated, at least 1. Nothing when it would
// fall under the smallest useful edge or would not shrink at all.
std::optional<PixelSize> nextSmallerSize(PixelSize current);

// Every size the size search may try, largest first: `first`, then each next smaller size,
// at most kSizeSteps sizes in all.
std::vector<PixelSize> sizeLadder(PixelSize first);

// Stored size with the EXIF orientation applied: orientations 5 to 8 swap the sides.
PixelSize orientedSize(PixelSize stored, std::optional<int> orientation);

// How an exact-size fit decodes its source.
struct ExactDecode {
    enum class Verdict { fits, sourceTooSmall, processingLimit };
    Verdict verdict = Verdict::fits;
    std::int64_t decodeEdge = 0;  // longer edge handed to the scaled decode
};
ExactDecode exactDecode(PixelSize stored, std::optional<int> orientation, PixelSize exact);

// Where a decoded bitmap lands when it is scaled to cover the exact frame: a whole-pixel
// resize to `scaled`, then a cut of the frame at (left, top).
struct CoverPlacement {
    PixelSize scaled;
    std::int64_t left = 0;
    std::int64_t top = 0;
};
CoverPlacement coverPlacement(PixelSize decoded, PixelSize exact, CropPosition crop);

}  // namespace parcelo::geometry
