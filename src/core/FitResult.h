// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace parcelo {

// A successful, verified copy: the encoded file and what it is.
struct FitResult {
    std::vector<std::uint8_t> data;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::string fileExtension;  // "jpg" or "png", without a dot
    std::int64_t originalBytes = 0;

    // What the copy saves against its original; never below zero.
    [[nodiscard]] std::int64_t savedBytes() const;

    friend bool operator==(const FitResult&, const FitResult&) = default;
};

}  // namespace parcelo
