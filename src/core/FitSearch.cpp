// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitSearch.h"

#include <algorithm>
#include <limits>
#include <map>
#include <vector>
#include <optional>

#include "Encoding.h"
#include "ImageFitter.h"
#include "Rendering.h"

// The search is defined as a walk: the largest size first; at each size quality 0.94, else 0.45
// and nine bisection steps between them; when even 0.45 is too big, the next smaller size. The
// engine takes that very walk, so that its copy is the walk's copy for every picture; it only
// leaves out encodes whose outcome is certain. Neither a smaller size nor a higher quality can be
// trusted to make a larger file: resampling smears the one-pixel edges of a signature or a
// screenshot, so that its copy at 80 % is often larger, and a photo at quality 0.51 can be a few
// bytes smaller than at 0.50. What is certain: the encoder takes whole settings (0.5150 and 0.5174
// both encode at 51), so a setting is encoded once; and no file of a size can be smaller than the
// least a JPEG or PNG of that many pixels takes, so a size over the limit even then is passed
// over unencoded.
namespace parcelo::detail {

using geometry::PixelSize;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kPngSetting = 0;
// A limit of at least this many bytes a pixel is usually met at once at the first quality.
constexpr double kTypicalFirstQualityBytesPerPixel = 0.1;

// One rendered size and what its encodings weigh, by encoder setting: each setting is encoded
// once. Only the last file that fits is kept, as the walk keeps its best. The size is rendered
// lazily: a PNG, encoded once, as libvips writes it; a JPEG's rows as far as its trials read them.
class SizeTrial {
public:
    SizeTrial(VImage image, PixelSize size, bool png, std::int64_t targetBytes)
        : image_(std::move(image)), size_(size), png_(png), targetBytes_(targetBytes) {
        if (!png_) rows_.emplace(image_);
    }

    [[nodiscard]] PixelSize size() const { return size_; }
    // What an earlier encode of this very bitmap weighed, when it did not fit.
    void rememberTooBig(int setting) { weighed_[setting] = false; }

    // Whether the file at this quality fits; when it does, it becomes the kept file.
    bool fits(double quality) {
        const int setting = png_ ? kPngSetting : jpegQualitySetting(quality);
        if (const auto known = weighed_.find(setting); known != weighed_.end()) {
            if (known->second && setting != keptSetting_)
                keep(setting, encodedWithin(quality, std::numeric_limits<std::int64_t>::max()).value());
            return known->second;
        }
        // Only whether a file fits matters, so one certain to be too big is left unfinished.
        auto data = encodedWithin(quality, targetBytes_);
        weighed_[setting] = data.has_value();
        if (data) keep(setting, std::move(*data));
        return data.has_value();
    }
    Found take() { return {std::move(kept_), size_, keptSetting_}; }

private:
    std::optional<Bytes> encodedWithin(double quality, std::int64_t byteLimit) {
        if (png_) return encodeWithin(image_, true, quality, byteLimit);
        return encodeJpegWithin(rows_->rows(), jpegTrialSettings(size_, quality), byteLimit);
    }

    void keep(int setting, Bytes data) {
        kept_ = std::move(data);
        keptSetting_ = setting;
    }

    VImage image_;
    std::optional<RowsOnDemand> rows_;  // JPEG only
    PixelSize size_;
    bool png_;
    std::int64_t targetBytes_;
    std::map<int, bool> weighed_;  // setting → fits
    Bytes kept_;
    int keptSetting_ = -1;
};

bool likelyFitsAtFirstQuality(PixelSize size, std::int64_t targetBytes) {
    return static_cast<double>(targetBytes) >=
           static_cast<double>(size.width * size.height) * kTypicalFirstQualityBytesPerPixel;
}

// One size of the walk: the copy at this size, or nothing when even the floor quality is too big.
std::optional<Found> tryQualities(SizeTrial& trial, bool usePNG, const std::stop_token& stopToken) {
    if (usePNG) return trial.fits(kPngQuality) ? std::optional(trial.take()) : std::nullopt;
    if (trial.fits(kFirstJpegQuality)) return trial.take();
    if (!trial.fits(kFloorJpegQuality)) return std::nullopt;
    double low = kFloorJpegQuality, high = kFirstJpegQuality;
    for (int step = 0; step < kBisectionSteps; ++step) {
        throwIfStopped(stopToken);
        const double mid = (low + high) * 0.5;
        (trial.fits(mid) ? low : high) = mid;
    }
    // The kept file is the last that fitted: at `low`, or the floor's when no step fitted.
    return trial.take();
}

}  // namespace

bool startsAtFirstQuality(PixelSize size, std::int64_t targetBytes) {
    return likelyFitsAtFirstQuality(size, targetBytes);
}

std::optional<Bytes> encodeStreamedAtFirstQuality(const VImage& scaled) {
    try {
        return encodeWhileRendering(renderStreamed(scaled), kFirstJpegQuality);
    } catch (const FitError&) {
        return std::nullopt;
    }
}

Found searchSizes(const VImage& decoded, std::int64_t targetBytes, bool usePNG, bool keepAlpha,
                  std::optional<std::int64_t> firstQualityBytes, const std::stop_token& stopToken) {
    const std::vector<PixelSize> ladder = geometry::sizeLadder({decoded.width(), decoded.height()});
    for (std::size_t index = 0; index < ladder.size(); ++index) {
        throwIfStopped(stopToken);
        const PixelSize size = ladder[index];
        if (smallestEncodedBytes(size, usePNG, keepAlpha) > targetBytes) continue;
        SizeTrial trial(renderLazilyAtSize(decoded, size, keepAlpha), size, usePNG, targetBytes);
        if (index == 0 && firstQualityBytes) trial.rememberTooBig(jpegQualitySetting(kFirstJpegQuality));
        if (auto found = tryQualities(trial, usePNG, stopToken)) return std::move(*found);
    }
    throw FitError(FitError::Case::targetUnreachable);
}

Found searchExact(const VImage& decoded, PixelSize exact, CropPosition crop, std::int64_t targetBytes, bool usePNG,
                  bool keepAlpha, const std::stop_token& stopToken) {
    SizeTrial trial(renderCoverLazily(decoded, exact, crop, keepAlpha), exact, usePNG, targetBytes);
    throwIfStopped(stopToken);
    if (auto found = tryQualities(trial, usePNG, stopToken)) return std::move(*found);
    throw FitError(FitError::Case::exactTargetUnreachable);
}

}  // namespace parcelo::detail
