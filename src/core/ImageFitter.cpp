// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ImageFitter.h"

#include <algorithm>
#include <sstream>

#include "CancellationCheck.h"
#include "Encoding.h"
#include "FitMinimum.h"
#include "FitSearch.h"
#include "FitGeometry.h"
#include "Rendering.h"
#include "RequirementCheck.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::ImageFitter {

using detail::ValidatedSource;
using geometry::PixelSize;
using vips::VImage;

namespace {

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

// Whether the search's first try, the first quality at the decoded size, can be encoded straight
// from the decoder: a size-mode JPEG of an image without alpha (no transparency to detect) whose
// limit is generous enough that it will likely fit.
bool mayStream(const VImage& scaled, const FitSettings& settings) {
    return !settings.isExact() && settings.minBytes == 0 && settings.outputFormat != OutputFormat::png &&
           !detail::hasAlphaBand(scaled) &&
           detail::startsAtFirstQuality({scaled.width(), scaled.height()}, settings.targetBytes);
}

}  // namespace

FitResult fit(const std::filesystem::path& path, const FitSettings& settings, const CropPosition& crop,
              std::stop_token stopToken) {
    if (!settings.isValid() || !crop.isValid()) throw FitError(FitError::Case::invalidSettings);
    throwIfStopped(stopToken);
    const ValidatedSource source = detail::validatedSource(path);
    const detail::MutedStandardError muted(detail::isHeifFamily(source.type));
    const std::int64_t decodeEdge = decodeEdgeFor(source, settings);

    // The common case, a generous limit for an opaque photo, is settled in one pass that decodes
    // and encodes at once; only when that copy is too big are the pixels kept for the search.
    std::optional<std::int64_t> firstQualityBytes;
    if (const auto scaled = detail::openScaled(source, decodeEdge); mayStream(scaled, settings)) {
        if (auto data = detail::encodeStreamedAtFirstQuality(scaled)) {
            FitResult result{std::move(*data), scaled.width(), scaled.height(), "jpg", source.fileSize};
            if (static_cast<std::int64_t>(result.data.size()) <= settings.targetBytes) {
                detail::stampResolution(result.data, false, settings.dpi);
                verify(result, settings);
                return result;
            }
            firstQualityBytes = static_cast<std::int64_t>(result.data.size());
        }
    }
    const VImage decoded = detail::scaledDecode(source, decodeEdge);
    const bool transparent = settings.outputFormat != OutputFormat::jpeg && detail::containsTransparency(decoded);
    const bool usePNG = settings.outputFormat == OutputFormat::png ||
                        (settings.outputFormat == OutputFormat::automatic && transparent);
    const bool keepAlpha = usePNG && transparent;

    const PixelSize exact{settings.exactWidth, settings.exactHeight};
    if (settings.isExact() && (decoded.width() < exact.width || decoded.height() < exact.height))
        throw FitError(FitError::Case::sourceTooSmall);
    detail::Found found =
        settings.isExact()
            ? detail::searchExact(decoded, exact, crop, settings.targetBytes, usePNG, keepAlpha, stopToken)
            : detail::searchSizes(decoded, settings.targetBytes, usePNG, keepAlpha, firstQualityBytes, stopToken);
    if (static_cast<std::int64_t>(found.data.size()) < settings.minBytes) {
        const VImage rendered = settings.isExact() ? detail::renderCover(decoded, exact, crop, keepAlpha)
                                                   : detail::renderAtSize(decoded, found.size, keepAlpha);
        const auto encodeAt = [&rendered](int setting) { return detail::encode(rendered, false, setting / 100.0); };
        found = detail::reachMinimum(std::move(found), encodeAt, usePNG, settings.minBytes, settings.targetBytes,
                                     stopToken);
    }
    detail::stampResolution(found.data, usePNG, settings.dpi);
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

// The header checks tell whether the bytes are the one image the result says; whether that image
// meets the requirements is the rule that checks any file as it is.
void verify(const FitResult& result, const FitSettings& settings) {
    detail::ensureVipsStarted();
    if (!settings.isValid() || result.data.empty()) verificationFailed();

    detail::SourceType type{};
    const VImage header = copyHeader(result, type);
    const std::int64_t pages = header.get_typeof("n-pages") != 0 ? header.get_int("n-pages") : 1;
    if (pages != 1) verificationFailed();
    if (header.width() != result.width || header.height() != result.height) verificationFailed();
    const bool isPNG = type == detail::SourceType::png;
    if (isPNG != (result.fileExtension == "png")) verificationFailed();

    SourceFacts facts;
    facts.format = isPNG ? "png" : "jpeg";
    facts.bytes = static_cast<std::int64_t>(result.data.size());
    facts.width = header.width();
    facts.height = header.height();
    if (settings.dpi != 0) {
        std::istringstream file(std::string(result.data.begin(), result.data.end()));
        facts.dpi = detail::statedDpi(header, isPNG, file);
    }
    if (!unmetLimits(facts, settings).empty()) verificationFailed();
}

Bitmap preview(const std::filesystem::path& path, std::int64_t maxEdge, std::stop_token stopToken) {
    throwIfStopped(stopToken);
    const ValidatedSource source = detail::validatedSource(path);
    const detail::MutedStandardError muted(detail::isHeifFamily(source.type));
    Bitmap bitmap = detail::displayDecode(source, std::clamp(maxEdge, kSmallestPreviewEdge, kLargestPreviewEdge));
    throwIfStopped(stopToken);
    return bitmap;
}

}  // namespace parcelo::ImageFitter
