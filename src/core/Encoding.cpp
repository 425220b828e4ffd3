// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Encoding.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "FitError.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::detail {

using vips::VImage;

namespace {

// Optimised Huffman tables make a JPEG a few per cent smaller, but the encoder then holds every
// coefficient of the image at once (up to six bytes a pixel). Above this size the standard
// tables keep a fit of a very large photo within a few hundred megabytes.
constexpr std::int64_t kLargestOptimisedJpegPixels = 24'000'000;

bool optimiseCoding(const VImage& image) {
    return static_cast<std::int64_t>(image.width()) * image.height() <= kLargestOptimisedJpegPixels;
}

// The longest string a deflate back-reference can copy.
constexpr std::int64_t kLongestDeflateMatch = 258;

}  // namespace

int jpegQualitySetting(double quality) {
    return static_cast<int>(std::clamp(std::lround(quality * 100.0), 1L, 100L));
}

namespace {

// Collects what the encoder writes, until it passes the limit.
struct WrittenBytes {
    std::vector<std::uint8_t> bytes;
    std::int64_t limit = 0;
    bool overLimit = false;
};

gint64 collectWritten(VipsTargetCustom*, const void* data, gint64 length, WrittenBytes* written) {
    if (static_cast<std::int64_t>(written->bytes.size()) + length > written->limit) {
        written->overLimit = true;
        return -1;  // the encoder stops with a write error
    }
    const auto* start = static_cast<const std::uint8_t*>(data);
    written->bytes.insert(written->bytes.end(), start, start + length);
    return length;
}

// The one place that says how a copy is encoded.
void save(const VImage& image, bool png, double quality, const vips::VTarget& target) {
    if (png)
        image.pngsave_target(target, VImage::option()->set("strip", true));
    else
        image.jpegsave_target(target, VImage::option()
                                          ->set("Q", jpegQualitySetting(quality))
                                          ->set("optimize_coding", optimiseCoding(image))
                                          ->set("strip", true));
}

}  // namespace

std::vector<std::uint8_t> encode(const VImage& image, bool png, double quality) {
    auto data = encodeWithin(image, png, quality, std::numeric_limits<std::int64_t>::max());
    if (!data) throw FitError(FitError::Case::cannotEncode);
    return std::move(*data);
}

std::optional<std::vector<std::uint8_t>> encodeWithin(const VImage& image, bool png, double quality,
                                                      std::int64_t byteLimit) {
    WrittenBytes written;
    written.limit = byteLimit;
    VipsTargetCustom* custom = vips_target_custom_new();
    g_signal_connect(custom, "write", G_CALLBACK(collectWritten), &written);
    const vips::VTarget target(VIPS_TARGET(custom));
    try {
        save(image, png, quality, target);
    } catch (const vips::VError&) {
        clearVipsError();
        if (written.overLimit) return std::nullopt;
        throw FitError(FitError::Case::cannotEncode);
    }
    return std::move(written.bytes);
}

std::int64_t smallestEncodedBytes(geometry::PixelSize size, bool png, bool alpha) {
    auto blocks = [&](std::int64_t side) { return ((size.width + side - 1) / side) * ((size.height + side - 1) / side); };
    if (png) {
        const std::int64_t filteredRows = size.height * (1 + size.width * (alpha ? 4 : 3));
        return filteredRows / kLongestDeflateMatch * 2 / 8;
    }
    return (blocks(8) + 2 * blocks(16)) * 2 / 8;
}

bool containsTransparency(const VImage& image) {
    if (!hasAlphaBand(image)) return false;
    try {
        return image.extract_band(image.bands() - 1).min() < 255.0;
    } catch (const vips::VError&) {
        clearVipsError();
        throw FitError(FitError::Case::cannotEncode);
    }
}

}  // namespace parcelo::detail
