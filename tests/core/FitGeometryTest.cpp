// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The sizes a fit decodes, tries and cuts, as plain arithmetic on whole pixels.
#include <gtest/gtest.h>

#include "FitGeometry.h"

using namespace parcelo::geometry;
using Verdict = ExactDecode::Verdict;

// The original size capped at 8,192 px (the fitter's tests show the rest); each step 80 % of the
// last until an edge under 64 px.
TEST(SizeModeGeometry, DecodeEdgeAndShrinkSteps) {
    EXPECT_EQ(sizeModeDecodeEdge(10'000, 0), 8'192);
    const std::pair<PixelSize, std::optional<PixelSize>> steps[] = {
        {{100, 100}, PixelSize{80, 80}}, {{80, 80}, PixelSize{64, 64}},
        {{64, 64}, std::nullopt},        {{70, 30}, std::nullopt},  // 51 × 51 and 56 × 24 are too small to be useful
        {{1'000, 1}, PixelSize{800, 1}},  // a side never falls to 0
    };
    for (const auto& [size, next] : steps) EXPECT_EQ(nextSmallerSize(size), next) << size.width << " x " << size.height;
    const std::vector<PixelSize> ladder = sizeLadder({8'192, 8'192});
    ASSERT_EQ(ladder.size(), 22u);
    EXPECT_EQ(ladder[1], (PixelSize{6'553, 6'553}));
    EXPECT_EQ(ladder.back().longest(), 73);
}

// The decode covers the frame with a margin; sources too small on either side are refused, and
// the processing limit counts decoded pixels: exactly 64 MP passes, one column more does not.
TEST(ExactGeometry, DecodeVerdictAndEdge) {
    const std::tuple<PixelSize, std::optional<int>, PixelSize, Verdict, std::int64_t> cases[] = {
        {{4'000, 3'000}, 1, {1'080, 1'080}, Verdict::fits, 1'442},  // 0.36 × 4,000 + 2
        {{4'000, 3'000}, 6, {3'000, 4'000}, Verdict::fits, 4'000},  // sideways: shown 3,000 × 4,000
        {{4'000, 3'000}, 1, {3'000, 4'000}, Verdict::sourceTooSmall, 0},
        {{1'000, 800}, std::nullopt, {1'200, 600}, Verdict::sourceTooSmall, 0},
        {{20'000, 4'000}, std::nullopt, {4'096, 4'000}, Verdict::processingLimit, 0},
        {{16'000, 4'000}, std::nullopt, {4'096, 4'000}, Verdict::fits, 16'000},
        {{16'001, 4'000}, std::nullopt, {4'096, 4'000}, Verdict::processingLimit, 0},
    };
    for (const auto& [stored, orientation, frame, verdict, edge] : cases) {
        const ExactDecode decode = exactDecode(stored, orientation, frame);
        const std::string trace = std::to_string(stored.width) + " into " + std::to_string(frame.width);
        EXPECT_EQ(decode.verdict, verdict) << trace;
        EXPECT_EQ(decode.verdict == Verdict::fits ? decode.decodeEdge : 0, edge) << trace;
    }
}

// The anchor moves the frame across the overflow only; the same shape is never cut.
TEST(ExactGeometry, CropAnchorMovesTheFrameAcrossTheOverflowOnly) {
    struct Case { PixelSize decoded, frame; parcelo::CropPosition crop; PixelSize scaled; std::int64_t left, top; };
    const Case cases[] = {
        {{3'000, 2'000}, {1'000, 1'000}, {0, 0.5}, {1'500, 1'000}, 0, 0},
        {{3'000, 2'000}, {1'000, 1'000}, {1, 0.5}, {1'500, 1'000}, 500, 0},
        {{3'000, 2'000}, {1'000, 1'000}, {0.5, 1}, {1'500, 1'000}, 250, 0},
        {{2'000, 3'000}, {1'000, 1'000}, {0.5, 1}, {1'000, 1'500}, 0, 500},
        {{2'000, 1'000}, {1'000, 500}, {0.3, 0.7}, {1'000, 500}, 0, 0},
    };
    for (const Case& c : cases) {
        const CoverPlacement placement = coverPlacement(c.decoded, c.frame, c.crop);
        EXPECT_EQ(placement.scaled, c.scaled) << c.crop.x << ", " << c.crop.y;
        EXPECT_EQ(std::pair(placement.left, placement.top), std::pair(c.left, c.top)) << c.crop.x << ", " << c.crop.y;
    }
}
