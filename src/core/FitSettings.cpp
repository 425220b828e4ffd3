// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitSettings.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

namespace parcelo {

namespace {

bool inRange(std::int64_t value, std::int64_t low, std::int64_t high) { return value >= low && value <= high; }

// A stored integer must really be a signed 64-bit integer: 12.5, "12" or a number past the
// largest one make the whole value unreadable. The parser holds numbers up to 2^64 - 1 as
// unsigned; read as signed, those past the largest signed one would wrap round to negatives.
std::int64_t readInteger(const nlohmann::json& json, const char* key) {
    const auto& value = json.at(key);
    const bool fits = value.is_number_integer() &&
                      (!value.is_number_unsigned() ||
                       value.get<std::uint64_t>() <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
    if (!fits) throw nlohmann::json::type_error::create(302, std::string(key) + " is not a 64-bit integer", &json);
    return value.get<std::int64_t>();
}

}  // namespace

std::string_view rawValue(OutputFormat format) {
    switch (format) {
    case OutputFormat::automatic: return "auto";
    case OutputFormat::jpeg: return "jpeg";
    case OutputFormat::png: return "png";
    }
    return "auto";
}

std::optional<OutputFormat> outputFormatFromRaw(std::string_view raw) {
    for (OutputFormat format : kAllOutputFormats)
        if (rawValue(format) == raw) return format;
    return std::nullopt;
}

std::string_view label(OutputFormat format) {
    switch (format) {
    case OutputFormat::automatic: return "Automatic";
    case OutputFormat::jpeg: return "JPEG · white background";
    case OutputFormat::png: return "PNG · preserve transparency";
    }
    return "Automatic";
}

bool FitSettings::isValid() const {
    return hasValidTarget() && hasValidMaxEdge() && hasValidExactSize() && hasValidMinimum() && hasValidDpi();
}

bool FitSettings::hasValidTarget() const { return inRange(targetBytes, kMinTargetBytes, kMaxTargetBytes); }

bool FitSettings::hasValidMaxEdge() const { return maxEdge == 0 || inRange(maxEdge, kMinMaxEdge, kMaxMaxEdge); }

bool FitSettings::hasValidMinimum() const {
    return minBytes == 0 || inRange(minBytes, kMinMinimumBytes, std::min(targetBytes, kMaxTargetBytes));
}

bool FitSettings::hasValidDpi() const { return dpi == 0 || inRange(dpi, kMinDpi, kMaxDpi); }

bool FitSettings::hasValidExactSize() const {
    return (exactWidth == 0 && exactHeight == 0) ||
           (inRange(exactWidth, kMinExactSide, kMaxExactSide) && inRange(exactHeight, kMinExactSide, kMaxExactSide));
}

void to_json(nlohmann::json& json, OutputFormat format) { json = std::string(rawValue(format)); }

void from_json(const nlohmann::json& json, OutputFormat& format) {
    const auto parsed = json.is_string() ? outputFormatFromRaw(json.get<std::string>()) : std::nullopt;
    if (!parsed) throw nlohmann::json::type_error::create(302, "unknown output format", &json);
    format = *parsed;
}

void to_json(nlohmann::json& json, const FitSettings& settings) {
    json = nlohmann::json{
        {"targetBytes", settings.targetBytes},
        {"maxEdge", settings.maxEdge},
        {"outputFormat", rawValue(settings.outputFormat)},
        {"exactWidth", settings.exactWidth},
        {"exactHeight", settings.exactHeight},
    };
    // Written only when set, so requirements without them are stored as they always were.
    if (settings.minBytes != 0) json["minBytes"] = settings.minBytes;
    if (settings.dpi != 0) json["dpi"] = settings.dpi;
}

std::optional<FitSettings> restoredSettings(std::string_view stored) {
    if (stored.size() >= kLongestStoredSettings) return std::nullopt;
    try {
        const FitSettings settings = nlohmann::json::parse(stored).get<FitSettings>();
        return settings.isValid() ? std::optional(settings) : std::nullopt;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

void from_json(const nlohmann::json& json, FitSettings& settings) {
    FitSettings read;
    read.targetBytes = readInteger(json, "targetBytes");
    read.maxEdge = readInteger(json, "maxEdge");
    from_json(json.at("outputFormat"), read.outputFormat);
    read.exactWidth = readInteger(json, "exactWidth");
    read.exactHeight = readInteger(json, "exactHeight");
    // Stored before there was a smallest size or a resolution: none.
    if (json.contains("minBytes")) read.minBytes = readInteger(json, "minBytes");
    if (json.contains("dpi")) read.dpi = readInteger(json, "dpi");
    settings = read;
}

}  // namespace parcelo
