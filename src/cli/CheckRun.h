// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <variant>
#include <vector>

#include "FitCommand.h"
#include "FitRun.h"
#include "FitSettings.h"
#include "RequirementCheck.h"

// parcelo-fit --check: whether each file meets the requirements as it is. Nothing is written.
namespace parcelo::cli {

// What one file came to: its facts and the conditions it fails, or why it could not be read.
struct CheckReport {
    std::filesystem::path source;
    std::variant<SourceFacts, Failure> outcome;
    std::vector<Requirement> unmet;
};

CheckReport checkSource(const std::filesystem::path& source, const FitSettings& settings);

// "IMG_0042.jpg · 2.4 MB over 500 KB · 4032 × 3024 over 1920 px · has GPS", or
// "logo.png · meets the requirements", or "notes.jpg: {message}".
std::string checkLine(const CheckReport& report, const FitSettings& settings);

// One JSON object: source, the facts, meetsRequirements, failed (condition names), error.
std::string checkJson(const CheckReport& report);

// Checks the sources in order, one line each, then "3 of 5 images meet the requirements".
// Returns the exit status: 0 when all meet them, 1 when any does not or could not be read.
int runChecks(const std::vector<std::filesystem::path>& sources, const FitSettings& settings, bool json,
              const Console& console, const std::stop_token& stopToken);

}  // namespace parcelo::cli
