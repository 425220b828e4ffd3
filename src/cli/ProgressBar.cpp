// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ProgressBar.h"

#include <cstdio>

namespace parcelo::cli {

namespace {

constexpr std::size_t kBarWidth = 24;
constexpr std::size_t kLongestName = 40;
constexpr const char* kEraseLine = "\r\x1b[K";

bool isContinuationByte(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string bar(std::size_t done, std::size_t total) {
    const std::size_t filled = total == 0 ? kBarWidth : done * kBarWidth / total;
    return "[" + std::string(filled, '#') + std::string(kBarWidth - filled, '-') + "]";
}

}  // namespace

ProgressBar::ProgressBar(std::ostream& terminal, bool enabled, std::size_t total)
    : terminal_(terminal), enabled_(enabled), total_(total) {}

void ProgressBar::show(std::size_t done, const std::string& currentName) {
    if (!enabled_) return;
    const auto elapsed = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start_);
    terminal_ << kEraseLine << bar(done, total_) << ' ' << done << '/' << total_ << " \u00b7 "
              << shortened(currentName, kLongestName) << " \u00b7 " << elapsedText(elapsed) << std::flush;
    drawn_ = true;
}

void ProgressBar::clear() {
    if (!drawn_) return;
    terminal_ << kEraseLine << std::flush;
    drawn_ = false;
}

std::string elapsedText(std::chrono::seconds elapsed) {
    const long long total = elapsed.count();
    char text[32];
    if (total >= 3600)
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", total / 3600, total / 60 % 60, total % 60);
    else
        std::snprintf(text, sizeof text, "%lld:%02lld", total / 60, total % 60);
    return text;
}

std::string shortened(const std::string& name, std::size_t longest) {
    std::size_t characters = 0;
    std::size_t cut = name.size();
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (isContinuationByte(name[at])) continue;
        if (++characters == longest) cut = at;  // the last character kept gives way to "…"
    }
    return characters <= longest ? name : name.substr(0, cut) + "\u2026";
}

}  // namespace parcelo::cli
