// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// parcelo-fit's command, run in this process: what it understands, prints and saves.
#include "FitCommand.h"

#include <tuple>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "FitArguments.h"
#include "FitError.h"
#include "ProgressBar.h"
#include "TestSupport.h"

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
namespace fs = std::filesystem;
using Arguments = std::vector<std::string>;

// What runFitCommand printed and returned (never on a terminal).
struct CommandRun {
    int status = -1;
    std::string out;
    std::string err;
};

// A library as the app would have stored it: a recipe of the user's own, and one named like an example.
std::vector<UploadRecipe> savedRecipes() {
    return {{Uuid::random(), "Shop photo", {300'000, 1'200, OutputFormat::jpeg, 640, 480}},
            {Uuid::random(), "Portrait upload", {150'000, 0, OutputFormat::png, 0, 0}}};
}

CommandRun fitCommand(const Arguments& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = runFitCommand(arguments, {out, err, false}, savedRecipes);
    return {status, out.str(), err.str()};
}

std::string messageOf(FitError::Case errorCase) { return std::string(FitError(errorCase).errorDescription()); }

// The requirements and crop the arguments ask for, in a few words, or the words that refuse them.
std::string readingOf(const Arguments& arguments) {
    try {
        const FitOptions options = parseArguments(arguments, savedRecipes).options;
        const FitSettings& settings = options.settings;
        std::ostringstream reading;
        reading << settings.targetBytes << " bytes, edge " << settings.maxEdge << ", " << rawValue(settings.outputFormat)
                << ", exact " << settings.exactWidth << "x" << settings.exactHeight << ", crop " << options.crop.x << ","
                << options.crop.y;
        if (settings.minBytes != 0) reading << ", at least " << settings.minBytes << " bytes";
        if (settings.dpi != 0) reading << ", " << settings.dpi << " dpi";
        return reading.str();
    } catch (const UsageError& error) {
        return error.what();
    }
}

// Options apply in the order given, a recipe included; each bound of the requirements is
// inclusive; each refusal names what was not understood.
TEST(FitArguments, OptionsBecomeRequirementsOrAreRefusedByName) {
    const auto badCrop = [](const std::string& value) {
        return "--crop expects two numbers from 0 to 1, like 0.5,0.5, not \u201c" + value + "\u201d";
    };
    const std::vector<std::pair<Arguments, std::string>> cases{
        {{}, "1000000 bytes, edge 2560, auto, exact 0x0, crop 0.5,0.5"},
        {{"--kb", "200", "--max-edge", "0", "--format", "png", "--exact", "600x800", "--crop", "0,1"},
         "200000 bytes, edge 0, png, exact 600x800, crop 0,1"},
        {{"--kb=300", "--exact=64\u00d7128"}, "300000 bytes, edge 2560, auto, exact 64x128, crop 0.5,0.5"},
        {{"--recipe", "Square thumbnail", "--kb", "150", "--format", "auto"}, "150000 bytes, edge 2560, auto, exact 600x600, crop 0.5,0.5"},
        {{"--recipe", " shop PHOTO "}, "300000 bytes, edge 1200, jpeg, exact 640x480, crop 0.5,0.5"},
        {{"--recipe", "portrait upload"}, "150000 bytes, edge 0, png, exact 0x0, crop 0.5,0.5"},
        {{"--kb", "5", "--exact", "100x100", "--recipe", "Web photo"}, "500000 bytes, edge 1920, auto, exact 0x0, crop 0.5,0.5"},
        {{"--recipe", "Square thumbnail", "--crop", "0.25,0.75"}, "200000 bytes, edge 2560, jpeg, exact 600x600, crop 0.25,0.75"},
        {{"--recipe", "Square thumbnail", "--exact", "0X0"}, "200000 bytes, edge 2560, jpeg, exact 0x0, crop 0.5,0.5"},
        {{"--kb", "10", "--max-edge", "64"}, "10000 bytes, edge 64, auto, exact 0x0, crop 0.5,0.5"},
        {{"--kb", "25000", "--max-edge", "8192", "--exact", "4096x64"}, "25000000 bytes, edge 8192, auto, exact 4096x64, crop 0.5,0.5"},
        {{"--kb", "25001"}, "--kb expects 10\u201325000, not \u201c25001\u201d"},
        {{"--max-edge", "63"}, "--max-edge expects 0 or 64\u20138192, not \u201c63\u201d"},
        {{"--exact", "4097x64"}, "--exact expects 64\u20134096 per side, or 0x0, not \u201c4097x64\u201d"},
        {{"--exact", "64x63"}, "--exact expects 64\u20134096 per side, or 0x0, not \u201c64x63\u201d"},
        {{"--kb", "1e3"}, "--kb expects a whole number, not \u201c1e3\u201d"},
        {{"--exact", "600"}, "--exact expects WIDTHxHEIGHT, like 600x800, not \u201c600\u201d"},
        {{"--format", "JPEG"}, "--format expects auto, jpeg or png, not \u201cJPEG\u201d"},
        {{"--jobs", "65"}, "--jobs expects 1\u201364, not \u201c65\u201d"},
        {{"--kb", "9", "--max-edge", "9"}, "--kb expects 10\u201325000, not \u201c9\u201d"},
        {{"--kb", "9223372036854775"}, "--kb expects 10\u201325000, not \u201c9223372036854775\u201d"},
        {{"--max-edge", "8193"}, "--max-edge expects 0 or 64\u20138192, not \u201c8193\u201d"},
        {{"--exact", "0x64", "--max-edge", "0"}, "--exact expects 64\u20134096 per side, or 0x0, not \u201c0x64\u201d"},
        {{"--recipe", "Shop"}, "--recipe expects one of \u201cShop photo\u201d, \u201cPortrait upload\u201d, "
                               "\u201cWeb photo\u201d, \u201cSquare thumbnail\u201d, \u201cPortrait upload\u201d, not \u201cShop\u201d"},
        {{"--exact", "9x9", "--crop", "1.01,0"}, badCrop("1.01,0")},
        {{"--exact", "9x9", "--crop", "0.5;0.5"}, badCrop("0.5;0.5")},
        {{"--crop", "0,0"}, "--crop applies only with --exact WxH"},
        {{"--quality", "90"}, "unknown option \u201c--quality\u201d"},
        {{"--json=yes"}, "--json takes no value"},
        {{"--min-kb", "20", "--kb", "50", "--dpi", "200"}, "50000 bytes, edge 2560, auto, exact 0x0, crop 0.5,0.5, at least 20000 bytes, 200 dpi"},
        {{"--kb", "50", "--min-kb", "50", "--dpi", "0", "--min-kb=0"}, "50000 bytes, edge 2560, auto, exact 0x0, crop 0.5,0.5"},
        {{"--kb", "50", "--min-kb", "60"}, "--min-kb expects 0 or 1\u201350 (at most --kb), not \u201c60\u201d"},
        {{"--dpi", "71"}, "--dpi expects 0 or 72\u20131200, not \u201c71\u201d"},
    };
    for (auto [arguments, expected] : cases) {
        arguments.insert(arguments.end(), {"--out", "out", "photo.jpg"});
        EXPECT_EQ(readingOf(arguments), expected);
    }
    EXPECT_EQ(readingOf({"photo.jpg"}), "--out DIR is required");
    EXPECT_EQ(readingOf({"--out=", "photo.jpg"}), "--out DIR is required");
    EXPECT_EQ(readingOf({"--out", "out"}), "name at least one image or folder");
    EXPECT_EQ(readingOf({"--out"}), "--out needs a value");
    EXPECT_EQ(readingOf({"--check", "--kb", "20", "photo.jpg"}), "20000 bytes, edge 2560, auto, exact 0x0, crop 0.5,0.5");
    EXPECT_EQ(readingOf({"--check", "--out", "out", "photo.jpg"}), "--check writes nothing: leave out --out");
    EXPECT_EQ(readingOf({"--recipes", "photo.jpg"}), "--recipes takes no files, folders or --out");
    EXPECT_EQ(readingOf({"--recipes", "--check"}), "--check and --recipes cannot be used together");
    // After "--" every argument is an input, even one that looks like an option.
    const FitOptions dashes = parseArguments({"--jobs=3", "--out", "o", "a.jpg", "--", "-odd.jpg", "--json"}).options;
    EXPECT_EQ(std::tie(dashes.inputs, dashes.json, dashes.jobs),
              std::tuple(std::vector<fs::path>{"a.jpg", "-odd.jpg", "--json"}, false, 3u));
}

// Ranges and defaults shown are those the options accept.
TEST(FitArguments, HelpIsAskedForAnywhereAndDocumentsEveryOption) {
    const CommandRun run = fitCommand({"--kb", "5", "-h", "--bogus"});
    EXPECT_EQ(std::tie(run.status, run.err), std::tie(kExitAllSaved, ""));
    const std::string jobs = "Fit N images at once, 1\u201364 (default: one per core, here " + std::to_string(defaultJobs()) + ").\n";
    for (const std::string& text : {std::string("1,000 bytes: 10\u201325000 (default 1000).\n"), jobs})
        EXPECT_NE(run.out.find(text), std::string::npos) << text;
}

// Photos of two shapes and kinds, and one file that only claims to be an image.
class FitCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        save(photoLike(400, 300), folder_ / "wide.jpg");
        save(photoLike(200, 320), folder_ / "tall.png");
        writeBytes(folder_ / "notes.jpg", "not a picture");
    }

    std::string source(const std::string& name) const { return (folder_ / name).string(); }
    std::string out() const { return (folder_ / "out").string(); }
    fs::path copy(const std::string& name) const { return folder_ / "out" / name; }

    ScratchFolder folder_;
};

// Usage errors and requirements out of range exit with 2 before any image is fitted; a run
// with nothing to fit or nowhere to save exits with 1.
TEST_F(FitCommandTest, RunsThatCannotStartSayWhyAndSaveNothing) {
    fs::create_directory(folder_ / "empty");
    const std::string usage = "parcelo-fit: --kb expects a whole number, not \u201clots\u201d\n" + usageLine() +
                              "Run parcelo-fit --help for every option.\n";
    const std::vector<std::tuple<Arguments, int, std::string>> cases{
        {{"--kb", "lots", "--out", out(), source("wide.jpg")}, kExitUsage, usage},
        {{"--out", out(), source("empty")}, kExitSomeFailed, "parcelo-fit: no images found in the files and folders given\n"},
        {{"--out", source("notes.jpg"), source("wide.jpg")}, kExitSomeFailed,
         "parcelo-fit: couldn\u2019t use " + source("notes.jpg") + " as the output folder: " +
             std::make_error_code(std::errc::not_a_directory).message() + "\n"},
    };
    for (const auto& [arguments, status, err] : cases) {
        const CommandRun run = fitCommand(arguments);
        EXPECT_EQ(std::tie(run.status, run.err, run.out), std::tie(status, err, "")) << ::testing::PrintToString(arguments);
        EXPECT_FALSE(fs::exists(out()));
    }
    EXPECT_EQ(contents(source("notes.jpg")), "not a picture");
}

// "{source name} → {saved name} · {width} × {height} · {EXT} · {size}", from the saved file itself.
std::string expectedLine(const std::string& sourceName, const fs::path& output, const std::string& format) {
    const vips::VImage header = vips::VImage::new_from_file(output.c_str());
    return sourceName + " \u2192 " + output.filename().string() + " \u00b7 " + std::to_string(header.width()) +
           " \u00d7 " + std::to_string(header.height()) + " \u00b7 " + format + " \u00b7 " +
           formatByteCount(static_cast<std::int64_t>(fs::file_size(output)));
}

// Files in the order named, then a folder's images sorted; names that clash are numbered; copies fit.
TEST_F(FitCommandTest, OneLinePerImageInInputOrderAsTextOrJson) {
    fs::copy_file(source("tall.png"), folder_ / "wide.png");  // its copy's name clashes with wide.jpg's
    const fs::path more = folder_ / "more";
    fs::create_directory(more);
    for (const char* name : {"img10.jpg", "img2.jpg"}) fs::copy_file(source("wide.jpg"), more / name);
    writeBytes(more / "readme.txt", "");
    const auto runWith = [&](Arguments options) {
        options.insert(options.end(), {"--kb", "30", source("tall.png"), source("notes.jpg"), source("wide.png"),
                                       more.string(), source("wide.jpg")});
        return fitCommand(options);
    };
    const CommandRun run = runWith({"--jobs", "2", "--out", out()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 7u) << run.out;
    EXPECT_EQ(lines.back().rfind("Saved 5 of 6 copies \u00b7 1 failed \u00b7 ", 0), 0u) << run.out;
    lines.pop_back();
    EXPECT_EQ(lines, (std::vector<std::string>{expectedLine("tall.png", copy("tall-parcelo.jpg"), "JPG"),
                                               "notes.jpg: " + messageOf(FitError::Case::unreadable),
                                               expectedLine("wide.png", copy("wide-parcelo.jpg"), "JPG"),
                                               expectedLine("img2.jpg", copy("img2-parcelo.jpg"), "JPG"),
                                               expectedLine("img10.jpg", copy("img10-parcelo.jpg"), "JPG"),
                                               expectedLine("wide.jpg", copy("wide-parcelo-2.jpg"), "JPG")}));
    // No progress bar off a terminal.
    EXPECT_EQ(run.err, "parcelo-fit: left out " + (more / "readme.txt").string() + " (not a supported image)\n");
    for (const fs::path& saved : filesIn(out())) EXPECT_LE(fs::file_size(saved), 30'000u) << saved;


    // One job at a time saves the same copies; with --json each image is a line of its own and
    // the summary goes to the error output.
    const fs::path one = folder_ / "one";
    const CommandRun json = runWith({"--jobs", "1", "--json", "--out", one.string()});
    ASSERT_EQ(filesIn(one).size(), 5u);
    for (const fs::path& file : filesIn(one)) EXPECT_EQ(contents(copy(file.filename().string())), contents(file)) << file;
    lines = linesOf(json.out);
    ASSERT_EQ(lines.size(), 6u) << json.out;
    const fs::path saved = one / "tall-parcelo.jpg";
    EXPECT_EQ(nlohmann::json::parse(lines[0]),
              (nlohmann::json{{"source", source("tall.png")}, {"output", saved.string()}, {"width", 200},
                              {"height", 320}, {"format", "jpeg"}, {"bytes", fs::file_size(saved)},
                              {"originalBytes", fs::file_size(source("tall.png"))}, {"error", nullptr}}));
    EXPECT_EQ(nlohmann::json::parse(lines[1]).at("error"),
              (nlohmann::json{{"case", "unreadable"}, {"message", messageOf(FitError::Case::unreadable)}}));
    EXPECT_EQ(linesOf(json.err).back(), linesOf(run.out).back());

    // The disk fills up midway through a copy: the image says why, and nothing is left under its name.
    const FileSizeLimit diskFull(4'000);
    const CommandRun full = fitCommand({"--out", (folder_ / "full").string(), source("wide.jpg")});
    EXPECT_EQ(full.out.substr(0, full.out.find('\n')), "wide.jpg: Couldn\u2019t save the copy: File too large");
    EXPECT_TRUE(filesIn(folder_ / "full").empty());
}

// --check writes nothing and names what fails, in the words of the limits asked for; as JSON it
// gives the facts. The run fails unless every file meets the requirements.
TEST_F(FitCommandTest, CheckNamesWhatFailsAndWritesNothing) {
    const std::vector<fs::path> before = filesIn(folder_.path());
    const std::string wideSize = formatByteCount(static_cast<std::int64_t>(fs::file_size(source("wide.jpg"))));  // with libvips's EXIF
    const std::string tallSize = formatByteCount(static_cast<std::int64_t>(fs::file_size(source("tall.png"))));
    const CommandRun run = fitCommand({"--check", "--kb", "10", "--max-edge", "300", "--format", "jpeg",
                                       source("wide.jpg"), source("tall.png"), source("notes.jpg")});
    EXPECT_EQ(run.status, kExitSomeFailed);
    EXPECT_EQ(linesOf(run.out),
              (std::vector<std::string>{"wide.jpg \u00b7 " + wideSize + " over 10 KB \u00b7 400 \u00d7 300 over 300 px \u00b7 has EXIF",
                                        "tall.png \u00b7 PNG, not JPEG \u00b7 " + tallSize + " over 10 KB \u00b7 200 \u00d7 320 over 300 px",
                                        "notes.jpg: " + messageOf(FitError::Case::unreadable),
                                        "0 of 3 images meet the requirements"}));

    const CommandRun json = fitCommand({"--check", "--json", "--exact", "200x320", source("tall.png")});
    EXPECT_EQ(std::tie(json.status, json.err), std::tie(kExitAllSaved, "The image meets the requirements\n"));
    EXPECT_EQ(nlohmann::json::parse(json.out),
              (nlohmann::json{{"source", source("tall.png")}, {"format", "png"}, {"bytes", fs::file_size(source("tall.png"))},
                              {"width", 200}, {"height", 320}, {"dpi", 25}, {"orientation", 1}, {"metadata", nlohmann::json::array()},
                              {"sRGB", true}, {"meetsRequirements", true}, {"failed", nlohmann::json::array()},
                              {"error", nullptr}}));
    // A form's smallest size and resolution: libvips writes 1 pixel a millimetre unless told otherwise.
    const CommandRun form = fitCommand({"--check", "--kb", "25000", "--min-kb", "20000", "--dpi", "300",
                                        "--max-edge", "0", source("tall.png")});
    EXPECT_EQ(linesOf(form.out), (std::vector<std::string>{"tall.png \u00b7 " + tallSize +
                                                               " under 20 MB \u00b7 25 dpi, not 300 dpi",
                                                           "The image doesn\u2019t meet the requirements"}));
    EXPECT_EQ(nlohmann::json::parse(fitCommand({"--check", "--json", "--dpi", "300", source("tall.png")}).out)
                  .at("failed"),
              nlohmann::json::array({"resolution"}));
    EXPECT_EQ(filesIn(folder_.path()), before);
}

// Real originals say why they do not meet the requirements: a location, a turn, too many pixels
// or bytes, another profile, CMYK, another format; a file a fit refuses is refused the same way.
TEST(FitCommandCheck, RealOriginalsSayWhyNot) {
    REQUIRE_CORPUS();
    Arguments arguments{"--check", "--kb", "500", "--max-edge", "1920"};
    for (const char* file : {"orientation/landscape-6.jpg", "photos/Flow-5120x2880.jpg", "color/aqua-adobergb.jpg",
                             "color/garden-cmyk.jpg", "formats/storm.heic", "formats/aqua-palette.png",
                             "reject/animated.gif", "corrupt/twowings-truncated.jpg"})
        arguments.push_back((corpusDir() / file).string());
    const CommandRun run = fitCommand(arguments);
    EXPECT_EQ(run.status, kExitSomeFailed);
    EXPECT_EQ(linesOf(run.out), (std::vector<std::string>{
        "landscape-6.jpg \u00b7 not upright \u00b7 has GPS",
        "Flow-5120x2880.jpg \u00b7 3.9 MB over 500 KB \u00b7 5120 \u00d7 2880 over 1920 px",
        "aqua-adobergb.jpg \u00b7 2560 \u00d7 1600 over 1920 px \u00b7 has EXIF \u00b7 not sRGB",
        "garden-cmyk.jpg \u00b7 has EXIF \u00b7 not sRGB",
        "storm.heic \u00b7 HEIC, not JPEG or PNG \u00b7 has EXIF",
        "aqua-palette.png \u00b7 meets the requirements",
        "animated.gif: " + messageOf(FitError::Case::multipleFrames),
        "twowings-truncated.jpg: " + messageOf(FitError::Case::unreadable),
        "1 of 8 images meets the requirements"}));
}

// The user's recipes, then the examples, each with the app's summary of its requirements.
TEST(RecipeListing, ListsEachRecipeWithItsRequirements) {
    EXPECT_EQ(fitCommand({"--recipes"}).out,
              "Your recipes\n"
              "  Shop photo        \u2264 300 KB \u00b7 640 \u00d7 480 px \u00b7 JPEG\n"
              "  Portrait upload   \u2264 150 KB \u00b7 Up to 8192 px \u00b7 PNG\n"
              "Examples \u00b7 check your own requirements\n"
              "  Web photo         \u2264 500 KB \u00b7 Up to 1920 px \u00b7 Auto format\n"
              "  Square thumbnail  \u2264 200 KB \u00b7 600 \u00d7 600 px \u00b7 JPEG\n"
              "  Portrait upload   \u2264 200 KB \u00b7 600 \u00d7 800 px \u00b7 JPEG\n");
    const std::vector<std::string> json = linesOf(fitCommand({"--recipes", "--json"}).out);
    ASSERT_EQ(json.size(), 5u);
    EXPECT_EQ(nlohmann::json::parse(json[0]),
              (nlohmann::json{{"name", "Shop photo"}, {"example", false},
                              {"summary", "\u2264 300 KB \u00b7 640 \u00d7 480 px \u00b7 JPEG"},
                              {"settings", FitSettings{300'000, 1'200, OutputFormat::jpeg, 640, 480}}}));
    EXPECT_EQ(nlohmann::json::parse(json[4]).at("example"), true);
}

// The endings parcelo-fit's runs don't show (a failure beside saved copies and a stop are shown).
TEST(FitSummary, SaysWhatWasSavedFailedAndGained) {
    const std::string gained = "4.2 MB smaller than the originals";
    const std::vector<std::pair<RunTotals, std::string>> cases{
        {{.total = 1, .saved = 1, .savedBytes = 4'200'000}, "Saved 1 copy \u00b7 " + gained},
        {{.total = 2, .failed = 2}, "Saved 0 of 2 copies \u00b7 2 failed"},
        {{.stopped = true}, "Stopped before any image was fitted"},
        // A copy that grew counts against the others; the net change is what is told.
        {{.total = 2, .saved = 2, .savedBytes = -122'000}, "Saved 2 copies \u00b7 122 KB larger than the originals"},
        {{.total = 1, .saved = 1}, "Saved 1 copy \u00b7 the same size as the originals"},
    };
    for (const auto& [totals, line] : cases) EXPECT_EQ(summaryLine(totals), line);
}

// One line, the clock and the names in it written short; a wipe only of what it drew. (Off a
// terminal nothing is drawn: see the runs above.)
TEST(ProgressBar, DrawsOneShortLineAndWipesOnlyWhatItDrew) {
    std::ostringstream err;
    ProgressBar bar(err, true, 8);
    bar.clear();
    EXPECT_EQ(err.str(), "");
    bar.show(2, "Storm.jpg");
    // Wipes the line it redraws, then the bar, the count, the name and the time (under ten seconds).
    const std::string drawn = "\r\x1b[K[######------------------] 2/8 \u00b7 Storm.jpg \u00b7 0:0";
    EXPECT_EQ(err.str().rfind(drawn, 0), 0u) << err.str();
    EXPECT_EQ(err.str().size(), drawn.size() + 1) << err.str();
    err.str("");
    bar.clear();
    bar.clear();
    EXPECT_EQ(err.str(), "\r\x1b[K");
    EXPECT_EQ(elapsedText(std::chrono::seconds(65)), "1:05");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3599)), "59:59");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3661)), "1:01:01");
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abcde\u2026");
    EXPECT_EQ(shortened("\u00e9\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u2026");  // never half of "é"
}

}  // namespace
}  // namespace parcelo::cli
