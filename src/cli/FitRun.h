// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "CropPosition.h"
#include "FitSettings.h"

namespace parcelo::cli {

// A copy written into the output folder.
struct SavedCopy {
    std::filesystem::path output;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::string fileExtension;  // "jpg" or "png"
    std::int64_t bytes = 0;
    std::int64_t originalBytes = 0;
};

// Why an image has no copy: the engine's case name ("unreadable") and its message.
struct Failure {
    std::string caseName;
    std::string message;
};

// What became of one image.
struct ImageReport {
    std::filesystem::path source;
    std::variant<SavedCopy, Failure> outcome;
};

// The images of one run and what to make of them.
struct FitJob {
    std::vector<std::filesystem::path> sources;
    FitSettings settings;
    CropPosition crop;
    std::filesystem::path outputDirectory;
    unsigned jobs = 1;
};

// Called before waiting for image `index` and then now and again while waiting.
using ProgressHandler = std::function<void(std::size_t index)>;
using ReportHandler = std::function<void(const ImageReport&)>;

// Fits the sources, job.jobs at a time, and saves each copy in input order, so that the
// names given to clashing copies never depend on which fit finished first. Hands every
// image's report to `report` in input order. A stop cancels the fits under way and saves
// nothing more; returns false when the run was stopped before every image was handled.
bool runFits(const FitJob& job, std::stop_token stopToken, const ReportHandler& report,
             const ProgressHandler& progress);

// "Storm.jpg → Storm-parcelo.jpg · 1920 × 1280 · JPG · 512 KB" or "notes.jpg: {message}".
std::string textLine(const ImageReport& report);

// ASCII letters in capitals, as formats are shown: "jpg" → "JPG".
std::string upperCase(std::string text);

// One JSON object: source, output, width, height, format, bytes, originalBytes, error.
std::string jsonLine(const ImageReport& report);

}  // namespace parcelo::cli
