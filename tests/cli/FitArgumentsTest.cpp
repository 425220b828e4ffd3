#include "FitArguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ImageImport.h"
#include "UploadRecipe.h"

namespace parcelo::cli {
namespace {

using Arguments = std::vector<std::string>;

FitOptions parsed(Arguments arguments) {
    arguments.insert(arguments.end(), {"--out", "out", "photo.jpg"});
    const ParsedArguments result = parseArguments(arguments);
    EXPECT_EQ(result.request, Request::fit);
    return result.options;
}

// --- Defaults and single options -------------------------------------------------------------

TEST(FitArguments, DefaultsAreTheAppsRequirements) {
    const FitOptions options = parsed({});
    EXPECT_EQ(options.settings, (FitSettings{1'000'000, 2'560, OutputFormat::automatic, 0, 0}));
    EXPECT_EQ(options.crop, CropPosition::center());
    EXPECT_EQ(options.outputDirectory, "out");
    EXPECT_EQ(options.inputs, (std::vector<std::filesystem::path>{"photo.jpg"}));
    EXPECT_FALSE(options.json);
    EXPECT_EQ(options.jobs, defaultJobs());
    EXPECT_GE(options.jobs, 1u);
}

TEST(FitArguments, RequirementsAreRead) {
    const FitOptions options =
        parsed({"--kb", "200", "--max-edge", "0", "--format", "png", "--exact", "600x800", "--crop", "0,1"});
    EXPECT_EQ(options.settings, (FitSettings{200'000, 0, OutputFormat::png, 600, 800}));
    EXPECT_EQ(options.crop, (CropPosition{0.0, 1.0}));
}

TEST(FitArguments, ValuesMayFollowAnEqualsSign) {
    const FitOptions options = parsed({"--kb=300", "--exact=64\u00d7128", "--jobs=3", "--json"});
    EXPECT_EQ(options.settings.targetBytes, 300'000);
    EXPECT_EQ(options.settings.exactWidth, 64);
    EXPECT_EQ(options.settings.exactHeight, 128);
    EXPECT_EQ(options.jobs, 3u);
    EXPECT_TRUE(options.json);
}

TEST(FitArguments, ExactZeroByZeroLeavesExactMode) {
    const FitOptions options = parsed({"--recipe", "Square thumbnail", "--exact", "0X0"});
    EXPECT_FALSE(options.settings.isExact());
}

TEST(FitArguments, OutOfRangeRequirementsAreLeftForValidation) {
    EXPECT_FALSE(parsed({"--kb", "9"}).settings.isValid());
    EXPECT_FALSE(parsed({"--max-edge", "-64"}).settings.isValid());
    EXPECT_FALSE(parsed({"--exact", "4097x64"}).settings.isValid());
    // A limit too large to turn into bytes must not wrap round into the valid range.
    EXPECT_FALSE(parsed({"--kb", "9223372036854775"}).settings.isValid());
    EXPECT_FALSE(parsed({"--kb", "-9223372036854775"}).settings.isValid());
}

TEST(FitArguments, InputsAfterDoubleDashMayStartWithADash) {
    const ParsedArguments result = parseArguments({"--out", "out", "a.jpg", "--", "-odd.jpg", "--json"});
    EXPECT_EQ(result.options.inputs, (std::vector<std::filesystem::path>{"a.jpg", "-odd.jpg", "--json"}));
    EXPECT_FALSE(result.options.json);
}

// --- Recipes -------------------------------------------------------------------------------------

TEST(FitArguments, RecipeGivesItsRequirements) {
    for (const UploadRecipe& recipe : UploadRecipe::examples())
        EXPECT_EQ(parsed({"--recipe", recipe.name()}).settings, recipe.settings()) << recipe.name();
}

TEST(FitArguments, OptionsAfterARecipeOverrideIt) {
    const FitOptions options = parsed({"--recipe", "Portrait upload", "--kb", "150", "--format", "auto"});
    EXPECT_EQ(options.settings, (FitSettings{150'000, 2'560, OutputFormat::automatic, 600, 800}));
}

TEST(FitArguments, RecipeOverridesOptionsBeforeIt) {
    const FitOptions options = parsed({"--kb", "150", "--exact", "100x100", "--recipe", "Web photo"});
    EXPECT_EQ(options.settings, UploadRecipe::examples()[0].settings());
}

TEST(FitArguments, CropMayComeFromARecipesExactSize) {
    const FitOptions options = parsed({"--recipe", "Square thumbnail", "--crop", "0.25,0.75"});
    EXPECT_EQ(options.crop, (CropPosition{0.25, 0.75}));
}

// --- Refusals ---------------------------------------------------------------------------------

void expectUsageError(const Arguments& arguments, const std::string& mentioning) {
    try {
        parseArguments(arguments);
        ADD_FAILURE() << "accepted: " << testing::PrintToString(arguments);
    } catch (const UsageError& error) {
        EXPECT_NE(std::string(error.what()).find(mentioning), std::string::npos) << error.what();
    }
}

TEST(FitArgumentsRefused, MissingOutputFolderOrInputs) {
    expectUsageError({"photo.jpg"}, "--out");
    expectUsageError({"--out", "out"}, "at least one");
    expectUsageError({"--out"}, "needs a value");
    expectUsageError({"--out=", "photo.jpg"}, "--out");
}

TEST(FitArgumentsRefused, MalformedValues) {
    expectUsageError({"--kb", "1e3", "--out", "o", "p.jpg"}, "--kb");
    expectUsageError({"--kb", "", "--out", "o", "p.jpg"}, "--kb");
    expectUsageError({"--max-edge", "big", "--out", "o", "p.jpg"}, "--max-edge");
    expectUsageError({"--exact", "600", "--out", "o", "p.jpg"}, "WIDTHxHEIGHT");
    expectUsageError({"--exact", "600x", "--out", "o", "p.jpg"}, "--exact");
    expectUsageError({"--format", "JPEG", "--out", "o", "p.jpg"}, "auto, jpeg or png");
    expectUsageError({"--jobs", "0", "--out", "o", "p.jpg"}, "--jobs");
    expectUsageError({"--jobs", "65", "--out", "o", "p.jpg"}, "--jobs");
    expectUsageError({"--recipe", "web photo", "--out", "o", "p.jpg"}, "Web photo");
}

TEST(FitArgumentsRefused, CropOutsideTheImageOrWithoutExactSize) {
    for (const char* crop : {"1.01,0", "-0.1,0.5", "nan,0.5", "0.5", "0.5;0.5", "inf,0"})
        expectUsageError({"--exact", "100x100", "--crop", crop, "--out", "o", "p.jpg"}, "--crop");
    expectUsageError({"--crop", "0,0", "--out", "o", "p.jpg"}, "--exact");
}

TEST(FitArgumentsRefused, UnknownOptionsAndStrayValues) {
    expectUsageError({"--quality", "90", "--out", "o", "p.jpg"}, "--quality");
    expectUsageError({"--json=yes", "--out", "o", "p.jpg"}, "no value");
}

// --- Help ---------------------------------------------------------------------------------------

TEST(FitArgumentsHelp, HelpIsAskedForAnywhere) {
    EXPECT_EQ(parseArguments({"--help"}).request, Request::help);
    EXPECT_EQ(parseArguments({"--kb", "5", "-h", "--bogus"}).request, Request::help);
}

TEST(FitArgumentsHelp, HelpDocumentsEveryOptionWithItsRange) {
    const std::string help = helpText();
    for (const char* option : {"--kb", "--max-edge", "--exact", "--crop", "--format", "--recipe", "--jobs", "--json",
                               "--out", "--help"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
    const auto range = [](std::int64_t low, std::int64_t high) {
        return std::to_string(low) + "\u2013" + std::to_string(high);
    };
    EXPECT_NE(help.find(range(kMinTargetBytes / kBytesPerKB, kMaxTargetBytes / kBytesPerKB)), std::string::npos);
    EXPECT_NE(help.find(range(kMinMaxEdge, kMaxMaxEdge)), std::string::npos);
    EXPECT_NE(help.find(range(kMinExactSide, kMaxExactSide)), std::string::npos);
    EXPECT_NE(help.find("default " + std::to_string(kDefaultTargetKB)), std::string::npos);
    EXPECT_NE(help.find("default " + std::to_string(kDefaultMaxEdge)), std::string::npos);
    for (const UploadRecipe& recipe : UploadRecipe::examples()) EXPECT_NE(help.find(recipe.name()), std::string::npos);
    for (std::string_view extension : ImageImport::kExtensions)
        EXPECT_NE(help.find("." + std::string(extension)), std::string::npos) << extension;
}

}  // namespace
}  // namespace parcelo::cli
