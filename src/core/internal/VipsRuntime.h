// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <vips/vips8>

namespace parcelo::detail {

// Starts libvips once per process: no operation cache (each fit decodes once and keeps
// its own pixels), and none of the library's warnings on the user's terminal.
void ensureVipsStarted();

// libvips keeps one error buffer for the whole process; drop what a failed call left there.
void clearVipsError();

// While one lives (in any thread), the process's standard error goes nowhere. libde265, the
// decoder behind HEIC, prints some stream errors straight to it; a damaged file must be
// reported as the engine's error, never as a line on the user's terminal. Costs nothing when
// `active` is false.
class MutedStandardError {
public:
    explicit MutedStandardError(bool active);
    ~MutedStandardError();
    MutedStandardError(const MutedStandardError&) = delete;
    MutedStandardError& operator=(const MutedStandardError&) = delete;

private:
    bool active_;
};

}  // namespace parcelo::detail
