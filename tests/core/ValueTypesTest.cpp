// The values the engine, the app and the command line pass around, and their stored form.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "CropPosition.h"
#include "FitError.h"
#include "FitResult.h"
#include "FitSettings.h"

using namespace parcelo;
using nlohmann::json;

// Bounds are inclusive; the edge limit may be 0 (none); exact mode needs both sides in range
// and then ignores the edge limit.
TEST(FitSettings, ValidWithinInclusiveBounds) {
    const auto sized = [](std::int64_t bytes, std::int64_t edge) { return FitSettings{bytes, edge, OutputFormat::automatic, 0, 0}; };
    const auto exact = [](std::int64_t width, std::int64_t height) { return FitSettings{500'000, 100, OutputFormat::jpeg, width, height}; };
    const std::pair<FitSettings, bool> cases[] = {
        {sized(10'000, 0), true},    {sized(25'000'000, 0), true},  {sized(9'999, 0), false},
        {sized(25'000'001, 0), false}, {sized(-10'000, 0), false},  {sized(100'000, 64), true},
        {sized(100'000, 8'192), true}, {sized(100'000, -1), false}, {sized(100'000, 63), false},
        {sized(100'000, 8'193), false}, {exact(4'096, 4'096), true}, {exact(64, 64), true},
        {exact(64, 0), false},         {exact(4'097, 64), false},   {exact(63, 64), false},
    };
    for (const auto& [settings, valid] : cases)
        EXPECT_EQ(settings.isValid(), valid) << json(settings).dump();
    EXPECT_FALSE(exact(0, 0).isExact());
    EXPECT_TRUE(exact(64, 0).isExact());
    for (CropPosition valid : {CropPosition::center(), CropPosition{1, 0}}) EXPECT_TRUE(valid.isValid()) << valid.x;
    for (CropPosition invalid : {CropPosition{-0.0001, 0.5}, CropPosition{1.0001, 0.5}, CropPosition{std::nan(""), 0.5},
                                 CropPosition{0.5, std::numeric_limits<double>::infinity()}})
        EXPECT_FALSE(invalid.isValid()) << invalid.x << ", " << invalid.y;
}

TEST(FitError, EveryCaseHasItsOwnTypographicMessage) {
    std::set<std::string_view> messages;
    for (FitError::Case errorCase : FitError::allCases) {
        const FitError error(errorCase);
        EXPECT_EQ(error.errorDescription().find('\''), std::string_view::npos) << error.caseName();
        EXPECT_EQ(error.what(), error.errorDescription());
        messages.insert(error.errorDescription());
    }
    EXPECT_EQ(messages.size(), FitError::allCases.size());
    EXPECT_EQ(FitError(FitError::Case::invalidSettings).errorDescription(),
              "Choose 10–25,000 KB, a maximum edge of 64–8192 px, or exact dimensions of 64–4096 px per side.");
    EXPECT_EQ(FitError(FitError::Case::cannotEncode).errorDescription(),
              "Parcelo couldn’t encode this image. The original hasn’t changed.");
    EXPECT_EQ(FitError(FitError::Case::exactTargetUnreachable).caseName(), "exactTargetUnreachable");
}

// Decimal units as the desktop shows them; what a copy saves is never negative.
TEST(ByteCountFormat, DecimalUnitsAndSavedBytes) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},      {1, "1 byte"},     {999, "999 bytes"},    {1'000, "1 KB"},
        {12'345, "12 KB"},   {999'999, "1 MB"}, {4'200'000, "4.2 MB"}, {1'234'567'890, "1.23 GB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
    FitResult result{std::vector<std::uint8_t>(700), 10, 10, "jpg", 1'000};
    EXPECT_EQ(result.savedBytes(), 300);
    result.originalBytes = 500;
    EXPECT_EQ(result.savedBytes(), 0);
}
