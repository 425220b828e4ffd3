#include "ImageFitter.h"

#include <algorithm>
#include <map>
#include <optional>

#include "Encoding.h"
#include "FitGeometry.h"
#include "Rendering.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::ImageFitter {

using detail::ValidatedSource;
using geometry::PixelSize;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

void throwIfStopped(const std::stop_token& stopToken) {
    if (stopToken.stop_requested()) throw CancellationError();
}

// The JPEG encodes of one rendered size. Qualities that land on the same encoder setting
// give the same file, so each setting is encoded at most once.
class JpegLadder {
public:
    JpegLadder(const VImage& image, std::int64_t targetBytes) : image_(image), targetBytes_(targetBytes) {}

    bool fits(double quality) {
        const int setting = detail::jpegQualitySetting(quality);
        auto [entry, isNew] = measured_.try_emplace(setting);
        if (isNew) {
            Bytes data = detail::encode(image_, false, quality);
            if (static_cast<std::int64_t>(data.size()) <= targetBytes_) entry->second = std::move(data);
        }
        return entry->second.has_value();
    }

    Bytes take(double quality) { return std::move(*measured_.at(detail::jpegQualitySetting(quality))); }

private:
    const VImage& image_;
    std::int64_t targetBytes_;
    std::map<int, std::optional<Bytes>> measured_;
};

// The best JPEG of one size: quality 0.94 when it fits, else the highest quality the
// bisection between 0.45 and 0.94 finds. A JPEG at the floor quality is the smallest this
// size can become, so when even it is too big the size is settled with a single encode.
std::optional<Bytes> bestJpeg(const VImage& current, std::int64_t targetBytes, const std::stop_token& stopToken) {
    JpegLadder ladder(current, targetBytes);
    if (!ladder.fits(kFloorJpegQuality)) return std::nullopt;
    if (ladder.fits(kFirstJpegQuality)) return ladder.take(kFirstJpegQuality);
    double low = kFloorJpegQuality, high = kFirstJpegQuality, best = kFloorJpegQuality;
    for (int step = 0; step < kBisectionSteps; ++step) {
        throwIfStopped(stopToken);
        const double mid = (low + high) * 0.5;
        if (ladder.fits(mid)) {
            best = low = mid;
        } else {
            high = mid;
        }
    }
    return ladder.take(best);
}

std::optional<Bytes> bestAtSize(const VImage& current, bool usePNG, std::int64_t targetBytes,
                                const std::stop_token& stopToken) {
    if (!usePNG) return bestJpeg(current, targetBytes, stopToken);
    Bytes data = detail::encode(current, true, kPngQuality);
    if (static_cast<std::int64_t>(data.size()) <= targetBytes) return data;
    return std::nullopt;
}

// How large to decode, and whether an exact frame can be cut from this source at all.
std::int64_t decodeEdgeFor(const ValidatedSource& source, const FitSettings& settings) {
    if (!settings.isExact()) return geometry::sizeModeDecodeEdge(source.stored.longest(), settings.maxEdge);
    const auto plan =
        geometry::exactDecode(source.stored, source.orientation, {settings.exactWidth, settings.exactHeight});
    using Verdict = geometry::ExactDecode::Verdict;
    if (plan.verdict == Verdict::sourceTooSmall) throw FitError(FitError::Case::sourceTooSmall);
    if (plan.verdict == Verdict::processingLimit) throw FitError(FitError::Case::processingLimit);
    return plan.decodeEdge;
}

struct Found {
    Bytes data;
    PixelSize size;
};

// Largest size first: each size that can't fit is followed by one 0.8 times as wide and high.
Found searchSizes(const VImage& decoded, const FitSettings& settings, bool usePNG, bool keepAlpha,
                  const std::stop_token& stopToken) {
    PixelSize size{decoded.width(), decoded.height()};
    VImage current = detail::renderAtSize(decoded, size, keepAlpha);
    for (int sizesLeft = kSizeSteps;;) {
        throwIfStopped(stopToken);
        if (auto data = bestAtSize(current, usePNG, settings.targetBytes, stopToken)) return {std::move(*data), size};
        const auto next = geometry::nextSmallerSize(size);
        if (!next) throw FitError(FitError::Case::targetUnreachable);
        size = *next;
        current = detail::renderAtSize(decoded, size, keepAlpha);
        if (--sizesLeft == 0) throw FitError(FitError::Case::targetUnreachable);
    }
}

// One size only: an exact copy is never replaced by a smaller one.
Found searchExact(const VImage& decoded, const FitSettings& settings, const CropPosition& crop, bool usePNG,
                  bool keepAlpha, const std::stop_token& stopToken) {
    const PixelSize exact{settings.exactWidth, settings.exactHeight};
    if (decoded.width() < exact.width || decoded.height() < exact.height)
        throw FitError(FitError::Case::sourceTooSmall);
    const VImage current = detail::renderCover(decoded, exact, crop, keepAlpha);
    throwIfStopped(stopToken);
    auto data = bestAtSize(current, usePNG, settings.targetBytes, stopToken);
    if (!data) throw FitError(FitError::Case::exactTargetUnreachable);
    return {std::move(*data), exact};
}

}  // namespace

FitResult fit(const std::filesystem::path& path, const FitSettings& settings, const CropPosition& crop,
              std::stop_token stopToken) {
    if (!settings.isValid() || !crop.isValid()) throw FitError(FitError::Case::invalidSettings);
    throwIfStopped(stopToken);
    const ValidatedSource source = detail::validatedSource(path);
    const VImage decoded = detail::scaledDecode(source, decodeEdgeFor(source, settings));

    const bool transparent = settings.outputFormat != OutputFormat::jpeg && detail::containsTransparency(decoded);
    const bool usePNG = settings.outputFormat == OutputFormat::png ||
                        (settings.outputFormat == OutputFormat::automatic && transparent);
    const bool keepAlpha = usePNG && transparent;

    Found found = settings.isExact() ? searchExact(decoded, settings, crop, usePNG, keepAlpha, stopToken)
                                     : searchSizes(decoded, settings, usePNG, keepAlpha, stopToken);
    FitResult result{std::move(found.data), found.size.width, found.size.height, usePNG ? "png" : "jpg",
                     source.fileSize};
    verify(result, settings);
    return result;
}

namespace {

[[noreturn]] void verificationFailed() { throw FitError(FitError::Case::verificationFailed); }

// The copy's own header, read from its bytes; only JPEG and PNG can be copies.
VImage copyHeader(const FitResult& result, detail::SourceType& type) {
    const auto sniffed = detail::sniffSourceType(result.data);
    if (!sniffed || (*sniffed != detail::SourceType::jpeg && *sniffed != detail::SourceType::png))
        verificationFailed();
    type = *sniffed;
    try {
        return VImage::new_from_buffer(result.data.data(), result.data.size(), "");
    } catch (const vips::VError&) {
        detail::clearVipsError();
        verificationFailed();
    }
}

}  // namespace

void verify(const FitResult& result, const FitSettings& settings) {
    detail::ensureVipsStarted();
    if (!settings.isValid() || result.data.empty()) verificationFailed();
    if (static_cast<std::int64_t>(result.data.size()) > settings.targetBytes) verificationFailed();

    detail::SourceType type{};
    const VImage header = copyHeader(result, type);
    const std::int64_t pages = header.get_typeof("n-pages") != 0 ? header.get_int("n-pages") : 1;
    if (pages != 1) verificationFailed();
    const PixelSize size{header.width(), header.height()};
    if (size.width != result.width || size.height != result.height) verificationFailed();

    const bool isPNG = type == detail::SourceType::png;
    if (isPNG != (result.fileExtension == "png")) verificationFailed();
    if ((settings.outputFormat == OutputFormat::png && !isPNG) ||
        (settings.outputFormat == OutputFormat::jpeg && isPNG))
        verificationFailed();

    if (settings.isExact()) {
        if (size.width != settings.exactWidth || size.height != settings.exactHeight) verificationFailed();
    } else if (size.longest() > (settings.maxEdge == 0 ? kMaxMaxEdge : settings.maxEdge)) {
        verificationFailed();
    }
}

Bitmap preview(const std::filesystem::path& path, std::int64_t maxEdge, std::stop_token stopToken) {
    throwIfStopped(stopToken);
    const ValidatedSource source = detail::validatedSource(path);
    const std::int64_t edge = std::clamp(maxEdge, kSmallestPreviewEdge, kLargestPreviewEdge);
    const VImage decoded = detail::scaledDecode(source, edge);
    throwIfStopped(stopToken);

    const VImage display = detail::withAlphaForDisplay(decoded);
    Bitmap bitmap{display.width(), display.height(), {}};
    try {
        std::size_t length = 0;
        const std::unique_ptr<void, decltype(&g_free)> pixels(display.write_to_memory(&length), &g_free);
        const auto* bytes = static_cast<const std::uint8_t*>(pixels.get());
        bitmap.rgba.assign(bytes, bytes + length);
    } catch (const vips::VError&) {
        detail::clearVipsError();
        throw FitError(FitError::Case::unreadable);
    }
    return bitmap;
}

}  // namespace parcelo::ImageFitter
