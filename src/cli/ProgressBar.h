// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>

namespace parcelo::cli {

// One line on a terminal that shows how far a run has come: done/total, the image being
// waited for and the time since the start. Draws nothing when the stream is no terminal.
class ProgressBar {
public:
    ProgressBar(std::ostream& terminal, bool enabled, std::size_t total);

    void show(std::size_t done, const std::string& currentName);
    // Removes the line, so that other output starts on a clean line.
    void clear();

private:
    std::ostream& terminal_;
    bool enabled_;
    bool drawn_ = false;
    std::size_t total_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// "m:ss", or "h:mm:ss" from an hour on.
std::string elapsedText(std::chrono::seconds elapsed);

// At most `longest` characters of name, ending in "…" when shortened; never splits a character.
std::string shortened(const std::string& name, std::size_t longest);

}  // namespace parcelo::cli
