// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <string>
#include <vector>

#include "CropPosition.h"
#include "FitError.h"
#include "FitResult.h"
#include "FitSettings.h"

namespace parcelo {

// Safety limits of a source, checked from the file system and the image header
// before any pixel is decoded.
inline constexpr std::int64_t kMaxSourceBytes = 250'000'000;
inline constexpr std::int64_t kMaxSourceSide = 100'000;
inline constexpr std::int64_t kMaxSourcePixels = 100'000'000;
// No photograph or drawing packs more pixels than this into one byte of its file; a header that
// claims more is a decompression bomb, refused as unreadable before the decoder spends seconds
// (and, for some loaders, gigabytes) on a few kilobytes.
inline constexpr std::int64_t kMaxPixelsPerSourceByte = 4'096;

// The size search.
inline constexpr double kPngQuality = 1.0;
inline constexpr double kFirstJpegQuality = 0.94;
inline constexpr double kFloorJpegQuality = 0.45;
inline constexpr int kBisectionSteps = 9;
inline constexpr double kShrinkFactor = 0.8;
inline constexpr std::int64_t kSmallestUsefulEdge = 64;
inline constexpr int kSizeSteps = 32;

// Exact-size crops.
inline constexpr std::int64_t kDecodeMargin = 2;
inline constexpr double kProcessingLimitPixels = 64'000'000;

// Previews.
inline constexpr std::int64_t kSmallestPreviewEdge = 1;
inline constexpr std::int64_t kLargestPreviewEdge = 1'600;

// Naming of saved copies.
inline constexpr std::size_t kLongestStemBytes = 200;
inline constexpr int kExportAttempts = 10'000;

// A decoded picture for display: 8-bit sRGB, four bytes a pixel (RGBA, straight alpha),
// rows packed without padding.
struct Bitmap {
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> rgba;
};

// The engine: stateless operations, safe to call from several threads at once.
// Blocking calls take a stop token and end with CancellationError when it is triggered.
namespace ImageFitter {

// Finds the largest copy, at the highest JPEG quality, that meets the requirements,
// and returns it verified. Throws FitError or CancellationError.
FitResult fit(const std::filesystem::path& path, const FitSettings& settings, const CropPosition& crop,
              std::stop_token stopToken = {});

// Reads the copy's own header back and checks size, pixels and format against the
// requirements. Throws FitError(verificationFailed) on any mismatch.
void verify(const FitResult& result, const FitSettings& settings);

// Decodes the source, upright, with its longer edge at most maxEdge (1 to 1,600).
// Throws FitError (unreadable, tooLarge, multipleFrames) or CancellationError.
Bitmap preview(const std::filesystem::path& path, std::int64_t maxEdge, std::stop_token stopToken = {});

// Writes the copy into directory as "{stem}-parcelo{-n}.{ext}" without ever replacing a
// file, and returns where it went. Throws std::filesystem::filesystem_error.
std::filesystem::path exportResult(const FitResult& result, const std::string& originalName,
                                   const std::filesystem::path& directory);

// The stem a copy of originalName is saved under: NFD, at most 200 bytes of whole characters.
std::string exportStem(const std::string& originalName);

}  // namespace ImageFitter

// Shares the cores between `fits` images fitted at once and libvips's own threads: each fit's
// pipeline gets the cores left per fit, at least one. libvips decodes and encodes an image in one
// thread and spreads only the resampling and colour work, so once the fits alone fill the cores,
// more threads only wait on each other. A VIPS_CONCURRENCY set by the user wins.
void shareCoresAmongFits(unsigned fits);

}  // namespace parcelo
