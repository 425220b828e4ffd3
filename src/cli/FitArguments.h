// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "CropPosition.h"
#include "FitSettings.h"
#include "UploadRecipe.h"

namespace parcelo::cli {

// The defaults as --help states them.
inline constexpr std::int64_t kDefaultTargetKB = kDefaultSettings.targetBytes / kBytesPerKB;
inline constexpr std::int64_t kDefaultMaxEdge = kDefaultSettings.maxEdge;
// More images at once than this only costs memory: fitting is bound by the cores.
inline constexpr unsigned kMostJobs = 64;

// What one run of parcelo-fit was asked to do.
struct FitOptions {
    FitSettings settings = kDefaultSettings;
    CropPosition crop = CropPosition::center();
    std::filesystem::path outputDirectory;
    std::vector<std::filesystem::path> inputs;
    bool json = false;
    unsigned jobs = 1;
};

// Fit copies; check files as they are; list the recipes; show the help or the version.
enum class Request { fit, check, listRecipes, help, version };

// The user's recipe library as the app stored it. Read once at most, and only when a recipe
// is named or listed.
using RecipeLibrary = std::function<std::vector<UploadRecipe>()>;

struct ParsedArguments {
    Request request = Request::fit;
    FitOptions options;
};

// The command line was not understood; what() says which part, in a few words.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reads the arguments after the program name. Options apply in the order given, so an
// option after --recipe overrides the recipe. Throws UsageError, also for requirements out
// of range, naming the option and what it accepts.
// A recipe is looked up in `library`, then among the examples.
ParsedArguments parseArguments(const std::vector<std::string>& arguments, const RecipeLibrary& library = {});

// How many images are fitted at once when --jobs is not given: one per core.
unsigned defaultJobs();

// The one-line synopsis.
std::string usageLine();

// The full --help text; ranges and defaults come from the named constants.
std::string helpText();

}  // namespace parcelo::cli
