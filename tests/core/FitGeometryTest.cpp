#include <gtest/gtest.h>

#include "FitGeometry.h"

using namespace parcelo::geometry;
using Verdict = ExactDecode::Verdict;

TEST(SizeModeGeometry, DecodeEdgeNeverEnlargesAndHonoursTheCap) {
    EXPECT_EQ(sizeModeDecodeEdge(4'000, 2'000), 2'000);
    EXPECT_EQ(sizeModeDecodeEdge(1'200, 0), 1'200);
    EXPECT_EQ(sizeModeDecodeEdge(1'200, 2'000), 1'200);
    EXPECT_EQ(sizeModeDecodeEdge(10'000, 0), 8'192);
}

TEST(SizeModeGeometry, ShrinkStepsStopUnderTheSmallestUsefulEdge) {
    EXPECT_EQ(nextSmallerSize({100, 100}), (PixelSize{80, 80}));
    EXPECT_EQ(nextSmallerSize({80, 80}), (PixelSize{64, 64}));
    EXPECT_FALSE(nextSmallerSize({64, 64}));  // 51 × 51 is too small to be useful
    EXPECT_FALSE(nextSmallerSize({70, 30}));  // 56 × 24
    EXPECT_EQ(nextSmallerSize({1'000, 1}), (PixelSize{800, 1}));  // a side never falls to 0
}

TEST(SizeModeGeometry, FromTheCapAtMostTwentyTwoSizesAreTried) {
    const std::vector<PixelSize> ladder = sizeLadder({8'192, 8'192});
    ASSERT_EQ(ladder.size(), 22u);
    EXPECT_EQ(ladder.front(), (PixelSize{8'192, 8'192}));
    EXPECT_EQ(ladder[1], (PixelSize{6'553, 6'553}));
    EXPECT_EQ(ladder.back().longest(), 73);
    EXPECT_EQ(sizeLadder({100, 100}), (std::vector<PixelSize>{{100, 100}, {80, 80}, {64, 64}}));
}

TEST(ExactGeometry, OrientationSwapsTheSidesOnlyForFiveToEight) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const PixelSize oriented = orientedSize({4'000, 3'000}, orientation);
        EXPECT_EQ(oriented.width, orientation >= 5 ? 3'000 : 4'000) << orientation;
    }
    EXPECT_EQ(orientedSize({4'000, 3'000}, std::nullopt), (PixelSize{4'000, 3'000}));
    EXPECT_EQ(orientedSize({4'000, 3'000}, 9), (PixelSize{4'000, 3'000}));
}

TEST(ExactGeometry, DecodeEdgeCoversTheFrameWithAMargin) {
    const ExactDecode square = exactDecode({4'000, 3'000}, 1, {1'080, 1'080});
    EXPECT_EQ(square.verdict, Verdict::fits);
    EXPECT_EQ(square.decodeEdge, 1'442);  // 0.36 × 4,000 + 2
    // Sideways portrait: stored 4,000 × 3,000, shown 3,000 × 4,000.
    const ExactDecode upright = exactDecode({4'000, 3'000}, 6, {3'000, 4'000});
    EXPECT_EQ(upright.verdict, Verdict::fits);
    EXPECT_EQ(upright.decodeEdge, 4'000);
}

// Sources too small on either side are refused; the processing limit counts decoded pixels.
TEST(ExactGeometry, RefusesSourcesTooSmallOrTooCostlyToDecode) {
    EXPECT_EQ(exactDecode({1'000, 800}, std::nullopt, {1'200, 600}).verdict, Verdict::sourceTooSmall);
    EXPECT_EQ(exactDecode({4'000, 3'000}, 1, {3'000, 4'000}).verdict, Verdict::sourceTooSmall);
    EXPECT_EQ(exactDecode({20'000, 4'000}, std::nullopt, {4'096, 4'000}).verdict, Verdict::processingLimit);
    // Full height needed, so the whole panorama is decoded: exactly 64 MP passes, one column more fails.
    EXPECT_EQ(exactDecode({16'000, 4'000}, std::nullopt, {4'096, 4'000}).verdict, Verdict::fits);
    EXPECT_EQ(exactDecode({16'001, 4'000}, std::nullopt, {4'096, 4'000}).verdict, Verdict::processingLimit);
}

TEST(ExactGeometry, CropAnchorMovesTheFrameAcrossTheOverflowOnly) {
    const PixelSize decoded{3'000, 2'000}, frame{1'000, 1'000};
    const CoverPlacement left = coverPlacement(decoded, frame, {0, 0.5});
    const CoverPlacement right = coverPlacement(decoded, frame, {1, 0.5});
    const CoverPlacement centre = coverPlacement(decoded, frame, {0.5, 0.5});
    EXPECT_EQ(left.scaled, (PixelSize{1'500, 1'000}));
    EXPECT_EQ(left.left, 0);
    EXPECT_EQ(right.left, 500);
    EXPECT_EQ(centre.left, 250);
    EXPECT_EQ(centre.top, 0);  // no vertical overflow, so y has no effect
    EXPECT_EQ(coverPlacement(decoded, frame, {0.5, 1}).top, 0);
    // The same shape includes the whole image wherever the anchor is.
    for (double x : {0.0, 0.3, 1.0}) {
        const CoverPlacement placement = coverPlacement({2'000, 1'000}, {1'000, 500}, {x, 1 - x});
        EXPECT_EQ(placement.scaled, (PixelSize{1'000, 500}));
        EXPECT_EQ(placement.left, 0);
        EXPECT_EQ(placement.top, 0);
    }
}
