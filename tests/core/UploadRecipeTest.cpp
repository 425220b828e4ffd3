#include "UploadRecipe.h"

#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace parcelo {
namespace {

using nlohmann::json;

const FitSettings kValidSettings{
    .targetBytes = 500'000, .maxEdge = 1'920, .outputFormat = OutputFormat::automatic, .exactWidth = 0, .exactHeight = 0};

UploadRecipe named(const std::string& name, const FitSettings& settings = kValidSettings) {
    return {Uuid::random(), name, settings};
}

std::string repeated(const std::string& piece, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

// --- Names ------------------------------------------------------------------------------------

TEST(UploadRecipeValidity, NameOfOnlyWhiteSpaceIsInvalid) {
    EXPECT_FALSE(named("").isValid());
    EXPECT_FALSE(named("   ").isValid());
    EXPECT_FALSE(named("\n").isValid());
    EXPECT_FALSE(named("\t\r\n \u2003\u00a0").isValid());  // tab, return, em space, no-break space
    EXPECT_TRUE(named(" a ").isValid());
}

TEST(UploadRecipeValidity, FortyCharactersAreTheLongestName) {
    EXPECT_TRUE(named(repeated("a", 40)).isValid());
    EXPECT_FALSE(named(repeated("a", 41)).isValid());
}

TEST(UploadRecipeValidity, SpaceAroundTheStoredNameCountsTowardsForty) {
    EXPECT_FALSE(named(" " + repeated("a", 39) + " ").isValid());
    EXPECT_TRUE(named(" " + repeated("a", 38) + " ").isValid());
}

TEST(UploadRecipeValidity, CharactersAreWhatTheUserSeesNotBytes) {
    const std::string thumbsUpMediumSkin = "\U0001F44D\U0001F3FD";       // two code points, one character
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";  // joined emoji
    const std::string accentedE = "e\u0301";                              // letter plus combining accent
    for (const std::string& character : {thumbsUpMediumSkin, family, accentedE}) {
        EXPECT_EQ(characterCount(character), 1u) << character;
        EXPECT_TRUE(named(repeated(character, 40)).isValid()) << character;
        EXPECT_FALSE(named(repeated(character, 41)).isValid()) << character;
    }
}

TEST(UploadRecipeValidity, InvalidSettingsMakeTheRecipeInvalid) {
    FitSettings tooSmall = kValidSettings;
    tooSmall.targetBytes = 9'999;
    EXPECT_FALSE(named("Web photo", tooSmall).isValid());
    FitSettings halfExact = kValidSettings;
    halfExact.exactWidth = 600;
    EXPECT_FALSE(named("Web photo", halfExact).isValid());
}

// --- The examples -----------------------------------------------------------------------------

TEST(UploadRecipeExamples, ThreeExamplesInOrderWithTheirRequirements) {
    const std::vector<UploadRecipe>& examples = UploadRecipe::examples();
    ASSERT_EQ(examples.size(), 3u);
    EXPECT_EQ(examples[0].name(), "Web photo");
    EXPECT_EQ(examples[0].settings(), (FitSettings{500'000, 1'920, OutputFormat::automatic, 0, 0}));
    EXPECT_EQ(examples[1].name(), "Square thumbnail");
    EXPECT_EQ(examples[1].settings(), (FitSettings{200'000, 2'560, OutputFormat::jpeg, 600, 600}));
    EXPECT_EQ(examples[2].name(), "Portrait upload");
    EXPECT_EQ(examples[2].settings(), (FitSettings{200'000, 2'560, OutputFormat::jpeg, 600, 800}));
    for (const UploadRecipe& example : examples) EXPECT_TRUE(example.isValid()) << example.name();
}

TEST(UploadRecipeExamples, ExamplesAreBuiltOnceWithDistinctIds) {
    const std::vector<UploadRecipe>& first = UploadRecipe::examples();
    const std::vector<UploadRecipe> copy = first;
    EXPECT_EQ(&UploadRecipe::examples(), &first);
    EXPECT_EQ(UploadRecipe::examples(), copy);
    const std::set<std::string> ids{first[0].id().string(), first[1].id().string(), first[2].id().string()};
    EXPECT_EQ(ids.size(), 3u);
}

TEST(UploadRecipeExamples, ThreadsReadingFirstShareOneList) {
    std::vector<const std::vector<UploadRecipe>*> seen(8, nullptr);
    {
        std::vector<std::jthread> readers;
        for (std::size_t i = 0; i < seen.size(); ++i)
            readers.emplace_back([&seen, i] { seen[i] = &UploadRecipe::examples(); });
    }
    for (const auto* list : seen) EXPECT_EQ(list, &UploadRecipe::examples());
}

// --- Identity and equality --------------------------------------------------------------------

TEST(UploadRecipeEquality, CanonicallyEquivalentNamesAreEqual) {
    const Uuid id = Uuid::random();
    const UploadRecipe composed(id, "Caf\u00e9", kValidSettings);
    const UploadRecipe decomposed(id, "Cafe\u0301", kValidSettings);
    EXPECT_EQ(composed, decomposed);
    EXPECT_NE(composed, UploadRecipe(id, "cafe\u0301", kValidSettings));
}

TEST(UploadRecipeEquality, IdAndSettingsMustMatch) {
    const UploadRecipe recipe = named("Shop");
    EXPECT_EQ(recipe, UploadRecipe(recipe.id(), "Shop", kValidSettings));
    EXPECT_NE(recipe, UploadRecipe(Uuid::random(), "Shop", kValidSettings));
    FitSettings png = kValidSettings;
    png.outputFormat = OutputFormat::png;
    EXPECT_NE(recipe, UploadRecipe(recipe.id(), "Shop", png));
}

TEST(UuidForm, RandomIdsAreVersionFourInUpperCase) {
    std::set<std::string> ids;
    for (int i = 0; i < 1'000; ++i) {
        const std::string text = Uuid::random().string();
        ASSERT_EQ(text.size(), 36u);
        EXPECT_EQ(text[8], '-');
        EXPECT_EQ(text[13], '-');
        EXPECT_EQ(text[14], '4') << text;
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF-"), std::string::npos) << text;
        ids.insert(text);
    }
    EXPECT_EQ(ids.size(), 1'000u);
}

TEST(UuidForm, TextReadsBackInEitherCase) {
    const std::optional<Uuid> upper = Uuid::fromString("6B29FC40-CA47-1067-B31D-00DD010662DA");
    ASSERT_TRUE(upper.has_value());
    EXPECT_EQ(upper->string(), "6B29FC40-CA47-1067-B31D-00DD010662DA");
    EXPECT_EQ(Uuid::fromString("6b29fc40-ca47-1067-b31d-00dd010662da"), upper);
}

TEST(UuidForm, MalformedTextIsNoUuid) {
    for (const char* text : {"", "not a uuid", "6B29FC40CA471067B31D00DD010662DA", "6B29FC40-CA47-1067-B31D-00DD010662D",
                             "6B29FC40-CA47-1067-B31D-00DD010662DAA", "{6B29FC40-CA47-1067-B31D-00DD010662DA}",
                             "6B29FC40-CA47-1067-B31D_00DD010662DA", "6B29FC4G-CA47-1067-B31D-00DD010662DA",
                             "6B29FC40-CA4-71067-B31D-00DD010662DA"}) {
        EXPECT_FALSE(Uuid::fromString(text).has_value()) << text;
    }
}

// --- Stored form --------------------------------------------------------------------------------

TEST(UploadRecipeJson, WritesIdNameAndSettings) {
    const UploadRecipe recipe(*Uuid::fromString("6b29fc40-ca47-1067-b31d-00dd010662da"), " Shop ",
                              FitSettings{200'000, 2'560, OutputFormat::jpeg, 600, 800});
    const json stored = recipe;
    EXPECT_EQ(stored, json::parse(R"({"id": "6B29FC40-CA47-1067-B31D-00DD010662DA", "name": " Shop ",
        "settings": {"targetBytes": 200000, "maxEdge": 2560, "outputFormat": "jpeg",
                     "exactWidth": 600, "exactHeight": 800}})"));
}

TEST(UploadRecipeJson, ReadsBackWhatItWrote) {
    for (const UploadRecipe& example : UploadRecipe::examples()) {
        const json stored = example;
        EXPECT_EQ(stored.get<UploadRecipe>(), example);
    }
    const json list = UploadRecipe::examples();
    ASSERT_TRUE(list.is_array());
    EXPECT_EQ(list.get<std::vector<UploadRecipe>>(), UploadRecipe::examples());
}

json storedRecipe() {
    return json::parse(R"({"id": "6b29fc40-ca47-1067-b31d-00dd010662da", "name": "Shop",
        "settings": {"targetBytes": 200000, "maxEdge": 0, "outputFormat": "png", "exactWidth": 0, "exactHeight": 0}})");
}

TEST(UploadRecipeJson, ReadsLowerCaseIds) {
    const UploadRecipe recipe = storedRecipe().get<UploadRecipe>();
    EXPECT_EQ(recipe.id().string(), "6B29FC40-CA47-1067-B31D-00DD010662DA");
    EXPECT_EQ(recipe.name(), "Shop");
    EXPECT_EQ(recipe.settings(), (FitSettings{200'000, 0, OutputFormat::png, 0, 0}));
}

TEST(UploadRecipeJson, MalformedRecipesDoNotDecode) {
    std::vector<json> broken(6, storedRecipe());
    broken[0]["id"] = "not-a-uuid";
    broken[1]["id"] = 42;
    broken[2].erase("name");
    broken[3]["name"] = json::array({"Shop"});
    broken[4]["settings"].erase("maxEdge");
    broken[5].erase("settings");
    for (const json& stored : broken) EXPECT_THROW(stored.get<UploadRecipe>(), json::exception) << stored.dump();
}

TEST(UploadRecipeJson, OneBadRecipeSpoilsTheWholeList) {
    json list = json::array({storedRecipe(), storedRecipe()});
    list[1]["id"] = "6B29FC40";
    EXPECT_THROW(list.get<std::vector<UploadRecipe>>(), json::exception);
}

TEST(UploadRecipeJson, OutOfRangeSettingsDecodeButAreInvalid) {
    json stored = storedRecipe();
    stored["settings"]["targetBytes"] = 5;
    const UploadRecipe recipe = stored.get<UploadRecipe>();
    EXPECT_EQ(recipe.settings().targetBytes, 5);
    EXPECT_FALSE(recipe.isValid());
}

}  // namespace
}  // namespace parcelo
