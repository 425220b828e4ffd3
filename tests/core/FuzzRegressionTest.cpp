// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Every input with which a fuzzer (or a hand-made hostile file) once found a fault, fed again to
// the checks it broke. A file named "{outcome}--{what it found}" must also end in that outcome:
// "unreadable--png-text-chunk-claiming-750-mb.png" must be refused, not just survived. None may
// make a library print a line.
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FuzzChecks.h"
#include "TestSupport.h"

namespace {

namespace fs = std::filesystem;
using Check = std::function<std::string(std::span<const std::uint8_t>)>;

TEST(FuzzRegressions, EveryKeptInputKeepsTheEnginesPromises) {
    const std::vector<std::pair<const char*, Check>> targets{{"source", parcelo::fuzz::checkSource},
                                                             {"fit", parcelo::fuzz::checkFit},
                                                             {"stored", parcelo::fuzz::checkStoredForms},
                                                             {"scan", parcelo::fuzz::checkScan}};
    int inputs = 0;
    for (const auto& [target, check] : targets) {
        const fs::path folder = fs::path(PARCELO_FUZZ_REGRESSIONS) / target;
        if (!fs::is_directory(folder)) continue;
        for (const auto& entry : fs::directory_iterator(folder)) {
            SCOPED_TRACE(entry.path().string());
            const std::string file = parcelo::test::contents(entry.path());
            const std::vector<std::uint8_t> bytes(file.begin(), file.end());
            std::string outcome;
            testing::internal::CaptureStderr();
            EXPECT_NO_THROW(outcome = check(bytes));
            EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a library printed on the terminal";
            const std::string name = entry.path().filename().string();
            if (const auto dashes = name.find("--"); dashes != std::string::npos) {
                EXPECT_EQ(outcome, name.substr(0, dashes));
            }
            ++inputs;
        }
    }
    EXPECT_GT(inputs, 0) << "no regression inputs in " << PARCELO_FUZZ_REGRESSIONS;
}

}  // namespace
