// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitCommand.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>

#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "FitError.h"
#include "CheckRun.h"
#include "FitArguments.h"
#include "FitRun.h"
#include "ImageImport.h"
#include "ProgressBar.h"
#include "RequirementSummary.h"

namespace parcelo::cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* kProgram = "parcelo-fit: ";
// The command line has no batch limit; the folder scan's entry cap still bounds a folder.
constexpr std::int64_t kNoBatchLimit = std::numeric_limits<std::int64_t>::max();

std::string_view leftOutWords(LeftOut reason) {
    switch (reason) {
    case LeftOut::link: return " (a link)";
    case LeftOut::notAFile: return " (not a file)";
    case LeftOut::unsupported: return " (not a supported image)";
    case LeftOut::unreadable: break;
    }
    return "";
}

// Every item of a folder that was left out, one line each, so that none goes unnoticed.
void noteLeftOut(std::ostream& err, const std::vector<std::pair<fs::path, LeftOut>>& leftOut) {
    for (const auto& [location, reason] : leftOut) {
        if (reason == LeftOut::unreadable) err << kProgram << "couldn\u2019t read " << location.string() << "\n";
        else err << kProgram << "left out " << location.string() << leftOutWords(reason) << "\n";
    }
}

// A folder named on the command line is walked even when it is a link: the user chose it.
// Links inside it are left out, as everywhere.
fs::path folderToWalk(const fs::path& folder) {
    std::error_code error;
    if (!fs::is_symlink(folder, error)) return folder;
    const fs::path target = fs::canonical(folder, error);
    return error ? folder : target;
}

// Folders become the images inside them, sorted; files are taken as given. An image named
// twice is fitted once. Throws TooManyEntriesError and CancellationError.
std::vector<fs::path> collectSources(const std::vector<fs::path>& inputs, std::ostream& err,
                                     const std::stop_token& stopToken) {
    std::vector<fs::path> sources;
    std::set<fs::path> seen;
    for (const fs::path& input : inputs) {
        std::error_code error;
        if (!fs::is_directory(input, error)) {
            if (seen.insert(ImageImport::standardized(input)).second) sources.push_back(input);
            continue;
        }
        std::vector<std::pair<fs::path, LeftOut>> leftOut;
        const ImportSelection selection =
            ImageImport::expand({folderToWalk(input)}, seen, kNoBatchLimit, stopToken,
                                [&leftOut](const fs::path& location, LeftOut reason) { leftOut.emplace_back(location, reason); });
        noteLeftOut(err, leftOut);
        seen.insert(selection.urls.begin(), selection.urls.end());
        sources.insert(sources.end(), selection.urls.begin(), selection.urls.end());
    }
    return sources;
}

bool prepareOutputFolder(const fs::path& folder, std::ostream& err) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error && fs::is_directory(folder, error)) return true;
    err << kProgram << "couldn\u2019t use " << folder.string() << " as the output folder: "
        << (error ? error.message() : "it isn\u2019t a folder") << "\n";
    return false;
}

void tally(RunTotals& totals, const ImageReport& report) {
    if (const auto* copy = std::get_if<SavedCopy>(&report.outcome)) {
        ++totals.saved;
        totals.savedBytes += copy->originalBytes - copy->bytes;
    } else {
        ++totals.failed;
    }
}

int exitStatus(const RunTotals& totals) {
    if (totals.stopped) return kExitStopped;
    return totals.failed > 0 ? kExitSomeFailed : kExitAllSaved;
}

int fitAll(const FitOptions& options, std::vector<fs::path> sources, const Console& console,
           const std::stop_token& stopToken) {
    RunTotals totals{.total = sources.size()};
    ProgressBar bar(console.err, console.errIsTerminal, sources.size());
    const FitJob job{std::move(sources), options.settings, options.crop, options.outputDirectory, options.jobs};
    const auto report = [&](const ImageReport& image) {
        bar.clear();
        console.out << (options.json ? jsonLine(image) : textLine(image)) << '\n' << std::flush;
        tally(totals, image);
    };
    const auto progress = [&](std::size_t index) { bar.show(index, job.sources[index].filename().string()); };
    totals.stopped = !runFits(job, stopToken, report, progress);
    bar.clear();
    (options.json ? console.err : console.out) << summaryLine(totals) << '\n' << std::flush;
    return exitStatus(totals);
}

int run(const ParsedArguments& parsed, const Console& console, const std::stop_token& stopToken) {
    const FitOptions& options = parsed.options;
    std::vector<fs::path> sources;
    try {
        sources = collectSources(options.inputs, console.err, stopToken);
    } catch (const TooManyEntriesError& error) {
        console.err << kProgram << error.what() << '\n';
        return kExitSomeFailed;
    } catch (const CancellationError&) {
        (options.json ? console.err : console.out) << summaryLine({.stopped = true}) << '\n';
        return kExitStopped;
    }
    if (sources.empty()) {
        console.err << kProgram << "no images found in the files and folders given\n";
        return kExitSomeFailed;
    }
    if (parsed.request == Request::check)
        return runChecks(sources, options.settings, options.json, console, stopToken);
    if (!prepareOutputFolder(options.outputDirectory, console.err)) return kExitSomeFailed;
    return fitAll(options, std::move(sources), console, stopToken);
}

}  // namespace

int runFitCommand(const std::vector<std::string>& arguments, const Console& console, const RecipeLibrary& library,
                  std::stop_token stopToken) {
    ParsedArguments parsed;
    try {
        parsed = parseArguments(arguments, library);
    } catch (const UsageError& error) {
        console.err << kProgram << error.what() << '\n' << usageLine() << "Run parcelo-fit --help for every option.\n";
        return kExitUsage;
    }
    if (parsed.request == Request::help) {
        console.out << helpText();
        return kExitAllSaved;
    }
    if (parsed.request == Request::version) {
        console.out << "parcelo-fit " PARCELO_VERSION "\n";
        return kExitAllSaved;
    }
    if (parsed.request == Request::listRecipes) {
        console.out << recipeListing(library ? library() : std::vector<UploadRecipe>(), parsed.options.json);
        return kExitAllSaved;
    }
    return run(parsed, console, stopToken);
}

std::string recipeListing(const std::vector<UploadRecipe>& library, bool json) {
    std::size_t widest = 0;
    for (const auto* list : {&library, &UploadRecipe::examples()})
        for (const UploadRecipe& recipe : *list) widest = std::max(widest, characterCount(recipe.name()));
    std::string listing;
    const auto add = [&](const std::vector<UploadRecipe>& recipes, const char* heading, bool example) {
        if (!json && !recipes.empty()) listing += std::string(heading) + "\n";
        for (const UploadRecipe& recipe : recipes) {
            const std::string summary = requirementSummary(recipe.settings());
            if (json)
                listing += nlohmann::json{{"name", recipe.name()}, {"example", example}, {"summary", summary},
                                          {"settings", recipe.settings()}}.dump() + "\n";
            else
                listing += "  " + recipe.name() + std::string(widest + 2 - characterCount(recipe.name()), ' ') +
                           summary + "\n";
        }
    };
    add(library, "Your recipes", false);
    add(UploadRecipe::examples(), "Examples \u00b7 check your own requirements", true);
    return listing;
}

std::string summaryLine(const RunTotals& totals) {
    const std::string copies = totals.saved == 1 ? "copy" : "copies";
    std::string line;
    if (totals.stopped && totals.total == 0) return "Stopped before any image was fitted";
    if (totals.stopped)
        line = "Stopped. Saved " + std::to_string(totals.saved) + " of " + std::to_string(totals.total) + " " +
               (totals.total == 1 ? "copy" : "copies") + " before the stop";
    else if (totals.failed == 0)
        line = "Saved " + std::to_string(totals.saved) + " " + copies;
    else
        line = "Saved " + std::to_string(totals.saved) + " of " + std::to_string(totals.total) + " " +
               (totals.total == 1 ? "copy" : "copies");
    if (totals.failed > 0) line += " \u00b7 " + std::to_string(totals.failed) + " failed";
    if (totals.saved == 0) return line;
    if (totals.savedBytes == 0) return line + " \u00b7 the same size as the originals";
    const bool smaller = totals.savedBytes > 0;
    return line + " \u00b7 " + formatByteCount(smaller ? totals.savedBytes : -totals.savedBytes) +
           (smaller ? " smaller" : " larger") + " than the originals";
}

}  // namespace parcelo::cli
