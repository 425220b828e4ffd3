// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Uuid.h"

#include <random>

namespace parcelo {

namespace {

constexpr std::size_t kTextLength = 36;
constexpr std::array<std::size_t, 4> kHyphenPositions{8, 13, 18, 23};

bool isHyphenPosition(std::size_t index) {
    for (std::size_t position : kHyphenPositions)
        if (index == position) return true;
    return false;
}

std::optional<std::uint8_t> hexValue(char digit) {
    if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
    if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
    if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
    return std::nullopt;
}

}  // namespace

// Every identifier draws fresh bits from the operating system, so identifiers differ
// between runs and between threads without any shared generator.
Uuid Uuid::random() {
    std::random_device device;
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const std::uint32_t word = device();
        for (std::size_t j = 0; j < 4; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    return Uuid(bytes);
}

std::optional<Uuid> Uuid::fromString(std::string_view text) {
    if (text.size() != kTextLength) return std::nullopt;
    std::array<std::uint8_t, 16> bytes{};
    std::size_t nibble = 0;
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (isHyphenPosition(index)) {
            if (text[index] != '-') return std::nullopt;
            continue;
        }
        const std::optional<std::uint8_t> value = hexValue(text[index]);
        if (!value) return std::nullopt;
        bytes[nibble / 2] = static_cast<std::uint8_t>(bytes[nibble / 2] | (*value << (nibble % 2 == 0 ? 4 : 0)));
        ++nibble;
    }
    return Uuid(bytes);
}

std::string Uuid::string() const {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(kTextLength);
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (isHyphenPosition(text.size())) text.push_back('-');
        text.push_back(kDigits[bytes_[i] >> 4]);
        text.push_back(kDigits[bytes_[i] & 0x0F]);
    }
    return text;
}

}  // namespace parcelo
