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

namespace {

FitSettings sized(std::int64_t bytes, std::int64_t edge) { return {bytes, edge, OutputFormat::automatic, 0, 0}; }
FitSettings exact(std::int64_t width, std::int64_t height) { return {500'000, 0, OutputFormat::jpeg, width, height}; }

}  // namespace

// Bounds are inclusive; the edge limit may be 0 (none); exact mode needs both sides in range.
TEST(FitSettings, ValidWithinInclusiveBounds) {
    for (std::int64_t bytes : {10'000, 25'000'000}) EXPECT_TRUE(sized(bytes, 0).isValid()) << bytes;
    for (std::int64_t bytes : {9'999, 25'000'001, -10'000}) EXPECT_FALSE(sized(bytes, 0).isValid()) << bytes;
    for (std::int64_t edge : {0, 64, 8'192}) EXPECT_TRUE(sized(100'000, edge).isValid()) << edge;
    for (std::int64_t edge : {-1, 1, 63, 8'193}) EXPECT_FALSE(sized(100'000, edge).isValid()) << edge;
    EXPECT_TRUE(exact(0, 0).isValid());
    EXPECT_FALSE(exact(0, 0).isExact());
    EXPECT_FALSE(exact(64, 0).isValid());
    EXPECT_TRUE(exact(64, 0).isExact());
    EXPECT_TRUE(exact(4'096, 4'096).isValid());
    EXPECT_FALSE(exact(4'097, 64).isValid());
    EXPECT_FALSE(exact(63, 64).isValid());
    FitSettings both = exact(200, 200);
    both.maxEdge = 100;  // exact mode ignores the edge limit
    EXPECT_TRUE(both.isValid());
}

TEST(FitSettings, JsonWithMissingKeyWrongTypeOrUnknownFormatDoesNotDecode) {
    const json good = FitSettings{100'000, 0, OutputFormat::jpeg, 0, 0};
    std::vector<json> broken;
    for (const char* key : {"targetBytes", "maxEdge", "outputFormat", "exactWidth", "exactHeight"}) {
        broken.push_back(good);
        broken.back().erase(key);
    }
    // Numbers past the largest signed 64-bit integer must not wrap round to negative ones.
    const std::pair<const char*, json> changes[] = {
        {"outputFormat", "JPEG"},   {"outputFormat", "webp"}, {"outputFormat", ""},
        {"outputFormat", 1},        {"targetBytes", 12.5},    {"maxEdge", "100"},
        {"targetBytes", json::parse("18446744073709551615")}, {"exactWidth", json::parse("9223372036854775808")},
        {"exactHeight", json::parse("-9223372036854775809")}};
    for (const auto& [key, value] : changes) {
        broken.push_back(good);
        broken.back()[key] = value;
    }
    for (const json& stored : broken) EXPECT_THROW(stored.get<FitSettings>(), json::exception) << stored.dump();
    json largest = good;
    largest["maxEdge"] = json::parse("9223372036854775807");
    EXPECT_EQ(largest.get<FitSettings>().maxEdge, std::numeric_limits<std::int64_t>::max());
}

TEST(OutputFormat, RawValuesAndLabelsInListOrder) {
    ASSERT_EQ(kAllOutputFormats.size(), 3u);
    EXPECT_EQ(rawValue(kAllOutputFormats[0]), "auto");
    EXPECT_EQ(rawValue(kAllOutputFormats[1]), "jpeg");
    EXPECT_EQ(rawValue(kAllOutputFormats[2]), "png");
    EXPECT_EQ(label(OutputFormat::automatic), "Automatic");
    EXPECT_EQ(label(OutputFormat::jpeg), "JPEG · white background");
    EXPECT_EQ(label(OutputFormat::png), "PNG · preserve transparency");
    for (OutputFormat format : kAllOutputFormats) EXPECT_EQ(outputFormatFromRaw(rawValue(format)), format);
    EXPECT_FALSE(outputFormatFromRaw("Auto"));
    EXPECT_FALSE(outputFormatFromRaw("jpg"));
}

TEST(CropPosition, AnchorsMustBeFiniteAndWithinTheImage) {
    EXPECT_EQ(CropPosition::center(), (CropPosition{0.5, 0.5}));
    for (CropPosition valid : {CropPosition::center(), CropPosition{1, 0}}) EXPECT_TRUE(valid.isValid()) << valid.x;
    for (CropPosition invalid : {CropPosition{-0.0001, 0.5}, CropPosition{1.0001, 0.5}, CropPosition{std::nan(""), 0.5},
                                 CropPosition{0.5, std::numeric_limits<double>::infinity()}})
        EXPECT_FALSE(invalid.isValid()) << invalid.x << ", " << invalid.y;
}

TEST(FitResult, SavedBytesNeverNegative) {
    FitResult result{std::vector<std::uint8_t>(700), 10, 10, "jpg", 1'000};
    EXPECT_EQ(result.savedBytes(), 300);
    result.originalBytes = 500;
    EXPECT_EQ(result.savedBytes(), 0);
}

TEST(FitError, EveryCaseHasItsOwnTypographicMessage) {
    std::set<std::string_view> messages;
    for (FitError::Case errorCase : FitError::allCases) {
        const FitError error(errorCase);
        EXPECT_FALSE(error.errorDescription().empty());
        EXPECT_EQ(error.errorDescription().find('\''), std::string_view::npos) << error.caseName();
        EXPECT_STREQ(error.what(), std::string(error.errorDescription()).c_str());
        messages.insert(error.errorDescription());
    }
    EXPECT_EQ(messages.size(), FitError::allCases.size());
    EXPECT_EQ(FitError(FitError::Case::invalidSettings).errorDescription(),
              "Choose 10–25,000 KB, a maximum edge of 64–8192 px, or exact dimensions of 64–4096 px per side.");
    EXPECT_EQ(FitError(FitError::Case::cannotEncode).errorDescription(),
              "Parcelo couldn’t encode this image. The original hasn’t changed.");
    EXPECT_EQ(FitError(FitError::Case::exactTargetUnreachable).caseName(), "exactTargetUnreachable");
}

TEST(ByteCountFormat, DecimalUnitsAsTheDesktopShowsThem) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},           {1, "1 byte"},         {999, "999 bytes"},    {1'000, "1 KB"},
        {500'000, "500 KB"},      {1'000'000, "1 MB"},   {4'200'000, "4.2 MB"}, {1'234'567'890, "1.23 GB"},
        {999'999, "1 MB"},        {12'345, "12 KB"},     {2'000'000'000, "2 GB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}
