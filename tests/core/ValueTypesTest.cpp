// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The values the engine, the app and the command line pass around, the recipes that name
// them, and their stored form.
#include <cmath>
#include <limits>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "CropPosition.h"
#include "FitError.h"
#include "FitSettings.h"
#include "RequirementSummary.h"
#include "UploadRecipe.h"

using namespace parcelo;
using nlohmann::json;

// A crop position is a point of the unit square. (parcelo-fit's tests walk each bound of the
// requirements; a recipe's test shows that a half-given exact size is invalid.)
TEST(FitSettings, CropPositionIsAPointOfTheUnitSquare) {
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
        messages.insert(error.errorDescription());
    }
    EXPECT_EQ(messages.size(), FitError::allCases.size());
}

// Decimal units as the desktop shows them.
TEST(ByteCountFormat, DecimalUnits) {
    const std::pair<std::int64_t, const char*> cases[] = {
        {0, "Zero KB"},      {1, "1 byte"},     {999, "999 bytes"},    {1'000, "1 KB"},
        {12'345, "12 KB"},   {999'999, "1 MB"}, {4'200'000, "4.2 MB"}, {1'234'567'890, "1.23 GB"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}

namespace {

const FitSettings kValidSettings{500'000, 1'920, OutputFormat::automatic, 0, 0};

std::string repeated(const std::string& piece, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

// A name is more than white space and at most 40 characters as the user sees them (an emoji of
// several code points, a letter and its accent: one each), the space around it included.
TEST(UploadRecipe, ValidityOfNameAndSettings) {
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    const std::pair<std::string, bool> names[] = {
        {"", false}, {"   ", false}, {"\t\r\n \u2003\u00a0", false}, {" a ", true},
        {" " + repeated("a", 38) + " ", true}, {" " + repeated("a", 39) + " ", false},
        {repeated(family, 40), true}, {repeated(family, 41), false},
        {repeated("e\u0301", 40), true}, {repeated("e\u0301", 41), false},
    };
    for (const auto& [name, valid] : names)
        EXPECT_EQ(UploadRecipe(Uuid::random(), name, kValidSettings).isValid(), valid) << '"' << name << '"';
    FitSettings halfExact = kValidSettings;
    halfExact.exactWidth = 600;
    EXPECT_FALSE(UploadRecipe(Uuid::random(), "Web photo", halfExact).isValid());
}

// Of two recipes whose names differ only in letter case, the one whose name is canonically
// equal is found (parcelo-fit's tests find names trimmed, in any case, the user's first).
TEST(UploadRecipe, FoundByTheCanonicallyEqualNameFirst) {
    const FitSettings shout{400'000, 0, OutputFormat::png, 0, 0};
    const std::vector<UploadRecipe> library{{Uuid::random(), "Shop photo", kValidSettings},
                                            {Uuid::random(), "SHOP PHOTO", shout}};
    EXPECT_EQ(recipeNamed("SHOP PHOTO", library).value().settings(), shout);
    EXPECT_EQ(recipeNamed(" shop photo", library).value().settings(), kValidSettings);
}

json storedRecipe() {
    return json::parse(R"({"id": "6b29fc40-ca47-1067-b31d-00dd010662da", "name": " Shop ",
        "settings": {"targetBytes": 200000, "maxEdge": 0, "outputFormat": "png",
                     "exactWidth": 600, "exactHeight": 800}})");
}

// Out-of-range settings still decode (the recipe is then invalid); anything malformed, or a
// number past the 64-bit range, does not (the model's tests show one spoils the whole list).
TEST(UploadRecipeJson, ReadsBackWhatItWritesAndNothingMalformed) {
    const UploadRecipe read = storedRecipe().get<UploadRecipe>();
    EXPECT_EQ(read, UploadRecipe(*Uuid::fromString("6B29FC40-CA47-1067-B31D-00DD010662DA"), " Shop ",
                                 {200'000, 0, OutputFormat::png, 600, 800}));
    EXPECT_EQ(json(read).get<UploadRecipe>(), read);
    EXPECT_EQ(json(UploadRecipe::examples()).get<std::vector<UploadRecipe>>(), UploadRecipe::examples());
    for (const UploadRecipe& example : UploadRecipe::examples()) EXPECT_TRUE(example.isValid()) << example.name();
    json outOfRange = storedRecipe();
    outOfRange["settings"]["targetBytes"] = 5;
    EXPECT_FALSE(outOfRange.get<UploadRecipe>().isValid());

    std::vector<json> broken(9, storedRecipe());
    broken[0]["id"] = "6B29FC40-CA47-1067-B31D_00DD010662DA";
    broken[1]["id"] = 42;
    broken[2].erase("name");
    broken[3]["name"] = json::array({"Shop"});
    broken[4]["settings"].erase("maxEdge");
    broken[5].erase("settings");
    broken[6]["id"] = "{6B29FC40-CA47-1067-B31D-00DD010662DA}";
    broken[7]["settings"]["outputFormat"] = "JPEG";
    broken[8]["settings"]["targetBytes"] = json::parse("18446744073709551615");  // must not wrap round
    for (const json& stored : broken) EXPECT_THROW(stored.get<UploadRecipe>(), json::exception) << stored.dump();
}

}  // namespace

namespace {

// A smallest size and a resolution are optional: none by default, stored only when set, so
// requirements stored before them read back as before, with none; out of range is invalid, a
// value of the wrong kind unreadable. The summary names the resolution also without a minimum.
TEST(FitSettings, SmallestSizeAndResolutionAreOptionalInRangeAndInTheStoredForm) {
    const auto with = [](std::int64_t minBytes, std::int64_t dpi) {
        return FitSettings{.targetBytes = 50'000, .maxEdge = 0, .outputFormat = OutputFormat::jpeg,
                           .exactWidth = 200, .exactHeight = 230, .minBytes = minBytes, .dpi = dpi};
    };
    for (const auto& [minBytes, dpi] : {std::pair{0, 0}, {1'000, 72}, {50'000, 1'200}, {20'000, 200}})
        EXPECT_TRUE(with(minBytes, dpi).isValid()) << minBytes << " " << dpi;
    for (const auto& [minBytes, dpi] : {std::pair{999, 0}, {50'001, 0}, {-1, 0}, {0, 71}, {0, 1'201}, {0, -72}})
        EXPECT_FALSE(with(minBytes, dpi).isValid()) << minBytes << " " << dpi;

    const json old = json::parse(
        R"({"targetBytes": 50000, "maxEdge": 0, "outputFormat": "jpeg", "exactWidth": 200, "exactHeight": 230})");
    EXPECT_EQ(old.get<FitSettings>(), with(0, 0));
    EXPECT_EQ(json(with(0, 0)), old);
    json stored = json(with(20'000, 200));
    EXPECT_EQ(stored["minBytes"], 20'000);
    EXPECT_EQ(stored["dpi"], 200);
    EXPECT_EQ(stored.get<FitSettings>(), with(20'000, 200));
    for (const json& wrong : {json("20000"), json(20'000.5), json(nullptr)}) {
        json broken = stored;
        broken["minBytes"] = wrong;
        EXPECT_THROW(broken.get<FitSettings>(), json::exception) << wrong.dump();
    }
    EXPECT_EQ(requirementSummary(with(0, 300)), "\u2264 50 KB \u00b7 200 \u00d7 230 px \u00b7 300 dpi \u00b7 JPEG");
}

}  // namespace
