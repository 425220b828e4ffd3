// Named requirements the user keeps: what makes one valid, the three examples, and the stored form.
#include "UploadRecipe.h"

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

json storedRecipe() {
    return json::parse(R"({"id": "6b29fc40-ca47-1067-b31d-00dd010662da", "name": " Shop ",
        "settings": {"targetBytes": 200000, "maxEdge": 0, "outputFormat": "png",
                     "exactWidth": 600, "exactHeight": 800}})");
}

// Out-of-range settings still decode (the recipe is then invalid); anything malformed, or a
// number past the 64-bit range, does not, and one bad recipe spoils the whole list.
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
    EXPECT_THROW((json::array({storedRecipe(), broken[0]}).get<std::vector<UploadRecipe>>()), json::exception);
}

}  // namespace
}  // namespace parcelo
