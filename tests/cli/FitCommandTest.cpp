#include "FitCommand.h"

#include <sys/stat.h>

#include <future>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "FitArguments.h"
#include "FitError.h"
#include "ImageImport.h"
#include "ProgressBar.h"
#include "TestSupport.h"
#include "UploadRecipe.h"

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
namespace fs = std::filesystem;

// What runFitCommand printed and returned, run in this process (never on a terminal).
struct CommandRun {
    int status = -1;
    std::string out;
    std::string err;
};

CommandRun fitCommand(const std::vector<std::string>& arguments, std::stop_token stopToken = {}) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = parcelo::cli::runFitCommand(arguments, {out, err, false}, std::move(stopToken));
    return {status, out.str(), err.str()};
}

std::string messageOf(FitError::Case errorCase) { return std::string(FitError(errorCase).errorDescription()); }

// Images of several shapes and kinds, and one file that only claims to be an image.
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

// Bad usage and requirements out of range exit with 2 before anything is read.
TEST_F(FitCommandTest, BadUsageAndInvalidRequirementsAreRefusedBeforeAnythingIsRead) {
    // Reading a named pipe blocks until someone writes to it: a run that reads it would hang.
    const fs::path pipe = folder_ / "pipe.jpg";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0) << "cannot make a named pipe";
    const std::string usage =
        "parcelo-fit: --kb expects a whole number, not \u201clots\u201d\n"
        "Usage: parcelo-fit [--kb N] [--max-edge N] [--exact WxH [--crop X,Y]] [--format auto|jpeg|png]\n"
        "                   [--recipe NAME] [--jobs N] [--json] --out DIR FILE_OR_FOLDER...\n"
        "Run parcelo-fit --help for every option.\n";
    const std::string invalid = "parcelo-fit: " + messageOf(FitError::Case::invalidSettings) + "\n";
    // One past each limit; a limit too large to turn into bytes must not wrap round into range.
    for (const auto& [requirements, err] : std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"--kb", "lots"}, usage}, {{"--kb", "9"}, invalid}, {{"--kb", "25001"}, invalid},
             {{"--kb", "9223372036854775"}, invalid}, {{"--kb", "-9223372036854775"}, invalid},
             {{"--max-edge", "63"}, invalid}, {{"--max-edge", "-64"}, invalid}, {{"--max-edge", "8193"}, invalid},
             {{"--exact", "600x0"}, invalid}, {{"--exact", "4097x64"}, invalid}}) {
        SCOPED_TRACE(requirements[0] + " " + requirements[1]);
        std::vector<std::string> arguments = requirements;
        arguments.insert(arguments.end(), {"--out", out(), pipe.string(), folder_.path().string()});
        auto running = std::async(std::launch::async, [&] { return fitCommand(arguments); });
        if (running.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            writeBytes(pipe, "");  // let the stuck run go on, then fail
            FAIL() << "the run read its input";
        }
        const CommandRun run = running.get();
        EXPECT_EQ(run.status, kExitUsage);
        EXPECT_EQ(run.err, err);
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(fs::exists(out()));
    }
}

// Nothing to fit, a folder too crowded to search, or an output folder that is a file.
TEST_F(FitCommandTest, RunsThatCannotStartExitWithOneAndSaveNothing) {
    const fs::path empty = folder_ / "empty";
    fs::create_directory(empty);
    const fs::path crowded = folder_ / "crowded";
    fs::create_directory(crowded);
    for (std::int64_t i = 0; i <= ImageImport::kMaxExaminedEntries; ++i) writeBytes(crowded / (std::to_string(i) + ".txt"), "");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--out", out(), empty.string()}, "no images found in the files and folders given"},
        {{"--out", out(), source("wide.jpg"), crowded.string()}, std::string(ImageImport::kTooManyEntriesMessage)},
        {{"--out", source("notes.jpg"), source("wide.jpg")},
         "couldn\u2019t use " + source("notes.jpg") + " as the output folder: " +
             std::make_error_code(std::errc::not_a_directory).message()},
    };
    for (const auto& [arguments, message] : cases) {
        SCOPED_TRACE(message);
        const CommandRun run = fitCommand(arguments);
        EXPECT_EQ(run.status, kExitSomeFailed);
        EXPECT_EQ(run.err, "parcelo-fit: " + message + "\n");
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(fs::exists(out()));
    }
    EXPECT_EQ(contents(source("notes.jpg")), "not a picture");
}

vips::VImage headerOf(const fs::path& location) { return vips::VImage::new_from_file(location.c_str()); }

// "{source name} → {saved name} · {width} × {height} · {EXT} · {size}", from the saved file itself.
std::string expectedLine(const std::string& sourceName, const fs::path& output, const std::string& format) {
    const vips::VImage header = headerOf(output);
    return sourceName + " \u2192 " + output.filename().string() + " \u00b7 " + std::to_string(header.width()) +
           " \u00d7 " + std::to_string(header.height()) + " \u00b7 " + format + " \u00b7 " +
           formatByteCount(static_cast<std::int64_t>(fs::file_size(output)));
}

TEST_F(FitCommandTest, OneLinePerImageInInputOrderAndTwoJobsSaveWhatOneSaves) {
    fs::copy_file(source("tall.png"), folder_ / "wide.png");  // its copy's name clashes with wide.jpg's
    const auto runWith = [&](const char* jobs, const std::string& into) {
        return fitCommand({"--kb", "30", "--jobs", jobs, "--out", into, source("tall.png"), source("notes.jpg"),
                           source("wide.png"), source("wide.jpg")});
    };
    const CommandRun run = runWith("2", out());
    EXPECT_EQ(run.status, kExitSomeFailed);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 5u) << run.out;
    EXPECT_EQ(lines[0], expectedLine("tall.png", copy("tall-parcelo.jpg"), "JPG"));
    EXPECT_EQ(lines[1], "notes.jpg: " + messageOf(FitError::Case::unreadable));
    EXPECT_EQ(lines[2], expectedLine("wide.png", copy("wide-parcelo.jpg"), "JPG"));
    EXPECT_EQ(lines[3], expectedLine("wide.jpg", copy("wide-parcelo-2.jpg"), "JPG"));
    EXPECT_EQ(lines[4].rfind("Saved 3 of 4 copies \u00b7 1 failed \u00b7 ", 0), 0u) << lines[4];
    EXPECT_EQ(run.err, "");  // no progress bar off a terminal

    const fs::path one = folder_ / "one";
    EXPECT_EQ(runWith("1", one.string()).out, run.out);
    ASSERT_EQ(filesIn(one).size(), 3u);
    for (const fs::path& file : filesIn(one)) EXPECT_EQ(contents(copy(file.filename().string())), contents(file)) << file;
}

// The limits used sit exactly at the smallest values allowed.
TEST_F(FitCommandTest, CopiesMeetTheRequirementsAndAllSavedExitsZero) {
    CommandRun run = fitCommand({"--kb", "20", "--max-edge", "64", "--format", "png", "--out", out(), source("tall.png")});
    ASSERT_EQ(run.status, kExitAllSaved) << run.err;
    const fs::path png = copy("tall-parcelo.png");
    EXPECT_LE(std::max(headerOf(png).width(), headerOf(png).height()), 64);
    EXPECT_LE(fs::file_size(png), 20'000u);
    const std::int64_t gained = static_cast<std::int64_t>(fs::file_size(source("tall.png")) - fs::file_size(png));
    EXPECT_EQ(run.out, expectedLine("tall.png", png, "PNG") + "\nSaved 1 copy \u00b7 " + formatByteCount(gained) +
                           " smaller than the originals\n");

    run = fitCommand({"--kb", "10", "--exact", "64x128", "--crop", "0,0", "--out", out(), source("wide.jpg")});
    ASSERT_EQ(run.status, kExitAllSaved) << run.err;
    const fs::path jpeg = copy("wide-parcelo.jpg");
    EXPECT_EQ(headerOf(jpeg).width(), 64);
    EXPECT_EQ(headerOf(jpeg).height(), 128);
    EXPECT_LE(fs::file_size(jpeg), 10'000u);
}

TEST_F(FitCommandTest, FoldersExpandSortedWithoutHiddenFilesAndAnImageNamedTwiceIsFittedOnce) {
    const fs::path photos = folder_ / "photos";
    fs::create_directory(photos);
    for (const char* name : {"img10.jpg", "img2.jpg", "img3.jpg", ".hidden.jpg"}) fs::copy_file(source("wide.jpg"), photos / name);
    writeBytes(photos / "readme.txt", "");
    const CommandRun run = fitCommand({"--out", out(), (photos / "img3.jpg").string(), photos.string()});
    EXPECT_EQ(run.status, kExitAllSaved);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 4u) << run.out;
    EXPECT_EQ(lines[0].rfind("img3.jpg \u2192 img3-parcelo.jpg \u00b7 ", 0), 0u) << lines[0];
    EXPECT_EQ(lines[1].rfind("img2.jpg \u2192 img2-parcelo.jpg \u00b7 ", 0), 0u) << lines[1];
    EXPECT_EQ(lines[2].rfind("img10.jpg \u2192 img10-parcelo.jpg \u00b7 ", 0), 0u) << lines[2];
    EXPECT_EQ(run.err, "parcelo-fit: " + photos.string() +
                           ": left out 1 item (links, and files that aren\u2019t supported images)\n");
}

TEST_F(FitCommandTest, JsonLinesDescribeEachImage) {
    const CommandRun run = fitCommand({"--json", "--out", out(), source("wide.jpg"), source("notes.jpg")});
    EXPECT_EQ(run.status, kExitSomeFailed);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 2u) << run.out;
    const fs::path saved = copy("wide-parcelo.jpg");
    const vips::VImage header = headerOf(saved);
    EXPECT_EQ(nlohmann::json::parse(lines[0]),
              (nlohmann::json{{"source", source("wide.jpg")}, {"output", saved.string()}, {"width", header.width()},
                              {"height", header.height()}, {"format", "jpeg"}, {"bytes", fs::file_size(saved)},
                              {"originalBytes", fs::file_size(source("wide.jpg"))}, {"error", nullptr}}));
    EXPECT_EQ(nlohmann::json::parse(lines[1]),
              (nlohmann::json{{"source", source("notes.jpg")}, {"output", nullptr}, {"width", nullptr},
                              {"height", nullptr}, {"format", nullptr}, {"bytes", nullptr}, {"originalBytes", nullptr},
                              {"error", {{"case", "unreadable"}, {"message", messageOf(FitError::Case::unreadable)}}}}));
    EXPECT_EQ(run.err.rfind("Saved 1 of 2 copies \u00b7 1 failed \u00b7 ", 0), 0u) << run.err;  // stdout is left to JSON
}

// Output that asks the run to stop the moment its first whole line is written.
class StopAtFirstLine : public std::stringbuf {
public:
    explicit StopAtFirstLine(std::stop_source stop) : stop_(std::move(stop)) {}

protected:
    int sync() override {
        if (str().find('\n') != std::string::npos) stop_.request_stop();
        return 0;
    }

private:
    std::stop_source stop_;
};

TEST_F(FitCommandTest, AStopSavesNothingMoreAfterTheCopyInHand) {
    std::stop_source stop;
    stop.request_stop();
    const CommandRun files = fitCommand({"--out", out(), source("wide.jpg"), source("tall.png")}, stop.get_token());
    EXPECT_EQ(files.status, kExitStopped);
    EXPECT_EQ(files.out, "Stopped. Saved 0 of 2 copies before the stop\n");
    EXPECT_TRUE(filesIn(out()).empty());

    const CommandRun folder = fitCommand({"--out", out(), folder_.path().string()}, stop.get_token());
    EXPECT_EQ(folder.status, kExitStopped);
    EXPECT_EQ(folder.out, "Stopped before any image was fitted\n");

    // Stopped while the first copy's line is written, whatever the other job has fitted by then:
    // that copy is kept, and nothing after it is saved.
    std::stop_source midway;
    StopAtFirstLine firstLine(midway);
    std::ostream runOut(&firstLine);
    std::ostringstream runErr;
    const int status = runFitCommand({"--jobs", "2", "--out", out(), source("wide.jpg"), source("tall.png"),
                                      source("notes.jpg")},
                                     {runOut, runErr, false}, midway.get_token());
    EXPECT_EQ(status, kExitStopped);
    const std::vector<std::string> lines = linesOf(firstLine.str());
    ASSERT_EQ(lines.size(), 2u) << firstLine.str();
    EXPECT_EQ(lines[0], expectedLine("wide.jpg", copy("wide-parcelo.jpg"), "JPG"));
    EXPECT_EQ(lines[1].rfind("Stopped. Saved 1 of 3 copies before the stop", 0), 0u) << lines[1];
    EXPECT_EQ(filesIn(out()), std::vector<fs::path>{copy("wide-parcelo.jpg")});
    EXPECT_EQ(runErr.str(), "");
}

TEST(FitSummary, SaysWhatWasSavedFailedAndGained) {
    const std::string gained = "4.2 MB smaller than the originals";
    EXPECT_EQ(summaryLine({.total = 1, .saved = 1, .savedBytes = 4'200'000}), "Saved 1 copy \u00b7 " + gained);
    EXPECT_EQ(summaryLine({.total = 3, .saved = 3, .savedBytes = 4'200'000}), "Saved 3 copies \u00b7 " + gained);
    EXPECT_EQ(summaryLine({.total = 3, .saved = 2, .failed = 1, .savedBytes = 4'200'000}),
              "Saved 2 of 3 copies \u00b7 1 failed \u00b7 " + gained);
    EXPECT_EQ(summaryLine({.total = 2, .failed = 2}), "Saved 0 of 2 copies \u00b7 2 failed");
    EXPECT_EQ(summaryLine({.total = 9, .saved = 1, .savedBytes = 4'200'000, .stopped = true}),
              "Stopped. Saved 1 of 9 copies before the stop \u00b7 " + gained);
    EXPECT_EQ(summaryLine({.stopped = true}), "Stopped before any image was fitted");
}

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
    const CommandRun run = fitCommand({"--kb", "5", "-h", "--bogus"});
    EXPECT_EQ(run.status, kExitAllSaved);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(fitCommand({"--help"}).out, run.out);
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


TEST(ProgressBar, DrawsOnlyOnATerminalOneLineAndWipesOnlyWhatItDrew) {
    std::ostringstream err;
    ProgressBar off(err, false, 10);
    off.show(3, "Storm.jpg");
    off.clear();
    EXPECT_EQ(err.str(), "");

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
    EXPECT_EQ(err.str(), "\r\x1b[K");
    bar.clear();
    EXPECT_EQ(err.str(), "\r\x1b[K");
}

TEST(ProgressBar, ClockAndNamesAreWrittenShort) {
    EXPECT_EQ(elapsedText(std::chrono::seconds(0)), "0:00");
    EXPECT_EQ(elapsedText(std::chrono::seconds(65)), "1:05");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3599)), "59:59");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3661)), "1:01:01");
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abcde\u2026");
    EXPECT_EQ(shortened("\u00e9\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u2026");  // never half of "é"
}

}  // namespace
}  // namespace parcelo::cli
