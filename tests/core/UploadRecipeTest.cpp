#include "UploadRecipe.h"

#include <set>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace parcelo {
namespace {

using nlohmann::json;

const FitSettings kValidSettings{500'000, 1'920, OutputFormat::automatic, 0, 0};

UploadRecipe named(const std::string& name, const FitSettings& settings = kValidSettings) {
    return {Uuid::random(), name, settings};
}

std::string repeated(const std::string& piece, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i) text += piece;
    return text;
}

// A name is more than white space and at most 40 characters as the user sees them, space
// around it included; the settings must be valid too.
TEST(UploadRecipe, ValidityOfNameAndSettings) {
    for (const char* blank : {"", "   ", "\n", "\t\r\n \u2003\u00a0"})  // tab, return, em space, no-break space
        EXPECT_FALSE(named(blank).isValid()) << '"' << blank << '"';
    EXPECT_TRUE(named(" a ").isValid());
    EXPECT_FALSE(named(" " + repeated("a", 39) + " ").isValid());
    EXPECT_TRUE(named(" " + repeated("a", 38) + " ").isValid());

    const std::string thumbsUpMediumSkin = "\U0001F44D\U0001F3FD";                 // two code points
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";  // joined emoji
    const std::string accentedE = "e\u0301";                                     // letter plus combining accent
    for (const std::string& character : {std::string("a"), thumbsUpMediumSkin, family, accentedE}) {
        EXPECT_EQ(characterCount(character), 1u) << character;
        EXPECT_TRUE(named(repeated(character, 40)).isValid()) << character;
        EXPECT_FALSE(named(repeated(character, 41)).isValid()) << character;
    }

    FitSettings tooSmall = kValidSettings, halfExact = kValidSettings;
    tooSmall.targetBytes = 9'999;
    halfExact.exactWidth = 600;
    EXPECT_FALSE(named("Web photo", tooSmall).isValid());
    EXPECT_FALSE(named("Web photo", halfExact).isValid());
}

TEST(UploadRecipe, ThreeExamplesBuiltOnceInOrderWithDistinctIds) {
    const std::vector<UploadRecipe>& examples = UploadRecipe::examples();
    ASSERT_EQ(examples.size(), 3u);
    EXPECT_EQ(examples[0].name(), "Web photo");
    EXPECT_EQ(examples[0].settings(), (FitSettings{500'000, 1'920, OutputFormat::automatic, 0, 0}));
    EXPECT_EQ(examples[1].name(), "Square thumbnail");
    EXPECT_EQ(examples[1].settings(), (FitSettings{200'000, 2'560, OutputFormat::jpeg, 600, 600}));
    EXPECT_EQ(examples[2].name(), "Portrait upload");
    EXPECT_EQ(examples[2].settings(), (FitSettings{200'000, 2'560, OutputFormat::jpeg, 600, 800}));
    for (const UploadRecipe& example : examples) EXPECT_TRUE(example.isValid()) << example.name();

    const std::vector<UploadRecipe> copy = examples;
    EXPECT_EQ(UploadRecipe::examples(), copy);  // same random ids on every call
    const std::set<std::string> ids{examples[0].id().string(), examples[1].id().string(), examples[2].id().string()};
    EXPECT_EQ(ids.size(), 3u);
}

// Equal recipes share id and settings; names count as equal when canonically equivalent.
TEST(UploadRecipe, EqualityOfIdNameAndSettings) {
    const Uuid id = Uuid::random();
    const UploadRecipe composed(id, "Caf\u00e9", kValidSettings);
    EXPECT_EQ(composed, UploadRecipe(id, "Cafe\u0301", kValidSettings));
    EXPECT_NE(composed, UploadRecipe(id, "cafe\u0301", kValidSettings));
    EXPECT_NE(composed, UploadRecipe(Uuid::random(), "Caf\u00e9", kValidSettings));
    FitSettings png = kValidSettings;
    png.outputFormat = OutputFormat::png;
    EXPECT_NE(composed, UploadRecipe(id, "Caf\u00e9", png));
}

TEST(Uuid, RandomIdsAreVersionFourInUpperCase) {
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

TEST(Uuid, TextReadsBackInEitherCaseAndMalformedTextIsNoUuid) {
    const std::optional<Uuid> upper = Uuid::fromString("6B29FC40-CA47-1067-B31D-00DD010662DA");
    ASSERT_TRUE(upper.has_value());
    EXPECT_EQ(upper->string(), "6B29FC40-CA47-1067-B31D-00DD010662DA");
    EXPECT_EQ(Uuid::fromString("6b29fc40-ca47-1067-b31d-00dd010662da"), upper);
    for (const char* text :
         {"", "not a uuid", "6B29FC40CA471067B31D00DD010662DA", "6B29FC40-CA47-1067-B31D-00DD010662D",
          "6B29FC40-CA47-1067-B31D-00DD010662DAA", "{6B29FC40-CA47-1067-B31D-00DD010662DA}",
          "6B29FC40-CA47-1067-B31D_00DD010662DA", "6B29FC4G-CA47-1067-B31D-00DD010662DA",
          "6B29FC40-CA4-71067-B31D-00DD010662DA"})
        EXPECT_FALSE(Uuid::fromString(text).has_value()) << text;
}

// --- Stored form ------------------------------------------------------------------------------

json storedRecipe() {
    return json::parse(R"({"id": "6b29fc40-ca47-1067-b31d-00dd010662da", "name": " Shop ",
        "settings": {"targetBytes": 200000, "maxEdge": 0, "outputFormat": "png",
                     "exactWidth": 600, "exactHeight": 800}})");
}

TEST(UploadRecipeJson, WritesAndReadsIdNameAndSettings) {
    const UploadRecipe read = storedRecipe().get<UploadRecipe>();  // lower-case id
    EXPECT_EQ(read.id().string(), "6B29FC40-CA47-1067-B31D-00DD010662DA");
    EXPECT_EQ(read.name(), " Shop ");
    EXPECT_EQ(read.settings(), (FitSettings{200'000, 0, OutputFormat::png, 600, 800}));
    json expected = storedRecipe();
    expected["id"] = "6B29FC40-CA47-1067-B31D-00DD010662DA";
    EXPECT_EQ(json(read), expected);

    const json list = UploadRecipe::examples();
    ASSERT_TRUE(list.is_array());
    EXPECT_EQ(list.get<std::vector<UploadRecipe>>(), UploadRecipe::examples());
}

// Out-of-range settings still decode (the recipe is then invalid); anything malformed does
// not, and one bad recipe spoils the whole list.
TEST(UploadRecipeJson, MalformedRecipesDoNotDecode) {
    json outOfRange = storedRecipe();
    outOfRange["settings"]["targetBytes"] = 5;
    const UploadRecipe recipe = outOfRange.get<UploadRecipe>();
    EXPECT_EQ(recipe.settings().targetBytes, 5);
    EXPECT_FALSE(recipe.isValid());

    std::vector<json> broken(6, storedRecipe());
    broken[0]["id"] = "not-a-uuid";
    broken[1]["id"] = 42;
    broken[2].erase("name");
    broken[3]["name"] = json::array({"Shop"});
    broken[4]["settings"].erase("maxEdge");
    broken[5].erase("settings");
    for (const json& stored : broken) EXPECT_THROW(stored.get<UploadRecipe>(), json::exception) << stored.dump();

    json list = json::array({storedRecipe(), storedRecipe()});
    list[1]["id"] = "6B29FC40";
    EXPECT_THROW(list.get<std::vector<UploadRecipe>>(), json::exception);
}

}  // namespace
}  // namespace parcelo
