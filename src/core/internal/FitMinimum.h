// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <vector>

#include "FitSearch.h"

// The step after the search when a form also asks for a smallest file size.
namespace parcelo::detail {

// The file of the copy's pixels at one JPEG encoder setting (1–100).
using EncodeAtSetting = std::function<std::vector<std::uint8_t>(int setting)>;

// A copy under minBytes is encoded again at the same size at higher JPEG qualities, up to the
// best, and the lowest quality whose file reaches minBytes within targetBytes is taken. A copy is
// never padded and never enlarged: a PNG, or a JPEG that stays under minBytes even at the best
// quality, fails with FitError::minimumUnreachable. `encodeAt` encodes the pixels the found copy
// was made of. Throws FitError (minimumUnreachable, cannotEncode) or CancellationError.
Found reachMinimum(Found found, const EncodeAtSetting& encodeAt, bool usePNG, std::int64_t minBytes,
                   std::int64_t targetBytes, const std::stop_token& stopToken);

}  // namespace parcelo::detail
