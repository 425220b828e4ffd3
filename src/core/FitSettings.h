// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <cstddef>

#include <nlohmann/json_fwd.hpp>

namespace parcelo {

// Bounds of what a user may ask for. Validation, the command line's help and the
// settings controls all read them from here.
inline constexpr std::int64_t kMinTargetBytes = 10'000;
inline constexpr std::int64_t kMaxTargetBytes = 25'000'000;
inline constexpr std::int64_t kMinMaxEdge = 64;
inline constexpr std::int64_t kMaxMaxEdge = 8'192;
inline constexpr std::int64_t kMinExactSide = 64;
inline constexpr std::int64_t kMaxExactSide = 4'096;
inline constexpr std::int64_t kBytesPerKB = 1'000;
// A smallest file size is optional (0: none); when set it lies between this and the limit.
inline constexpr std::int64_t kMinMinimumBytes = 1'000;
// The resolution written into a copy is optional (0: none), in dots per inch.
inline constexpr std::int64_t kMinDpi = 72;
inline constexpr std::int64_t kMaxDpi = 1'200;
// Stored requirements of this many bytes or more are ignored unread.
inline constexpr std::size_t kLongestStoredSettings = 4'096;

// The format of a fitted copy.
enum class OutputFormat { automatic, jpeg, png };

inline constexpr std::array<OutputFormat, 3> kAllOutputFormats{OutputFormat::automatic, OutputFormat::jpeg,
                                                               OutputFormat::png};

// "auto", "jpeg" or "png": the stored and command-line form.
std::string_view rawValue(OutputFormat format);
// Exact, case-sensitive match of a raw value; nothing for any other text.
std::optional<OutputFormat> outputFormatFromRaw(std::string_view raw);
// What the settings panel shows for the format.
std::string_view label(OutputFormat format);

// The requirements of one fit.
struct FitSettings {
    std::int64_t targetBytes = 0;
    std::int64_t maxEdge = 0;  // 0: no edge limit (the engine still caps at kMaxMaxEdge)
    OutputFormat outputFormat = OutputFormat::automatic;
    std::int64_t exactWidth = 0;  // both 0 outside exact mode
    std::int64_t exactHeight = 0;
    std::int64_t minBytes = 0;  // 0: no smallest size
    std::int64_t dpi = 0;       // 0: no resolution stated (a JPEG says 1:1 aspect, no unit)

    [[nodiscard]] bool isExact() const { return exactWidth != 0 || exactHeight != 0; }
    [[nodiscard]] bool isValid() const;
    // The three parts of isValid, for messages that name the requirement out of range.
    [[nodiscard]] bool hasValidTarget() const;
    [[nodiscard]] bool hasValidMaxEdge() const;
    [[nodiscard]] bool hasValidExactSize() const;
    [[nodiscard]] bool hasValidMinimum() const;
    [[nodiscard]] bool hasValidDpi() const;

    friend bool operator==(const FitSettings&, const FitSettings&) = default;
};

// The requirements the app starts with and parcelo-fit uses unless told otherwise.
inline constexpr FitSettings kDefaultSettings{
    .targetBytes = 1'000'000, .maxEdge = 2'560, .outputFormat = OutputFormat::automatic, .exactWidth = 0, .exactHeight = 0};

void to_json(nlohmann::json& json, const FitSettings& settings);
// Throws nlohmann::json::exception when a key is missing or of the wrong kind.
void from_json(const nlohmann::json& json, FitSettings& settings);
// The requirements stored under "lastSettings.v1", or nothing when the stored bytes are
// oversized, not the JSON form, or not valid requirements; damage never throws.
std::optional<FitSettings> restoredSettings(std::string_view stored);

void to_json(nlohmann::json& json, OutputFormat format);
void from_json(const nlohmann::json& json, OutputFormat& format);

}  // namespace parcelo
