// Named requirements the user keeps: what makes one valid, the three examples, and the stored form.
#include "UploadRecipe.h"

#include <set>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace parcelo {
namespace {

using nlohmann::json;

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
        {repeated("\U0001F44D\U0001F3FD", 40), true}, {repeated("\U0001F44D\U0001F3FD", 41), false},
        {repeated(family, 40), true}, {repeated(family, 41), false},
        {repeated("e\u0301", 40), true}, {repeated("e\u0301", 41), false},
    };
    for (const auto& [name, valid] : names)
        EXPECT_EQ(UploadRecipe(Uuid::random(), name, kValidSettings).isValid(), valid) << '"' << name << '"';
    FitSettings halfExact = kValidSettings;
    halfExact.exactWidth = 600;
    EXPECT_FALSE(UploadRecipe(Uuid::random(), "Web photo", halfExact).isValid());
}

TEST(UploadRecipe, ThreeExamplesBuiltOnceInOrderWithDistinctIds) {
    const std::vector<UploadRecipe>& examples = UploadRecipe::examples();
    EXPECT_EQ(examples, (std::vector<UploadRecipe>{
                            {examples[0].id(), "Web photo", {500'000, 1'920, OutputFormat::automatic, 0, 0}},
                            {examples[1].id(), "Square thumbnail", {200'000, 2'560, OutputFormat::jpeg, 600, 600}},
                            {examples[2].id(), "Portrait upload", {200'000, 2'560, OutputFormat::jpeg, 600, 800}}}));
    for (const UploadRecipe& example : examples) EXPECT_TRUE(example.isValid()) << example.name();
    const std::set<std::string> ids{examples[0].id().string(), examples[1].id().string(), examples[2].id().string()};
    EXPECT_EQ(ids.size(), 3u);
    EXPECT_EQ(UploadRecipe::examples()[0].id(), examples[0].id());  // the same ids on every call
}

// Equal recipes share id and settings; names count as equal when canonically equivalent.
TEST(UploadRecipe, EqualityOfIdNameAndSettings) {
    const Uuid id = Uuid::random();
    const UploadRecipe composed(id, "Caf\u00e9", kValidSettings);
    EXPECT_EQ(composed, UploadRecipe(id, "Cafe\u0301", kValidSettings));
    EXPECT_NE(composed, UploadRecipe(id, "cafe\u0301", kValidSettings));
    EXPECT_NE(composed, UploadRecipe(Uuid::random(), "Caf\u00e9", kValidSettings));
    EXPECT_NE(composed, UploadRecipe(id, "Caf\u00e9", {500'000, 1'920, OutputFormat::png, 0, 0}));
}

// Random ids are version 4 in upper case; text reads back in either case, anything else is no id.
TEST(Uuid, RandomIdsAreVersionFourAndReadBack) {
    std::set<std::string> ids;
    for (int i = 0; i < 1'000; ++i) {
        const std::string text = Uuid::random().string();
        EXPECT_EQ(Uuid::fromString(text)->string(), text);
        EXPECT_EQ(text.find_first_not_of("0123456789ABCDEF-"), std::string::npos) << text;
        EXPECT_EQ((std::string{text[8], text[13], text[14]}), "--4") << text;  // dashes, version 4
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        ids.insert(text);
    }
    EXPECT_EQ(ids.size(), 1'000u);
    EXPECT_EQ(Uuid::fromString("6b29fc40-ca47-1067-b31d-00dd010662da")->string(), "6B29FC40-CA47-1067-B31D-00DD010662DA");
    for (const char* text :
         {"", "6B29FC40CA471067B31D00DD010662DA", "6B29FC40-CA47-1067-B31D-00DD010662D",
          "6B29FC40-CA47-1067-B31D-00DD010662DAA", "{6B29FC40-CA47-1067-B31D-00DD010662DA}",
          "6B29FC40-CA47-1067-B31D_00DD010662DA", "6B29FC4G-CA47-1067-B31D-00DD010662DA",
          "6B29FC40-CA4-71067-B31D-00DD010662DA"})
        EXPECT_FALSE(Uuid::fromString(text).has_value()) << text;
}

json storedRecipe() {
    return json::parse(R"({"id": "6b29fc40-ca47-1067-b31d-00dd010662da", "name": " Shop ",
        "settings": {"targetBytes": 200000, "maxEdge": 0, "outputFormat": "png",
                     "exactWidth": 600, "exactHeight": 800}})");
}

// Out-of-range settings still decode (the recipe is then invalid); anything malformed does
// not, and one bad recipe spoils the whole list.
TEST(UploadRecipeJson, ReadsBackWhatItWritesAndNothingMalformed) {
    const UploadRecipe read = storedRecipe().get<UploadRecipe>();
    EXPECT_EQ(read, UploadRecipe(*Uuid::fromString("6B29FC40-CA47-1067-B31D-00DD010662DA"), " Shop ",
                                 {200'000, 0, OutputFormat::png, 600, 800}));
    EXPECT_EQ(json(read).get<UploadRecipe>(), read);
    EXPECT_EQ(json(UploadRecipe::examples()).get<std::vector<UploadRecipe>>(), UploadRecipe::examples());
    json outOfRange = storedRecipe();
    outOfRange["settings"]["targetBytes"] = 5;
    EXPECT_FALSE(outOfRange.get<UploadRecipe>().isValid());

    std::vector<json> broken(6, storedRecipe());
    broken[0]["id"] = "not-a-uuid";
    broken[1]["id"] = 42;
    broken[2].erase("name");
    broken[3]["name"] = json::array({"Shop"});
    broken[4]["settings"].erase("maxEdge");
    broken[5].erase("settings");
    for (const json& stored : broken) EXPECT_THROW(stored.get<UploadRecipe>(), json::exception) << stored.dump();
    EXPECT_THROW((json::array({storedRecipe(), broken[0]}).get<std::vector<UploadRecipe>>()), json::exception);
}

}  // namespace
}  // namespace parcelo
