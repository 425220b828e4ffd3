// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include <vips/vips8>

#include "CropPosition.h"
#include "FitGeometry.h"
#include "JpegTrial.h"

// Drawing the decoded source into the bitmap that gets encoded: sRGB, 8 bits, either with
// its alpha (premultiplied while resampling) or flattened onto white. Every size is
// resampled from the decoded bitmap itself, never from an already shrunk one.
namespace parcelo::detail {

// The whole decoded image at `size` (its own size: no resampling). Throws FitError(cannotEncode).
vips::VImage renderAtSize(const vips::VImage& decoded, geometry::PixelSize size, bool keepAlpha);

// The same pixels as renderAtSize, still to be computed: each is made when an encoder reads it.
vips::VImage renderLazilyAtSize(const vips::VImage& decoded, geometry::PixelSize size, bool keepAlpha);

// An opaque image at its own size, as it is encoded, computed while the source is still being
// decoded: the same pixels as renderAtSize gives for it once decoded.
vips::VImage renderStreamed(const vips::VImage& scaled);

// The decoded image scaled to cover the exact frame and cut at the crop position.
// Throws FitError(cannotEncode).
vips::VImage renderCover(const vips::VImage& decoded, geometry::PixelSize exact, CropPosition crop,
                         bool keepAlpha);

// The same pixels as renderCover, still to be computed.
vips::VImage renderCoverLazily(const vips::VImage& decoded, geometry::PixelSize exact, CropPosition crop,
                               bool keepAlpha);

// A lazy rendering of an opaque image, computed strip by strip on the calling thread as far as
// the encoder reads its rows, and kept: a trial stopped early at a size too big renders only the
// rows it read, the next trial of the size reads them again for free, and a size that fits is
// rendered once. libvips' own threads are not used, since the encoder waits for the rows anyway.
// Throws FitError(cannotEncode).
class RowsOnDemand {
public:
    explicit RowsOnDemand(vips::VImage image);

    [[nodiscard]] RgbRows rows();
    [[nodiscard]] const vips::VImage& image() const { return image_; }

private:
    const std::uint8_t* row(std::int64_t y);
    void renderStrip();

    vips::VImage image_;
    std::int64_t stride_;
    std::unique_ptr<std::uint8_t[]> pixels_;
    const std::uint8_t* first_ = nullptr;  // row 0: in pixels_, or the image's own memory
    std::optional<vips::VRegion> region_;
    std::int64_t rendered_ = 0;  // rows ready from the top
};

}  // namespace parcelo::detail
