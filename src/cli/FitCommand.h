// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <stop_token>
#include <string>
#include <vector>

#include "FitArguments.h"

namespace parcelo::cli {

inline constexpr int kExitAllSaved = 0;
inline constexpr int kExitSomeFailed = 1;  // also: nothing to fit, or no usable output folder
inline constexpr int kExitUsage = 2;       // also: requirements out of range
inline constexpr int kExitStopped = 130;   // as a shell reports a program ended by Ctrl+C

// Where parcelo-fit writes: results on `out`, notes and progress on `err`.
struct Console {
    std::ostream& out;
    std::ostream& err;
    bool errIsTerminal = false;  // draw the progress bar
};

// Runs parcelo-fit with the arguments after the program name and returns its exit status.
// Recipes named on the command line are looked up in `library`, then among the examples.
int runFitCommand(const std::vector<std::string>& arguments, const Console& console,
                  const RecipeLibrary& library = {}, std::stop_token stopToken = {});

// Each recipe with its requirements, the user's first, as text under the app's headings or as
// one JSON object a line.
std::string recipeListing(const std::vector<UploadRecipe>& library, bool json);

// What a run came to, for its closing line.
struct RunTotals {
    std::size_t total = 0;
    std::size_t saved = 0;
    std::size_t failed = 0;
    std::int64_t savedBytes = 0;  // the originals' bytes less the copies', over every copy saved: negative when they grew
    bool stopped = false;
};

// "Saved 12 copies · 38.4 MB smaller than the originals" (or larger, when they grew on the
// whole), with the failures and the stop.
std::string summaryLine(const RunTotals& totals);

}  // namespace parcelo::cli
