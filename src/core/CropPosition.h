// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

namespace parcelo {

// Where the exact-size frame sits on an image of another shape: 0 keeps the left (top)
// edge, 1 the right (bottom) edge, 0.5 centres.
struct CropPosition {
    double x = 0.5;
    double y = 0.5;

    static constexpr CropPosition center() { return {0.5, 0.5}; }
    [[nodiscard]] bool isValid() const;

    friend bool operator==(const CropPosition&, const CropPosition&) = default;
};

}  // namespace parcelo
