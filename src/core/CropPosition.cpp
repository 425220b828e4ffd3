// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "CropPosition.h"

#include <cmath>

namespace parcelo {

bool CropPosition::isValid() const {
    auto anchorOk = [](double value) { return std::isfinite(value) && value >= 0.0 && value <= 1.0; };
    return anchorOk(x) && anchorOk(y);
}

}  // namespace parcelo
