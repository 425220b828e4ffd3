// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FuzzChecks.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "FitError.h"
#include "ImageFitter.h"
#include "UploadRecipe.h"

namespace parcelo::fuzz {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t kThumbnailEdge = 400;
constexpr std::int64_t kSmallLimit = 10'000;

// One scratch file per process, rewritten for every input and removed at exit.
class ScratchFile {
public:
    ScratchFile() : folder_(fs::temp_directory_path() / ("parcelo-fuzz-" + std::to_string(::getpid()))) {
        fs::create_directories(folder_);
    }
    ~ScratchFile() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const fs::path& write(std::span<const std::uint8_t> bytes) {
        std::ofstream out(file_, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        require(static_cast<bool>(out.flush()), "the scratch file can be written");
        return file_;
    }

private:
    fs::path folder_;
    fs::path file_ = folder_ / "input";
};

const fs::path& asFile(std::span<const std::uint8_t> bytes) {
    static ScratchFile scratch;
    return scratch.write(bytes);
}

// Small requirements that reach every path of the engine: size or exact mode, three formats,
// the crop's corners and centre.
struct FitChoice {
    FitSettings settings;
    CropPosition crop;
};

FitChoice fitChoice(std::uint8_t choice) {
    const OutputFormat format = kAllOutputFormats[choice % 3];
    const bool exact = (choice & 0x04) != 0;
    const std::int64_t edge = (choice & 0x08) != 0 ? 96 : 64;
    FitSettings settings{kSmallLimit, edge, format, exact ? 64 : 0, exact ? edge : 0};
    const double x = ((choice >> 4) & 0x03) / 2.0;
    const double y = ((choice >> 6) & 0x03) / 2.0;
    return {settings, CropPosition{std::min(x, 1.0), std::min(y, 1.0)}};
}

}  // namespace

std::string checkSource(std::span<const std::uint8_t> bytes) {
    const fs::path& file = asFile(bytes);
    try {
        const Bitmap bitmap = ImageFitter::preview(file, kThumbnailEdge);
        require(bitmap.width >= 1 && bitmap.height >= 1, "a preview has pixels");
        require(std::max(bitmap.width, bitmap.height) <= kThumbnailEdge, "a preview stays within its edge");
        require(bitmap.rgba.size() == static_cast<std::size_t>(bitmap.width * bitmap.height * 4),
                "a preview holds four bytes a pixel");
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
    return "ok";
}

std::string checkFit(std::span<const std::uint8_t> bytes) {
    const FitChoice choice = fitChoice(bytes.empty() ? 0 : bytes.back());
    const fs::path& file = asFile(bytes);
    try {
        const FitResult result = ImageFitter::fit(file, choice.settings, choice.crop);
        require(static_cast<std::int64_t>(result.data.size()) <= kSmallLimit, "a copy never grows past the limit");
        if (choice.settings.isExact())
            require(result.width == choice.settings.exactWidth && result.height == choice.settings.exactHeight,
                    "an exact copy has the exact size");
        else
            require(std::max(result.width, result.height) <= choice.settings.maxEdge, "a copy keeps to its edge");
        ImageFitter::verify(result, choice.settings);
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
    return "ok";
}

std::string checkStoredForms(std::span<const std::uint8_t> bytes) {
    const std::string_view stored(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const auto settings = restoredSettings(stored);
    if (settings) {
        require(settings->isValid(), "restored requirements are valid");
        require(restoredSettings(nlohmann::json(*settings).dump()) == settings, "restored requirements store again");
    }
    const std::vector<UploadRecipe> recipes = restoredRecipes(stored);
    require(recipes.size() <= kMaxRecipes, "at most 20 recipes are restored");
    for (std::size_t i = 0; i < recipes.size(); ++i) {
        require(recipes[i].isValid(), "restored recipes are valid");
        for (std::size_t j = 0; j < i; ++j) require(recipes[i].id() != recipes[j].id(), "restored ids are unique");
    }
    const std::string again = nlohmann::json(recipes).dump();
    require(restoredRecipes(again) == recipes, "restored recipes store again");
    if (settings && !recipes.empty()) return "both";
    return settings ? "settings" : !recipes.empty() ? "recipes" : "defaults";
}

}  // namespace parcelo::fuzz
