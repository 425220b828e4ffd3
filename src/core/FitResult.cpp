// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitResult.h"

#include <algorithm>

namespace parcelo {

std::int64_t FitResult::savedBytes() const {
    return std::max<std::int64_t>(0, originalBytes - static_cast<std::int64_t>(data.size()));
}

}  // namespace parcelo
