// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

// What the engine promises for any bytes at all, checked the same way by the fuzzers and by the
// regression test of the normal build. A broken promise is thrown as BrokenPromise; an engine
// failure other than a FitError escapes as it is. Either one is a fault. Each check returns
// what became of the input: "ok", or the name of the FitError case.
namespace parcelo::fuzz {

struct BrokenPromise : std::logic_error {
    using std::logic_error::logic_error;
};

inline void require(bool promise, const char* what) {
    if (!promise) throw BrokenPromise(what);
}

// The bytes as a file: validated and decoded up to the 400-pixel preview of the thumbnail pass.
std::string checkSource(std::span<const std::uint8_t> bytes);

// The bytes as a file, fitted to 10 KB at a small edge or exact size; the last byte chooses the
// format, the mode and the crop.
std::string checkFit(std::span<const std::uint8_t> bytes);

// The bytes as a program that builds a folder tree (names, extensions, links, pipes, hidden
// entries, permissions, depth), scanned as a dropped folder: "ok", "stopped" (more images than
// the limit drawn from the bytes) or "too many entries".
std::string checkScan(std::span<const std::uint8_t> bytes);

// The bytes as the stored requirements and as the stored recipe library: "settings", "recipes",
// "both" for what was restored, or "defaults".
std::string checkStoredForms(std::span<const std::uint8_t> bytes);

}  // namespace parcelo::fuzz
