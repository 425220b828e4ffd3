// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace parcelo {

// A 128-bit identifier of a recipe or a working folder.
class Uuid {
public:
    // A fresh random version-4 identifier.
    static Uuid random();
    // Reads the 36-character 8-4-4-4-12 form in either case; nothing for any other text.
    static std::optional<Uuid> fromString(std::string_view text);

    // The 36-character form in upper case, as stored.
    [[nodiscard]] std::string string() const;
    [[nodiscard]] const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }

    friend bool operator==(const Uuid&, const Uuid&) = default;

private:
    explicit Uuid(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}

    std::array<std::uint8_t, 16> bytes_;
};

}  // namespace parcelo
