// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Encoding.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "FitError.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::detail {

using vips::VImage;

namespace {

struct BlobDeleter {
    void operator()(VipsBlob* blob) const { vips_area_unref(reinterpret_cast<VipsArea*>(blob)); }
};

std::vector<std::uint8_t> bytesOf(VipsBlob* blob) {
    const std::unique_ptr<VipsBlob, BlobDeleter> owned(blob);
    std::size_t length = 0;
    const auto* bytes = static_cast<const std::uint8_t*>(vips_blob_get(blob, &length));
    return {bytes, bytes + length};
}

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

std::vector<std::uint8_t> encode(const VImage& image, bool png, double quality) {
    try {
        if (png)
            return bytesOf(image.pngsave_buffer(VImage::option()->set("strip", true)));
        return bytesOf(image.jpegsave_buffer(VImage::option()
                                                 ->set("Q", jpegQualitySetting(quality))
                                                 ->set("optimize_coding", optimiseCoding(image))
                                                 ->set("strip", true)));
    } catch (const vips::VError&) {
        clearVipsError();
        throw FitError(FitError::Case::cannotEncode);
    }
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
