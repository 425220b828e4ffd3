// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Rendering.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "FitError.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::detail {

using geometry::PixelSize;
using vips::VImage;

namespace {

// Rows computed at a time: a few rows of blocks, so that a trial stopped early has rendered
// little past what it read, while each strip still amortises the resampler's overlap.
constexpr std::int64_t kStripRows = 64;

// Grey sources become three-band sRGB; without kept alpha the image lies on opaque white.
VImage prepared(const VImage& decoded, bool keepAlpha) {
    VImage image = decoded;
    if (hasAlphaBand(image) && !keepAlpha)
        image = image.flatten(VImage::option()->set("background", std::vector<double>{255.0}));
    if (image.bands() < 3) image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR) image = image.cast(VIPS_FORMAT_UCHAR);
    return image;
}

// Lanczos resampling to exactly `size`; alpha is premultiplied meanwhile so that transparent
// pixels don't bleed their hidden colour into the edges.
VImage resampled(const VImage& image, PixelSize size) {
    if (image.width() == size.width && image.height() == size.height) return image;
    const bool alpha = hasAlphaBand(image);
    const VImage input = alpha ? image.premultiply() : image;
    VImage output = input.resize(static_cast<double>(size.width) / image.width(),
                                 VImage::option()
                                     ->set("vscale", static_cast<double>(size.height) / image.height())
                                     ->set("kernel", VIPS_KERNEL_LANCZOS3));
    if (alpha) output = output.unpremultiply().rint().cast(VIPS_FORMAT_UCHAR);
    if (output.width() != size.width || output.height() != size.height)
        output = output.embed(0, 0, static_cast<int>(size.width), static_cast<int>(size.height),
                              VImage::option()->set("extend", VIPS_EXTEND_COPY));
    return output;
}

template <typename Render>
auto rendered(Render&& render) {
    try {
        return render();
    } catch (const vips::VError&) {
        clearVipsError();
        throw FitError(FitError::Case::cannotEncode);
    }
}

}  // namespace

VImage renderLazilyAtSize(const VImage& decoded, PixelSize size, bool keepAlpha) {
    return rendered([&] { return resampled(prepared(decoded, keepAlpha), size); });
}

VImage renderAtSize(const VImage& decoded, PixelSize size, bool keepAlpha) {
    const VImage image = renderLazilyAtSize(decoded, size, keepAlpha);
    // The decoded bitmap itself needs no second copy when it is already what gets encoded.
    return image.get_image() == decoded.get_image() ? image : rendered([&] { return image.copy_memory(); });
}

VImage renderStreamed(const VImage& scaled) {
    return rendered([&] { return prepared(scaled, false); });
}

VImage renderCoverLazily(const VImage& decoded, PixelSize exact, CropPosition crop, bool keepAlpha) {
    return rendered([&] {
        const auto placement = geometry::coverPlacement({decoded.width(), decoded.height()}, exact, crop);
        const VImage scaled = resampled(prepared(decoded, keepAlpha), placement.scaled);
        return scaled.extract_area(static_cast<int>(placement.left), static_cast<int>(placement.top),
                                   static_cast<int>(exact.width), static_cast<int>(exact.height));
    });
}

VImage renderCover(const VImage& decoded, PixelSize exact, CropPosition crop, bool keepAlpha) {
    const VImage image = renderCoverLazily(decoded, exact, crop, keepAlpha);
    return rendered([&] { return image.copy_memory(); });
}

RowsOnDemand::RowsOnDemand(VImage image) : image_(std::move(image)), stride_(std::int64_t{image_.width()} * 3) {
    if (image_.bands() != 3 || image_.format() != VIPS_FORMAT_UCHAR) throw FitError(FitError::Case::cannotEncode);
    if (image_.get_image()->data != nullptr) {  // already in memory: the decoded bitmap itself
        first_ = image_.get_image()->data;
        rendered_ = image_.height();
        return;
    }
    pixels_ = std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(stride_ * image_.height()));
    first_ = pixels_.get();
}

RgbRows RowsOnDemand::rows() {
    return {image_.width(), image_.height(), [this](std::int64_t y) { return row(y); }};
}

const std::uint8_t* RowsOnDemand::row(std::int64_t y) {
    while (rendered_ <= y) renderStrip();
    return first_ + y * stride_;
}

void RowsOnDemand::renderStrip() {
    rendered([&] {
        if (!region_) region_ = vips::VRegion::new_from_image(image_);
        const std::int64_t count = std::min(kStripRows, std::int64_t{image_.height()} - rendered_);
        region_->prepare(0, static_cast<int>(rendered_), image_.width(), static_cast<int>(count));
        for (std::int64_t y = rendered_; y < rendered_ + count; ++y)
            std::memcpy(pixels_.get() + y * stride_, region_->addr(0, static_cast<int>(y)), static_cast<std::size_t>(stride_));
        rendered_ += count;
    });
}

}  // namespace parcelo::detail
