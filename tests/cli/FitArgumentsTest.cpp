#include "FitArguments.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CliTestSupport.h"
#include "UploadRecipe.h"

namespace parcelo::cli {
namespace {

using Arguments = std::vector<std::string>;
using Paths = std::vector<std::filesystem::path>;

FitOptions parsed(Arguments arguments) {
    arguments.insert(arguments.end(), {"--out", "out", "photo.jpg"});
    const ParsedArguments result = parseArguments(arguments);
    EXPECT_EQ(result.request, Request::fit);
    return result.options;
}

TEST(FitArguments, OptionsAreReadWithOrWithoutAnEqualsSignAndDefaultToTheAppsRequirements) {
    FitOptions options = parsed({});
    EXPECT_EQ(options.settings, (FitSettings{1'000'000, 2'560, OutputFormat::automatic, 0, 0}));
    EXPECT_EQ(options.crop, CropPosition::center());
    EXPECT_EQ(options.outputDirectory, "out");
    EXPECT_EQ(options.inputs, Paths{"photo.jpg"});
    EXPECT_FALSE(options.json);
    EXPECT_EQ(options.jobs, defaultJobs());
    EXPECT_GE(options.jobs, 1u);

    options = parsed({"--kb", "200", "--max-edge", "0", "--format", "png", "--exact", "600x800", "--crop", "0,1"});
    EXPECT_EQ(options.settings, (FitSettings{200'000, 0, OutputFormat::png, 600, 800}));
    EXPECT_EQ(options.crop, (CropPosition{0.0, 1.0}));

    options = parsed({"--kb=300", "--exact=64\u00d7128", "--jobs=64", "--json"});
    EXPECT_EQ(options.settings, (FitSettings{300'000, 2'560, OutputFormat::automatic, 64, 128}));
    EXPECT_EQ(options.jobs, 64u);
    EXPECT_TRUE(options.json);

    // After "--" every argument is an input, even one that looks like an option.
    const ParsedArguments dashes = parseArguments({"--out", "out", "a.jpg", "--", "-odd.jpg", "--json"});
    EXPECT_EQ(dashes.options.inputs, (Paths{"a.jpg", "-odd.jpg", "--json"}));
    EXPECT_FALSE(dashes.options.json);
}

TEST(FitArguments, RecipesAndOptionsApplyInTheOrderGiven) {
    for (const UploadRecipe& recipe : UploadRecipe::examples())
        EXPECT_EQ(parsed({"--recipe", recipe.name()}).settings, recipe.settings()) << recipe.name();
    // Options after a recipe override it; a recipe overrides the options before it.
    EXPECT_EQ(parsed({"--recipe", "Portrait upload", "--kb", "150", "--format", "auto"}).settings,
              (FitSettings{150'000, 2'560, OutputFormat::automatic, 600, 800}));
    EXPECT_EQ(parsed({"--kb", "150", "--exact", "100x100", "--recipe", "Web photo"}).settings,
              UploadRecipe::examples()[0].settings());
    // A recipe's exact size takes a crop, and 0x0 after it leaves exact mode.
    EXPECT_EQ(parsed({"--recipe", "Square thumbnail", "--crop", "0.25,0.75"}).crop, (CropPosition{0.25, 0.75}));
    EXPECT_FALSE(parsed({"--recipe", "Square thumbnail", "--exact", "0X0"}).settings.isExact());
}

// What parseArguments refuses the arguments with, or "accepted".
std::string refusal(const Arguments& arguments) {
    try {
        parseArguments(arguments);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "accepted";
}

// The same, for options followed by a valid output folder and input.
std::string refusalOfOptions(Arguments options) {
    options.insert(options.end(), {"--out", "o", "p.jpg"});
    return refusal(options);
}

TEST(FitArguments, RefusalsSayWhichPartWasNotUnderstood) {
    EXPECT_EQ(refusal({"photo.jpg"}), "--out DIR is required");
    EXPECT_EQ(refusal({"--out=", "photo.jpg"}), "--out DIR is required");
    EXPECT_EQ(refusal({"--out", "out"}), "name at least one image or folder");
    EXPECT_EQ(refusal({"--out"}), "--out needs a value");

    EXPECT_EQ(refusalOfOptions({"--kb", "1e3"}), "--kb expects a whole number, not \u201c1e3\u201d");
    EXPECT_EQ(refusalOfOptions({"--kb", ""}), "--kb expects a whole number, not \u201c\u201d");
    EXPECT_EQ(refusalOfOptions({"--max-edge", "big"}), "--max-edge expects a whole number, not \u201cbig\u201d");
    EXPECT_EQ(refusalOfOptions({"--exact", "600"}), "--exact expects WIDTHxHEIGHT, like 600x800, not \u201c600\u201d");
    EXPECT_EQ(refusalOfOptions({"--exact", "600x"}), "--exact expects a whole number, not \u201c\u201d");
    EXPECT_EQ(refusalOfOptions({"--format", "JPEG"}), "--format expects auto, jpeg or png, not \u201cJPEG\u201d");
    EXPECT_EQ(refusalOfOptions({"--jobs", "0"}), "--jobs expects 1 to 64, not \u201c0\u201d");
    EXPECT_EQ(refusalOfOptions({"--jobs", "65"}), "--jobs expects 1 to 64, not \u201c65\u201d");
    EXPECT_EQ(refusalOfOptions({"--recipe", "web photo"}),
              "--recipe expects one of \u201cWeb photo\u201d, \u201cSquare thumbnail\u201d, \u201cPortrait upload\u201d, "
              "not \u201cweb photo\u201d");
    for (const std::string crop : {"1.01,0", "-0.1,0.5", "nan,0.5", "0.5", "0.5;0.5", "inf,0"})
        EXPECT_EQ(refusalOfOptions({"--exact", "100x100", "--crop", crop}),
                  "--crop expects two numbers from 0 to 1, like 0.5,0.5, not \u201c" + crop + "\u201d");
    EXPECT_EQ(refusalOfOptions({"--crop", "0,0"}), "--crop applies only with --exact WxH");
    EXPECT_EQ(refusalOfOptions({"--quality", "90"}), "unknown option \u201c--quality\u201d");
    EXPECT_EQ(refusalOfOptions({"--json=yes"}), "--json takes no value");
}

TEST(FitArguments, HelpIsAskedForAnywhereAndDocumentsEveryOption) {
    const test::CommandRun run = test::fitCommand({"--kb", "5", "-h", "--bogus"});
    EXPECT_EQ(run.status, kExitAllSaved);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(test::fitCommand({"--help"}).out, run.out);
    for (const std::string& text : std::vector<std::string>{
             "\n  --kb N   ", "1,000 bytes: 10\u201325000 (default 1000).\n", "\n  --max-edge N   ",
             "pixels: 64\u20138192, or 0 to keep the original size\n                  up to 8192 (default 2560).",
             "\n  --exact WxH   ", "64\u20134096 per side, like 600x800; 0x0 turns it off.\n", "\n  --crop X,Y   ",
             "(default 0.5,0.5, centred)", "\n  --format F   ", "(default auto)", "\n  --recipe NAME   ",
             "\u201cWeb photo\u201d, \u201cSquare thumbnail\u201d, \u201cPortrait upload\u201d.\n", "\n  --out DIR   ",
             "\n  --jobs N        Fit N images at once, 1\u201364 (default: one per core, here " +
                 std::to_string(defaultJobs()) + ").\n",
             "\n  --json   ", "\n  -h, --help   ", "\n.jpg, .jpeg, .jpe, .jfif, .png, .heic, .heif, .tif, .tiff, .bmp, .gif;\n",
             "Exit status: 0 when every copy was saved, 1 when any image failed, 2 for a usage error or\n"
             "requirements out of range, 130 when stopped.\n"})
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
}

}  // namespace
}  // namespace parcelo::cli
