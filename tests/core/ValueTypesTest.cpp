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

TEST(FitSettings, SizeLimitBoundsAreInclusive) {
    EXPECT_FALSE(sized(9'999, 0).isValid());
    EXPECT_TRUE(sized(10'000, 0).isValid());
    EXPECT_TRUE(sized(25'000'000, 0).isValid());
    EXPECT_FALSE(sized(25'000'001, 0).isValid());
    EXPECT_FALSE(sized(-10'000, 0).isValid());
}

TEST(FitSettings, EdgeLimitIsZeroOrWithinRange) {
    for (std::int64_t edge : {0, 64, 8'192}) EXPECT_TRUE(sized(100'000, edge).isValid()) << edge;
    for (std::int64_t edge : {-1, 1, 63, 8'193}) EXPECT_FALSE(sized(100'000, edge).isValid()) << edge;
}

TEST(FitSettings, ExactDimensionsNeedBothSidesInRange) {
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

TEST(FitSettings, JsonRoundTripKeepsEveryField) {
    const FitSettings settings{123'000, 1'920, OutputFormat::png, 640, 480};
    const json stored = settings;
    EXPECT_EQ(stored, json::parse(R"({"targetBytes":123000,"maxEdge":1920,"outputFormat":"png",
                                      "exactWidth":640,"exactHeight":480})"));
    EXPECT_EQ(stored.get<FitSettings>(), settings);
}

TEST(FitSettings, JsonWithMissingKeyWrongTypeOrUnknownFormatDoesNotDecode) {
    const json good = FitSettings{100'000, 0, OutputFormat::jpeg, 0, 0};
    for (const char* key : {"targetBytes", "maxEdge", "outputFormat", "exactWidth", "exactHeight"}) {
        json missing = good;
        missing.erase(key);
        EXPECT_THROW(missing.get<FitSettings>(), json::exception) << key;
    }
    for (const json& format : {json("JPEG"), json("webp"), json(""), json(1)}) {
        json changed = good;
        changed["outputFormat"] = format;
        EXPECT_THROW(changed.get<FitSettings>(), json::exception) << format;
    }
    json fractional = good;
    fractional["targetBytes"] = 12.5;
    EXPECT_THROW(fractional.get<FitSettings>(), json::exception);
    json text = good;
    text["maxEdge"] = "100";
    EXPECT_THROW(text.get<FitSettings>(), json::exception);
}

TEST(FitSettings, OutOfRangeValuesStillDecode) {
    const auto read = json::parse(R"({"targetBytes":5,"maxEdge":0,"outputFormat":"auto","exactWidth":0,"exactHeight":0})")
                          .get<FitSettings>();
    EXPECT_EQ(read.targetBytes, 5);
    EXPECT_FALSE(read.isValid());
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
    EXPECT_TRUE(CropPosition::center().isValid());
    EXPECT_EQ(CropPosition::center(), (CropPosition{0.5, 0.5}));
    EXPECT_TRUE((CropPosition{1, 0}).isValid());
    EXPECT_FALSE((CropPosition{-0.0001, 0.5}).isValid());
    EXPECT_FALSE((CropPosition{1.0001, 0.5}).isValid());
    EXPECT_FALSE((CropPosition{std::nan(""), 0.5}).isValid());
    EXPECT_FALSE((CropPosition{0.5, std::numeric_limits<double>::infinity()}).isValid());
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
    EXPECT_EQ(FitError(FitError::Case::unreadable), FitError(FitError::Case::unreadable));
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
