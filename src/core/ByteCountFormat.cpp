// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ByteCountFormat.h"

#include <cmath>
#include <cstdio>
#include <string>

namespace parcelo {

namespace {

// value rounded to `decimals` places, trailing zeros (and a bare point) dropped.
std::string trimmedDecimal(double value, int decimals) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    std::string text = buffer;
    if (text.find('.') != std::string::npos) {
        while (text.back() == '0') text.pop_back();
        if (text.back() == '.') text.pop_back();
    }
    return text;
}

// Thousands separated by commas, as the desktop shows whole numbers.
std::string groupedInteger(std::int64_t value) {
    std::string digits = std::to_string(value);
    for (auto i = static_cast<std::ptrdiff_t>(digits.size()) - 3; i > 0; i -= 3) digits.insert(static_cast<std::size_t>(i), ",");
    return digits;
}

}  // namespace

std::string formatByteCount(std::int64_t bytes) {
    if (bytes == 0) return "Zero KB";
    const std::string sign = bytes < 0 ? "-" : "";
    const double magnitude = std::fabs(static_cast<double>(bytes));
    if (magnitude == 1) return sign + "1 byte";
    if (magnitude < 1'000) return sign + groupedInteger(static_cast<std::int64_t>(magnitude)) + " bytes";

    struct Unit { const char* name; double size; int decimals; };
    static constexpr Unit units[] = {{"KB", 1e3, 0}, {"MB", 1e6, 1}, {"GB", 1e9, 2}, {"TB", 1e12, 2}, {"PB", 1e15, 2}};
    // Take the largest unit the value reaches once rounded, so 999,999 bytes reads "1 MB".
    const Unit* chosen = &units[0];
    for (const Unit& unit : units) {
        if (magnitude >= unit.size) chosen = &unit;
    }
    for (std::size_t i = 0; i + 1 < std::size(units); ++i) {
        const Unit& unit = units[i];
        if (&unit != chosen) continue;
        const double scale = std::pow(10.0, unit.decimals);
        if (std::round(magnitude / unit.size * scale) / scale >= 1'000) chosen = &units[i + 1];
        break;
    }
    return sign + trimmedDecimal(magnitude / chosen->size, chosen->decimals) + " " + chosen->name;
}

}  // namespace parcelo
