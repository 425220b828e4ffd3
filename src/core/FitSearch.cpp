// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitSearch.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>
#include <optional>

#include "Encoding.h"
#include "ImageFitter.h"
#include "Rendering.h"

// The search is defined as a walk: the largest size first; at each size quality 0.94, else 0.45
// and nine bisection steps between them; when even 0.45 is too big, the next smaller size. The
// engine arrives at the very same file with fewer encodes, using only what holds for every image:
// a higher quality never makes a smaller file at one size, so 0.45 (or the one PNG) alone decides
// whether a size can fit, and at the size that fits the highest fitting quality setting is found
// by guessing from the bytes measured so far. Sizes are not skipped on a guess: a smaller
// rendering of a crisp graphic is often a larger file, because resampling smears its one-pixel
// edges. A size is passed over unencoded only when no file of that many pixels could be small
// enough.
namespace parcelo::detail {

using geometry::PixelSize;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

const int kFirstSetting = jpegQualitySetting(kFirstJpegQuality);
const int kFloorSetting = jpegQualitySetting(kFloorJpegQuality);
constexpr int kPngSetting = 0;
// From this setting on the encoder keeps full colour resolution, so file sizes jump there.
constexpr int kFullChromaSetting = 90;
// A limit of at least this many bytes a pixel is usually met at once at the first quality.
constexpr double kTypicalFirstQualityBytesPerPixel = 0.1;
// How file size follows the quantiser scale when only one setting is measured.
constexpr double kTypicalScaleExponent = 0.8;

// One rendered size and what its encodings weigh. Each encoder setting is encoded at most
// once; only files that fit the limit are kept.
class SizeTrial {
public:
    SizeTrial(VImage image, PixelSize size, bool png, std::int64_t targetBytes)
        : image_(std::move(image)), size_(size), png_(png), targetBytes_(targetBytes) {}

    [[nodiscard]] PixelSize size() const { return size_; }
    // What an earlier encode of this very bitmap weighed, when it did not fit.
    void rememberTooBig(int setting, std::int64_t bytes) { measured_[setting] = {bytes, std::nullopt}; }

    bool fits(int setting) { return encoded(setting).data.has_value(); }
    std::int64_t bytes(int setting) { return encoded(setting).bytes; }
    Bytes take(int setting) { return std::move(*encoded(setting).data); }

    // The encoded setting nearest to `setting`, other than it, on the same side of `boundary`.
    std::optional<std::pair<int, std::int64_t>> nearestMeasured(int setting, int boundary) const {
        std::optional<std::pair<int, std::int64_t>> nearest;
        for (const auto& [other, encoded] : measured_) {
            if (other == setting || (other < boundary) != (setting < boundary)) continue;
            if (!nearest || std::abs(other - setting) < std::abs(nearest->first - setting))
                nearest = std::pair(other, encoded.bytes);
        }
        return nearest;
    }

private:
    struct Encoded {
        std::int64_t bytes = 0;
        std::optional<Bytes> data;
    };

    Bytes encodeAt(int setting) const { return encode(image_, png_, png_ ? kPngQuality : setting / 100.0); }

    void store(int setting, Bytes data) {
        Encoded& entry = measured_[setting];
        entry.bytes = static_cast<std::int64_t>(data.size());
        if (entry.bytes <= targetBytes_) entry.data = std::move(data);
    }

    const Encoded& encoded(int setting) {
        if (!measured_.contains(setting)) store(setting, encodeAt(setting));
        return measured_.at(setting);
    }

    VImage image_;
    PixelSize size_;
    bool png_;
    std::int64_t targetBytes_;
    std::map<int, Encoded> measured_;
};

bool likelyFitsAtFirstQuality(PixelSize size, std::int64_t targetBytes) {
    return static_cast<double>(targetBytes) >=
           static_cast<double>(size.width * size.height) * kTypicalFirstQualityBytesPerPixel;
}

// libjpeg's scale of its quantisation tables, in per cent, for a quality setting, and back.
double quantiserScale(double setting) { return setting < 50 ? 5000.0 / setting : 200.0 - 2.0 * setting; }
double settingForScale(double scale) { return scale >= 100 ? 5000.0 / scale : (200.0 - scale) / 2.0; }

// The setting at which the file is expected to reach the limit, from a fitting setting and,
// when known, another measured one: bytes follow a power of the quantiser scale.
double guessSetting(int fitting, std::int64_t fittingBytes, std::optional<std::pair<int, std::int64_t>> other,
                    std::int64_t targetBytes) {
    double exponent = kTypicalScaleExponent;
    if (other && other->second != fittingBytes)
        exponent = std::log(static_cast<double>(other->second) / static_cast<double>(fittingBytes)) /
                   std::log(quantiserScale(fitting) / quantiserScale(other->first));
    const double ratio = static_cast<double>(targetBytes) / static_cast<double>(fittingBytes);
    return settingForScale(quantiserScale(fitting) * std::pow(ratio, -1.0 / std::clamp(exponent, 0.2, 3.0)));
}

// The highest setting from the floor (which fits) up to the first quality that fits: the
// setting the bisection between 0.45 and 0.94 lands on.
Bytes highestFittingJpeg(SizeTrial& trial, std::int64_t targetBytes, bool firstQualityFirst,
                         const std::stop_token& stopToken) {
    int fitting = kFloorSetting;
    int tooBig = kFirstSetting + 1;  // nothing above the first quality is ever tried
    if (firstQualityFirst) {
        if (trial.fits(kFirstSetting)) return trial.take(kFirstSetting);
        tooBig = kFirstSetting;
    }
    int sameSideMoves = 0;
    bool lastRaisedFitting = false;
    while (tooBig - fitting > 1) {
        throwIfStopped(stopToken);
        const bool tooBigKnown = tooBig <= kFirstSetting;
        int setting = (fitting + tooBig) / 2;
        // Guessing from one side only can creep towards the boundary; halving never does.
        if (sameSideMoves < 3 || !tooBigKnown) {
            const auto other = trial.nearestMeasured(fitting, kFullChromaSetting);
            setting = static_cast<int>(std::floor(guessSetting(fitting, trial.bytes(fitting), other, targetBytes)));
            // Below the jump to full colour resolution, try the settings under it first.
            if (fitting < kFullChromaSetting) setting = std::min(setting, kFullChromaSetting - 1);
        }
        setting = std::clamp(setting, fitting + 1, tooBig - 1);
        const bool fits = trial.fits(setting);
        sameSideMoves = (fits == lastRaisedFitting) ? sameSideMoves + 1 : 1;
        lastRaisedFitting = fits;
        (fits ? fitting : tooBig) = setting;
    }
    return trial.take(fitting);
}

// The setting that decides whether a size can fit at all: the floor quality is the smallest a
// JPEG of that size can become, and a PNG has only one.
int decidingSetting(bool usePNG) { return usePNG ? kPngSetting : kFloorSetting; }

Bytes bestAtFittingSize(SizeTrial& trial, bool usePNG, std::int64_t targetBytes, const std::stop_token& stopToken) {
    if (usePNG) return trial.take(kPngSetting);
    const bool firstQualityFirst = likelyFitsAtFirstQuality(trial.size(), targetBytes);
    return highestFittingJpeg(trial, targetBytes, firstQualityFirst, stopToken);
}

}  // namespace

bool startsAtFirstQuality(PixelSize size, std::int64_t targetBytes) {
    return likelyFitsAtFirstQuality(size, targetBytes);
}

std::optional<Bytes> encodeStreamedAtFirstQuality(const VImage& scaled) {
    try {
        return encode(renderStreamed(scaled), false, kFirstJpegQuality);
    } catch (const FitError&) {
        return std::nullopt;
    }
}

Found searchSizes(const VImage& decoded, std::int64_t targetBytes, bool usePNG, bool keepAlpha,
                  std::optional<std::int64_t> firstQualityBytes, const std::stop_token& stopToken) {
    const std::vector<PixelSize> ladder = geometry::sizeLadder({decoded.width(), decoded.height()});
    const int deciding = decidingSetting(usePNG);
    for (std::size_t index = 0; index < ladder.size(); ++index) {
        throwIfStopped(stopToken);
        const PixelSize size = ladder[index];
        if (smallestEncodedBytes(size, usePNG, keepAlpha) > targetBytes) continue;
        SizeTrial trial(renderAtSize(decoded, size, keepAlpha), size, usePNG, targetBytes);
        if (index == 0 && firstQualityBytes) trial.rememberTooBig(kFirstSetting, *firstQualityBytes);
        // A generous limit is usually met at once at the first quality: one encode in all.
        if (!usePNG && likelyFitsAtFirstQuality(size, targetBytes) && trial.fits(kFirstSetting))
            return {trial.take(kFirstSetting), size};
        if (trial.fits(deciding)) return {bestAtFittingSize(trial, usePNG, targetBytes, stopToken), size};
    }
    throw FitError(FitError::Case::targetUnreachable);
}

Found searchExact(const VImage& decoded, PixelSize exact, CropPosition crop, std::int64_t targetBytes, bool usePNG,
                  bool keepAlpha, const std::stop_token& stopToken) {
    SizeTrial trial(renderCover(decoded, exact, crop, keepAlpha), exact, usePNG, targetBytes);
    throwIfStopped(stopToken);
    if (!usePNG && likelyFitsAtFirstQuality(exact, targetBytes) && trial.fits(kFirstSetting))
        return {trial.take(kFirstSetting), exact};
    if (!trial.fits(decidingSetting(usePNG))) throw FitError(FitError::Case::exactTargetUnreachable);
    return {bestAtFittingSize(trial, usePNG, targetBytes, stopToken), exact};
}

}  // namespace parcelo::detail
