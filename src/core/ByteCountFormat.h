// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <string>

namespace parcelo {

// A byte count as people read it, in decimal units: "Zero KB", "1 byte", "999 bytes",
// "500 KB", "4.2 MB", "1.23 GB".
std::string formatByteCount(std::int64_t bytes);

}  // namespace parcelo
