// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "FitSettings.h"

namespace parcelo {

// The exact width and height as the user typed them.
struct ExactTexts {
    std::string width;
    std::string height;
};

// The one line in which Parcelo shows requirements, "≤ 1 MB · Up to 2560 px · Auto format":
// the size limit, the largest edge (8192 for none) or the exact size as typed, the format.
std::string requirementSummary(std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                               const std::optional<ExactTexts>& exact);

// The same line with the smallest size and the resolution, each only when set (0: none):
// "20–50 KB · 200 × 230 px · 200 dpi · JPEG".
std::string requirementSummary(std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                               const std::optional<ExactTexts>& exact, std::int64_t minBytes, std::int64_t dpi);

// The line the app shows for these requirements once they are applied, as a recipe applies them.
std::string requirementSummary(const FitSettings& settings);

}  // namespace parcelo
