// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The engine takes shortcuts to its copy (guessed sizes, interpolated qualities, skipped
// encodes). These tests walk the search step by step, the long way, on the same decoded
// pixels and check that both arrive at the very same file.
#include <gtest/gtest.h>

#include "Encoding.h"
#include "FitGeometry.h"
#include "ImageFitter.h"
#include "Rendering.h"
#include "SourceImage.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using geometry::PixelSize;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> fitting(Bytes data, std::int64_t limit) {
    if (static_cast<std::int64_t>(data.size()) <= limit) return data;
    return std::nullopt;
}

// Quality 0.94, else 0.45 and nine bisection steps, exactly as a person would walk them.
std::optional<Bytes> walkQualities(const VImage& image, bool png, std::int64_t limit) {
    if (png) return fitting(detail::encode(image, true, 1.0), limit);
    if (auto first = fitting(detail::encode(image, false, 0.94), limit)) return first;
    auto best = fitting(detail::encode(image, false, 0.45), limit);
    if (!best) return std::nullopt;
    double low = 0.45, high = 0.94;
    for (int step = 0; step < 9; ++step) {
        const double mid = (low + high) * 0.5;
        if (auto data = fitting(detail::encode(image, false, mid), limit)) {
            best = std::move(data);
            low = mid;
        } else {
            high = mid;
        }
    }
    return best;
}

// Every size from the largest down, until one fits.
std::optional<FitResult> walkSizes(const std::filesystem::path& path, const FitSettings& settings) {
    const auto source = detail::validatedSource(path);
    const VImage decoded =
        detail::scaledDecode(source, geometry::sizeModeDecodeEdge(source.stored.longest(), settings.maxEdge));
    const bool transparent = settings.outputFormat != OutputFormat::jpeg && detail::containsTransparency(decoded);
    const bool png = settings.outputFormat == OutputFormat::png ||
                     (settings.outputFormat == OutputFormat::automatic && transparent);
    for (PixelSize size : geometry::sizeLadder({decoded.width(), decoded.height()})) {
        const VImage current = detail::renderAtSize(decoded, size, png && transparent);
        if (auto data = walkQualities(current, png, settings.targetBytes))
            return FitResult{std::move(*data), size.width, size.height, png ? "png" : "jpg", source.fileSize};
    }
    return std::nullopt;
}

void expectSameCopy(const std::filesystem::path& path, const FitSettings& settings) {
    SCOPED_TRACE(path.filename().string() + " at " + std::to_string(settings.targetBytes) + " bytes");
    const auto walked = walkSizes(path, settings);
    try {
        const FitResult fitted = ImageFitter::fit(path, settings, CropPosition::center());
        ASSERT_TRUE(walked.has_value()) << "the engine found a copy where none fits";
        EXPECT_EQ(std::pair(fitted.width, fitted.height), std::pair(walked->width, walked->height));
        EXPECT_EQ(fitted.data.size(), walked->data.size());
        EXPECT_TRUE(fitted.data == walked->data) << "same size, but not the same file";
    } catch (const FitError& error) {
        EXPECT_FALSE(walked.has_value()) << "the engine gave up with: " << error.errorDescription();
        EXPECT_EQ(error.errorCase(), FitError::Case::targetUnreachable);
    }
}

}  // namespace

TEST(SearchEquivalence, SyntheticPicturesAcrossLimits) {
    ScratchFolder folder;
    const auto photo = save(photoLike(1'600, 1'000), folder / "photo.png");
    const auto grain = save(noise(500, 400), folder / "grain.png");
    for (std::int64_t limit : {10'000, 37'000, 120'000, 400'000, 2'500'000})
        expectSameCopy(photo, {limit, 0, OutputFormat::automatic, 0, 0});
    for (std::int64_t limit : {10'000, 60'000, 250'000})
        expectSameCopy(grain, {limit, 0, OutputFormat::png, 0, 0});
    expectSameCopy(grain, {10'000, 0, OutputFormat::jpeg, 0, 0});
}

TEST(SearchEquivalence, RealPhotosAtTheBenchmarkLimits) {
    REQUIRE_CORPUS();
    for (const char* name : {"photos/Flow-5120x2880.jpg", "photos/Blinds.jpg", "photos/GreenMeadow.jpg",
                             "alpha/Waves.png"}) {
        expectSameCopy(corpusDir() / name, {100'000, 0, OutputFormat::automatic, 0, 0});
        expectSameCopy(corpusDir() / name, {500'000, 1'920, OutputFormat::automatic, 0, 0});
    }
}
