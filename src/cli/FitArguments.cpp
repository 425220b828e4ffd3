// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitArguments.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>
#include <thread>
#include <utility>

#include "ImageFitter.h"
#include "ImageImport.h"
#include "UploadRecipe.h"

namespace parcelo::cli {

namespace {

constexpr std::string_view kExactSeparators[] = {"x", "X", "\u00d7"};

std::string inQuotes(std::string_view text) { return "\u201c" + std::string(text) + "\u201d"; }

std::int64_t wholeNumber(std::string_view option, std::string_view text) {
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        throw UsageError(std::string(option) + " expects a whole number, not " + inQuotes(text));
    return value;
}

double fraction(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::numeric_limits<double>::quiet_NaN();
    return value;
}

// A limit too large to multiply stays too large, so that validation refuses it.
std::int64_t kilobytesToBytes(std::int64_t kilobytes) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / kBytesPerKB;
    return std::clamp(kilobytes, -most, most) * kBytesPerKB;
}

void applyExact(std::string_view option, std::string_view text, FitSettings& settings) {
    for (std::string_view separator : kExactSeparators) {
        const std::size_t at = text.find(separator);
        if (at == std::string_view::npos) continue;
        settings.exactWidth = wholeNumber(option, text.substr(0, at));
        settings.exactHeight = wholeNumber(option, text.substr(at + separator.size()));
        return;
    }
    throw UsageError(std::string(option) + " expects WIDTHxHEIGHT, like 600x800, not " + inQuotes(text));
}

CropPosition cropPosition(std::string_view option, std::string_view text) {
    const std::size_t comma = text.find(',');
    const CropPosition crop{comma == std::string_view::npos ? std::numeric_limits<double>::quiet_NaN()
                                                             : fraction(text.substr(0, comma)),
                            comma == std::string_view::npos ? 0.0 : fraction(text.substr(comma + 1))};
    if (!crop.isValid())
        throw UsageError(std::string(option) + " expects two numbers from 0 to 1, like 0.5,0.5, not " + inQuotes(text));
    return crop;
}

OutputFormat outputFormat(std::string_view option, std::string_view text) {
    if (const auto format = outputFormatFromRaw(text)) return *format;
    throw UsageError(std::string(option) + " expects auto, jpeg or png, not " + inQuotes(text));
}

std::string recipeNames(const std::vector<UploadRecipe>& library) {
    std::string names;
    for (const auto* list : {&library, &UploadRecipe::examples()})
        for (const UploadRecipe& recipe : *list) names += (names.empty() ? "" : ", ") + inQuotes(recipe.name());
    return names;
}

std::string range(std::int64_t low, std::int64_t high) { return std::to_string(low) + "\u2013" + std::to_string(high); }

UsageError outOfRange(std::string_view option, const std::string& allowed, std::string_view text) {
    return UsageError(std::string(option) + " expects " + allowed + ", not " + inQuotes(text));
}

unsigned jobCount(std::string_view option, std::string_view text) {
    const std::int64_t jobs = wholeNumber(option, text);
    if (jobs < 1 || jobs > kMostJobs) throw outOfRange(option, range(1, kMostJobs), text);
    return static_cast<unsigned>(jobs);
}

// Walks the arguments once; each option takes its value from "--name=value" or the next argument.
class ArgumentReader {
public:
    ArgumentReader(const std::vector<std::string>& arguments, const RecipeLibrary& library)
        : arguments_(arguments), library_(library) {}

    ParsedArguments read();

private:
    void readOption(const std::string& argument);
    std::string value();
    std::string typedValue();
    FitSettings recipeSettings(const std::string& name);
    void request(Request request);
    void finish();
    void checkRanges() const;

    const std::vector<std::string>& arguments_;
    const RecipeLibrary& library_;
    std::optional<std::vector<UploadRecipe>> recipes_;  // the library, once read
    std::size_t next_ = 0;
    std::string option_;
    std::optional<std::string> inlineValue_;
    bool cropGiven_ = false;
    bool outGiven_ = false;
    std::map<std::string, std::string> typed_;  // the last text given to each requirement option
    ParsedArguments parsed_;
};

ParsedArguments ArgumentReader::read() {
    parsed_.options.jobs = defaultJobs();
    bool optionsEnded = false;
    while (next_ < arguments_.size()) {
        const std::string& argument = arguments_[next_++];
        if (!optionsEnded && argument == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && argument.size() > 1 && argument.front() == '-') {
            readOption(argument);
            if (parsed_.request == Request::help || parsed_.request == Request::version) return parsed_;
        } else {
            parsed_.options.inputs.emplace_back(argument);
        }
    }
    finish();
    return parsed_;
}

std::string ArgumentReader::value() {
    if (inlineValue_) return *std::exchange(inlineValue_, std::nullopt);
    if (next_ >= arguments_.size()) throw UsageError(option_ + " needs a value");
    return arguments_[next_++];
}

FitSettings ArgumentReader::recipeSettings(const std::string& name) {
    if (!recipes_) recipes_ = library_ ? library_() : std::vector<UploadRecipe>();
    if (const auto recipe = recipeNamed(name, *recipes_)) return recipe->settings();
    throw UsageError(option_ + " expects one of " + recipeNames(*recipes_) + ", not " + inQuotes(name));
}

void ArgumentReader::request(Request request) {
    if (parsed_.request != Request::fit && parsed_.request != request)
        throw UsageError("--check and --recipes cannot be used together");
    parsed_.request = request;
}

// A requirement's value, remembered so that a value out of range is quoted as it was typed.
std::string ArgumentReader::typedValue() { return typed_[option_] = value(); }

void ArgumentReader::readOption(const std::string& argument) {
    const std::size_t equals = argument.find('=');
    option_ = argument.substr(0, equals);
    inlineValue_ = equals == std::string::npos ? std::nullopt : std::optional(argument.substr(equals + 1));
    FitOptions& options = parsed_.options;
    if (option_ == "-h" || option_ == "--help") parsed_.request = Request::help;
    else if (option_ == "--version") parsed_.request = Request::version;
    else if (option_ == "--kb") options.settings.targetBytes = kilobytesToBytes(wholeNumber(option_, typedValue()));
    else if (option_ == "--min-kb") options.settings.minBytes = kilobytesToBytes(wholeNumber(option_, typedValue()));
    else if (option_ == "--dpi") options.settings.dpi = wholeNumber(option_, typedValue());
    else if (option_ == "--max-edge") options.settings.maxEdge = wholeNumber(option_, typedValue());
    else if (option_ == "--exact") applyExact(option_, typedValue(), options.settings);
    else if (option_ == "--crop") options.crop = cropPosition(option_, value()), cropGiven_ = true;
    else if (option_ == "--format") options.settings.outputFormat = outputFormat(option_, value());
    else if (option_ == "--recipe") options.settings = recipeSettings(value());
    else if (option_ == "--check") request(Request::check);
    else if (option_ == "--recipes") request(Request::listRecipes);
    else if (option_ == "--jobs") options.jobs = jobCount(option_, value());
    else if (option_ == "--json") options.json = true;
    else if (option_ == "--out") options.outputDirectory = value(), outGiven_ = true;
    else throw UsageError("unknown option " + inQuotes(option_));
    if (inlineValue_) throw UsageError(option_ + " takes no value");
}

void ArgumentReader::finish() {
    const FitOptions& options = parsed_.options;
    if (parsed_.request == Request::listRecipes) {
        if (outGiven_ || !options.inputs.empty()) throw UsageError("--recipes takes no files, folders or --out");
        return;
    }
    if (parsed_.request == Request::check && outGiven_) throw UsageError("--check writes nothing: leave out --out");
    if (parsed_.request == Request::fit && (!outGiven_ || options.outputDirectory.empty()))
        throw UsageError("--out DIR is required");
    if (options.inputs.empty()) throw UsageError("name at least one image or folder");
    if (cropGiven_ && !options.settings.isExact()) throw UsageError("--crop applies only with --exact WxH");
    checkRanges();
}

// Recipes are always valid, so a requirement out of range was typed: the last option that set it
// is named with what it accepts.
void ArgumentReader::checkRanges() const {
    const FitSettings& settings = parsed_.options.settings;
    const auto typed = [this](const std::string& option) {
        const auto text = typed_.find(option);
        return text == typed_.end() ? std::string() : text->second;
    };
    if (!settings.hasValidTarget())
        throw outOfRange("--kb", range(kMinTargetBytes / kBytesPerKB, kMaxTargetBytes / kBytesPerKB), typed("--kb"));
    if (!settings.hasValidMaxEdge())
        throw outOfRange("--max-edge", "0 or " + range(kMinMaxEdge, kMaxMaxEdge), typed("--max-edge"));
    if (!settings.hasValidExactSize())
        throw outOfRange("--exact", range(kMinExactSide, kMaxExactSide) + " per side, or 0x0", typed("--exact"));
    if (!settings.hasValidMinimum())
        throw outOfRange("--min-kb",
                         "0 or " + range(kMinMinimumBytes / kBytesPerKB, settings.targetBytes / kBytesPerKB) +
                             " (at most --kb)",
                         typed("--min-kb"));
    if (!settings.hasValidDpi()) throw outOfRange("--dpi", "0 or " + range(kMinDpi, kMaxDpi), typed("--dpi"));
}

std::string extensionList() {
    std::string list;
    for (std::string_view extension : ImageImport::kExtensions) list += (list.empty() ? "." : ", .") + std::string(extension);
    return list;
}

}  // namespace

ParsedArguments parseArguments(const std::vector<std::string>& arguments, const RecipeLibrary& library) {
    return ArgumentReader(arguments, library).read();
}

unsigned defaultJobs() { return std::clamp(std::thread::hardware_concurrency(), 1u, kMostJobs); }

std::string usageLine() {
    return "Usage: parcelo-fit [--kb N] [--min-kb N] [--max-edge N] [--exact WxH [--crop X,Y]] [--dpi N]\n"
           "                   [--format auto|jpeg|png] [--recipe NAME] [--jobs N] [--json]\n"
           "                   --out DIR FILE_OR_FOLDER...\n"
           "       parcelo-fit --check [--kb N] [--min-kb N] [--max-edge N] [--exact WxH] [--dpi N]\n"
           "                   [--format F] [--recipe NAME] [--json] FILE_OR_FOLDER...\n"
           "       parcelo-fit --recipes [--json]\n";
}

std::string helpText() {
    std::ostringstream help;
    help << usageLine() << "\n"
         << "Makes upload-ready copies of images. Each copy is the largest one, at the highest JPEG\n"
         << "quality, that meets the size limit and the edge or exact size; it carries no metadata of\n"
         << "its original. Originals are only read, never changed.\n\n"
         << "Requirements:\n"
         << "  --kb N          Largest file size of a copy, in KB of 1,000 bytes: " << kMinTargetBytes / kBytesPerKB
         << "\u2013" << kMaxTargetBytes / kBytesPerKB << " (default " << kDefaultTargetKB << ").\n"
         << "  --min-kb N      Smallest file size a form accepts, " << kMinMinimumBytes / kBytesPerKB
         << " KB up to --kb; 0 for none (default).\n"
         << "                  A smaller copy is made again at higher JPEG quality; it is never padded.\n"
         << "  --max-edge N    Longest edge of a copy in pixels: " << kMinMaxEdge << "\u2013" << kMaxMaxEdge
         << ", or 0 to keep the original size\n"
         << "                  up to " << kMaxMaxEdge << " (default " << kDefaultMaxEdge << "). Ignored with --exact.\n"
         << "  --exact WxH     Exact pixel size instead, " << kMinExactSide << "\u2013" << kMaxExactSide
         << " per side, like 600x800; 0x0 turns it off.\n"
         << "                  An image of another shape is cropped, never enlarged.\n"
         << "  --crop X,Y      Where the exact frame sits, each from 0 to 1: 0 keeps the left or top\n"
         << "                  edge, 1 the right or bottom edge (default 0.5,0.5, centred).\n"
         << "  --dpi N         Resolution written into each copy, " << kMinDpi << "\u2013" << kMaxDpi
         << " dots per inch; 0 for none (default).\n"
         << "  --format F      auto: PNG when the image has transparency, else JPEG; jpeg: transparency\n"
         << "                  flattened onto white; png: transparency kept (default auto).\n"
         << "  --recipe NAME   Take the requirements of a recipe saved in Parcelo, or of an example:\n"
         << "                  " << recipeNames({}) << ".\n"
         << "                  Letter case does not matter. Options after it override it.\n\n"
         << "Running:\n"
         << "  --out DIR       Folder for the copies, created when missing. A copy of photo.heic is saved\n"
         << "                  as photo-parcelo.jpg; existing files are never replaced (-parcelo-2, -3, \u2026).\n"
         << "  --jobs N        Fit N images at once, 1\u2013" << kMostJobs << " (default: one per core, here "
         << defaultJobs() << ").\n"
         << "  --json          One JSON object per image (or recipe) on standard output; the summary\n"
         << "                  goes to standard error.\n"
         << "  --check         Write nothing; tell for each file whether it meets the requirements as it\n"
         << "                  is: JPEG or PNG as --format allows, within the size limit (and at least\n"
         << "                  --min-kb), within the edge or exactly the exact size, at --dpi when given,\n"
         << "                  upright, without metadata (EXIF, GPS, XMP, IPTC, comments) and in sRGB.\n"
         << "                  Each line names what fails.\n"
         << "  --recipes       List the recipes saved in Parcelo, then the examples, each with its\n"
         << "                  requirements.\n"
         << "  -h, --help      Show this help.\n"
         << "  --version       Show the version.\n\n"
         << "Folders are searched, with all their subfolders, for files ending in\n"
         << extensionList() << ";\n"
         << "hidden files and links inside folders are left out, and each item left out is named.\n"
         << "Files named directly are always tried. Ctrl+C stops after the copy being written; copies\n"
         << "already saved stay.\n\n"
         << "Exit status: 0 when every copy was saved (with --check: every file meets the requirements),\n"
         << "1 when any image failed (or does not meet them), 2 for a usage error or requirements out of\n"
         << "range, 130 when stopped.\n";
    return help.str();
}

}  // namespace parcelo::cli
