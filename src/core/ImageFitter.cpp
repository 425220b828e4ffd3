#include "ImageFitter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
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

// One rendered size and what its encodings weigh. Qualities that land on the same encoder
// setting give the same file, so each setting is encoded at most once; only files that fit
// the limit are kept.
class SizeTrial {
public:
    SizeTrial(VImage image, PixelSize size, bool png, std::int64_t targetBytes)
        : image_(std::move(image)), size_(size), png_(png), targetBytes_(targetBytes) {}

    [[nodiscard]] PixelSize size() const { return size_; }

    // The setting of a PNG is its single lossless encoding.
    bool fits(int setting) { return encoded(setting).data.has_value(); }
    std::int64_t bytes(int setting) { return encoded(setting).bytes; }
    Bytes take(int setting) { return std::move(*encoded(setting).data); }

private:
    struct Encoded {
        std::int64_t bytes = 0;
        std::optional<Bytes> data;
    };

    const Encoded& encoded(int setting) {
        auto [entry, isNew] = measured_.try_emplace(setting);
        if (isNew) {
            Bytes data = detail::encode(image_, png_, png_ ? kPngQuality : setting / 100.0);
            entry->second.bytes = static_cast<std::int64_t>(data.size());
            if (entry->second.bytes <= targetBytes_) entry->second.data = std::move(data);
        }
        return entry->second;
    }

    VImage image_;
    PixelSize size_;
    bool png_;
    std::int64_t targetBytes_;
    std::map<int, Encoded> measured_;
};

const int kFirstSetting = detail::jpegQualitySetting(kFirstJpegQuality);
const int kFloorSetting = detail::jpegQualitySetting(kFloorJpegQuality);
constexpr int kPngSetting = 0;

// Where between two measured points the limit is expected: file sizes grow roughly
// exponentially with the quality setting and as a power of the pixel count.
double interpolated(double x0, std::int64_t bytes0, double x1, std::int64_t bytes1, std::int64_t target) {
    const double y0 = std::log(static_cast<double>(bytes0)), y1 = std::log(static_cast<double>(bytes1));
    if (y0 == y1) return (x0 + x1) / 2;
    return x0 + (std::log(static_cast<double>(target)) - y0) * (x1 - x0) / (y1 - y0);
}

// The highest quality between the floor (fits) and the first quality (too big) that fits.
// Bisecting the quality range lands on exactly this setting, because a higher setting never
// makes a smaller file; guessing from the sizes already measured gets there in fewer encodes.
Bytes highestFittingJpeg(SizeTrial& trial, std::int64_t targetBytes, const std::stop_token& stopToken) {
    int fitting = kFloorSetting, tooBig = kFirstSetting;
    while (tooBig - fitting > 1) {
        throwIfStopped(stopToken);
        const double guess = interpolated(fitting, trial.bytes(fitting), tooBig, trial.bytes(tooBig), targetBytes);
        const int setting = std::clamp(static_cast<int>(std::floor(guess)), fitting + 1, tooBig - 1);
        (trial.fits(setting) ? fitting : tooBig) = setting;
    }
    return trial.take(fitting);
}

// The best file of the size that fits: quality 0.94 when it fits, else the highest quality
// above the floor that does.
Bytes bestAtFittingSize(SizeTrial& trial, bool usePNG, std::int64_t targetBytes, const std::stop_token& stopToken) {
    if (usePNG) return trial.take(kPngSetting);
    if (trial.fits(kFirstSetting)) return trial.take(kFirstSetting);
    return highestFittingJpeg(trial, targetBytes, stopToken);
}

// The setting that decides whether a size can fit at all: the floor quality is the smallest
// a JPEG of this size can become.
int decidingSetting(bool usePNG) { return usePNG ? kPngSetting : kFloorSetting; }

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

// Which size of the ladder to try next, strictly between the largest known to be too big and
// the smallest known to fit, guessed from the bytes measured so far.
std::size_t nextProbe(const std::vector<PixelSize>& ladder, const std::map<std::size_t, std::int64_t>& weighed,
                      std::size_t tooBig, std::size_t fitting, std::int64_t targetBytes) {
    auto pixels = [&](std::size_t i) { return static_cast<double>(ladder[i].width * ladder[i].height); };
    // Smaller copies hold denser detail, so bytes usually fall a little slower than pixels.
    double exponent = 0.8;
    const auto known = weighed.find(tooBig);
    const auto other = fitting < ladder.size() ? weighed.find(fitting)
                       : known != weighed.begin() ? std::prev(known) : weighed.end();
    if (other != weighed.end() && other->second != known->second)
        exponent = std::clamp(std::log(static_cast<double>(other->second) / static_cast<double>(known->second)) /
                                  std::log(pixels(other->first) / pixels(known->first)),
                              0.3, 1.5);
    std::size_t probe = tooBig + 1;
    while (probe + 1 < fitting &&
           static_cast<double>(known->second) * std::pow(pixels(probe) / pixels(tooBig), exponent) >
               static_cast<double>(targetBytes))
        ++probe;
    return probe;
}

// Whether a generous limit is likely met at the first quality, so that trying it first saves
// the floor-quality encode.
bool likelyFitsAtFirstQuality(PixelSize size, std::int64_t targetBytes) {
    constexpr double kTypicalFirstQualityBytesPerPixel = 0.1;
    return static_cast<double>(targetBytes) >=
           static_cast<double>(size.width * size.height) * kTypicalFirstQualityBytesPerPixel;
}

// The largest size of the ladder (each 0.8 times the last) at which the copy fits. A smaller
// rendering of the same picture never makes a larger file, so sizes between one known to be
// too big and one known to fit need no encode; the sizes tried are guessed from the bytes
// already measured and the answer is the size a walk down the ladder would find.
Found searchSizes(const VImage& decoded, const FitSettings& settings, bool usePNG, bool keepAlpha,
                  const std::stop_token& stopToken) {
    const std::vector<PixelSize> ladder = geometry::sizeLadder({decoded.width(), decoded.height()});
    const int deciding = decidingSetting(usePNG);
    std::map<std::size_t, std::int64_t> weighed;  // ladder index → bytes at the deciding setting
    std::optional<SizeTrial> best;
    std::optional<std::size_t> tooBig;  // the smallest size known not to fit
    std::size_t fitting = ladder.size(), probe = 0;
    while (true) {
        throwIfStopped(stopToken);
        SizeTrial trial(detail::renderAtSize(decoded, ladder[probe], keepAlpha), ladder[probe], usePNG,
                        settings.targetBytes);
        if (probe == 0 && !usePNG && likelyFitsAtFirstQuality(ladder[0], settings.targetBytes) &&
            trial.fits(kFirstSetting))
            return {trial.take(kFirstSetting), ladder[0]};
        weighed[probe] = trial.bytes(deciding);
        if (trial.fits(deciding)) {
            fitting = probe;
            best.emplace(std::move(trial));
        } else {
            tooBig = probe;
        }
        if (fitting == (tooBig ? *tooBig + 1 : 0)) break;
        probe = nextProbe(ladder, weighed, *tooBig, fitting, settings.targetBytes);
    }
    if (!best) throw FitError(FitError::Case::targetUnreachable);
    return {bestAtFittingSize(*best, usePNG, settings.targetBytes, stopToken), best->size()};
}

// One size only: an exact copy is never replaced by a smaller one.
Found searchExact(const VImage& decoded, const FitSettings& settings, const CropPosition& crop, bool usePNG,
                  bool keepAlpha, const std::stop_token& stopToken) {
    const PixelSize exact{settings.exactWidth, settings.exactHeight};
    if (decoded.width() < exact.width || decoded.height() < exact.height)
        throw FitError(FitError::Case::sourceTooSmall);
    SizeTrial trial(detail::renderCover(decoded, exact, crop, keepAlpha), exact, usePNG, settings.targetBytes);
    throwIfStopped(stopToken);
    if (!usePNG && trial.fits(kFirstSetting)) return {trial.take(kFirstSetting), exact};
    if (!trial.fits(decidingSetting(usePNG))) throw FitError(FitError::Case::exactTargetUnreachable);
    return {bestAtFittingSize(trial, usePNG, settings.targetBytes, stopToken), exact};
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
