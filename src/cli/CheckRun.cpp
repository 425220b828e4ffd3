// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CheckRun.h"

#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "FitError.h"

namespace parcelo::cli {

namespace fs = std::filesystem;

namespace {

std::string pixels(std::int64_t width, std::int64_t height) {
    return std::to_string(width) + " \u00d7 " + std::to_string(height);
}

std::string formatWords(const SourceFacts& facts, OutputFormat wanted) {
    const char* allowed = wanted == OutputFormat::automatic ? "JPEG or PNG" : wanted == OutputFormat::jpeg ? "JPEG" : "PNG";
    return upperCase(facts.format) + ", not " + allowed;
}

// "1,021,283": digits in groups of three, as the app writes its limits.
std::string grouped(std::int64_t number) {
    const std::string digits = std::to_string(number);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        const std::size_t left = digits.size() - i;
        if (i > 0 && left % 3 == 0 && digits[i - 1] != '-') text += ',';
        text += digits[i];
    }
    return text;
}

// Sizes are told in the units people read; where those round both alike, in bytes.
std::string bytesWords(std::int64_t bytes, std::int64_t limit) {
    const std::string size = formatByteCount(bytes);
    const std::string most = formatByteCount(limit);
    if (size != most) return size + " over " + most;
    return grouped(bytes) + " bytes over " + grouped(limit);
}

std::string minimumWords(std::int64_t bytes, std::int64_t minimum) {
    const std::string size = formatByteCount(bytes);
    const std::string least = formatByteCount(minimum);
    if (size != least) return size + " under " + least;
    return grouped(bytes) + " bytes under " + grouped(minimum);
}

std::string resolutionWords(std::int64_t dpi, std::int64_t wanted) {
    return (dpi == 0 ? std::string("no dpi") : std::to_string(dpi) + " dpi") + ", not " + std::to_string(wanted) + " dpi";
}

std::string pixelWords(const SourceFacts& facts, const FitSettings& settings) {
    if (settings.isExact()) return pixels(facts.width, facts.height) + ", not " + pixels(settings.exactWidth, settings.exactHeight);
    return pixels(facts.width, facts.height) + " over " +
           std::to_string(settings.maxEdge == 0 ? kMaxMaxEdge : settings.maxEdge) + " px";
}

// The location tags live inside the EXIF block; naming them is what matters to the user.
std::vector<std::string> metadataNames(const SourceMetadata& metadata) {
    std::vector<std::string> names;
    if (metadata.gps) names.emplace_back("GPS");
    else if (metadata.exif) names.emplace_back("EXIF");
    if (metadata.xmp) names.emplace_back("XMP");
    if (metadata.iptc) names.emplace_back("IPTC");
    if (metadata.comments) names.emplace_back("comments");
    return names;
}

std::string metadataWords(const SourceMetadata& metadata) {
    std::string words = "has ";
    for (const std::string& name : metadataNames(metadata)) words += (words.size() > 4 ? ", " : "") + name;
    return words;
}

std::string words(Requirement requirement, const SourceFacts& facts, const FitSettings& settings) {
    switch (requirement) {
    case Requirement::format: return formatWords(facts, settings.outputFormat);
    case Requirement::bytes: return bytesWords(facts.bytes, settings.targetBytes);
    case Requirement::minimum: return minimumWords(facts.bytes, settings.minBytes);
    case Requirement::pixels: return pixelWords(facts, settings);
    case Requirement::resolution: return resolutionWords(facts.dpi, settings.dpi);
    case Requirement::upright: return "not upright";
    case Requirement::metadata: return metadataWords(facts.metadata);
    case Requirement::colour: return "not sRGB";
    }
    return "";
}

const char* conditionName(Requirement requirement) {
    switch (requirement) {
    case Requirement::format: return "format";
    case Requirement::bytes: return "bytes";
    case Requirement::minimum: return "minimum";
    case Requirement::pixels: return "pixels";
    case Requirement::resolution: return "resolution";
    case Requirement::upright: return "upright";
    case Requirement::metadata: return "metadata";
    case Requirement::colour: return "colour";
    }
    return "";
}

nlohmann::json factsJson(const SourceFacts& facts) {
    nlohmann::json metadata = nlohmann::json::array();
    const std::pair<bool, const char*> kinds[]{{facts.metadata.exif, "exif"}, {facts.metadata.gps, "gps"},
                                               {facts.metadata.xmp, "xmp"},   {facts.metadata.iptc, "iptc"},
                                               {facts.metadata.comments, "comments"}};
    for (const auto& [present, name] : kinds)
        if (present) metadata.push_back(name);
    return {{"format", facts.format}, {"bytes", facts.bytes},       {"width", facts.width}, {"height", facts.height},
            {"dpi", facts.dpi}, {"orientation", facts.orientation}, {"metadata", metadata}, {"sRGB", facts.sRGB}};
}

bool meets(const CheckReport& report) {
    return std::holds_alternative<SourceFacts>(report.outcome) && report.unmet.empty();
}

std::string summary(std::size_t met, std::size_t total) {
    if (total == 1) return met == 1 ? "The image meets the requirements" : "The image doesn\u2019t meet the requirements";
    return std::to_string(met) + " of " + std::to_string(total) + " images " + (met == 1 ? "meets" : "meet") +
           " the requirements";
}

}  // namespace

CheckReport checkSource(const fs::path& source, const FitSettings& settings) {
    try {
        const SourceFacts facts = inspectSource(source);
        return {source, facts, unmetRequirements(facts, settings)};
    } catch (const FitError& error) {
        return {source, Failure{std::string(error.caseName()), std::string(error.errorDescription())}, {}};
    }
}

std::string checkLine(const CheckReport& report, const FitSettings& settings) {
    const std::string name = report.source.filename().string();
    if (const auto* failure = std::get_if<Failure>(&report.outcome)) return name + ": " + failure->message;
    if (report.unmet.empty()) return name + " \u00b7 meets the requirements";
    std::string line = name;
    for (Requirement requirement : report.unmet)
        line += " \u00b7 " + words(requirement, std::get<SourceFacts>(report.outcome), settings);
    return line;
}

std::string checkJson(const CheckReport& report) {
    nlohmann::json line{{"source", report.source.string()}};
    nlohmann::json failed = nlohmann::json::array();
    for (Requirement requirement : report.unmet) failed.push_back(conditionName(requirement));
    if (const auto* facts = std::get_if<SourceFacts>(&report.outcome)) {
        line.update(factsJson(*facts));
        line["error"] = nullptr;
    } else {
        const auto& failure = std::get<Failure>(report.outcome);
        line["error"] = {{"case", failure.caseName}, {"message", failure.message}};
    }
    line["meetsRequirements"] = meets(report);
    line["failed"] = failed;
    // File names need not be UTF-8; a stray byte must not cost the whole line.
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

int runChecks(const std::vector<fs::path>& sources, const FitSettings& settings, bool json, const Console& console,
              const std::stop_token& stopToken) {
    std::size_t met = 0;
    std::size_t checked = 0;
    for (const fs::path& source : sources) {
        if (stopToken.stop_requested()) break;
        const CheckReport report = checkSource(source, settings);
        console.out << (json ? checkJson(report) : checkLine(report, settings)) << '\n' << std::flush;
        met += meets(report) ? 1 : 0;
        ++checked;
    }
    std::ostream& summaryStream = json ? console.err : console.out;
    if (checked < sources.size()) {
        summaryStream << "Stopped after checking " << checked << " of " << sources.size() << " images\n";
        return kExitStopped;
    }
    summaryStream << summary(met, sources.size()) << '\n';
    return met == sources.size() ? kExitAllSaved : kExitSomeFailed;
}

}  // namespace parcelo::cli
