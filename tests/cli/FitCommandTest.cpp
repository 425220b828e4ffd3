#include "FitCommand.h"

#include <sys/stat.h>

#include <future>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "CliTestSupport.h"
#include "FitError.h"
#include "ImageImport.h"

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
namespace fs = std::filesystem;

std::string messageOf(FitError::Case errorCase) { return std::string(FitError(errorCase).errorDescription()); }

// Images of several shapes and kinds, and one file that only claims to be an image.
class FitCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        writeImage(folder_ / "wide.jpg", 400, 300);
        writeImage(folder_ / "tall.png", 200, 320);
        writeFile(folder_ / "notes.jpg", "not a picture");
    }

    std::string source(const std::string& name) const { return (folder_ / name).string(); }
    std::string out() const { return (folder_ / "out").string(); }
    fs::path copy(const std::string& name) const { return folder_ / "out" / name; }

    TempFolder folder_;
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
            writeFile(pipe, "");  // let the stuck run go on, then fail
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
    for (std::int64_t i = 0; i <= ImageImport::kMaxExaminedEntries; ++i) writeFile(crowded / (std::to_string(i) + ".txt"), "");
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
    EXPECT_EQ(readText(source("notes.jpg")), "not a picture");
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
    for (const fs::path& file : filesIn(one)) EXPECT_EQ(readText(copy(file.filename().string())), readText(file)) << file;
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
    writeFile(photos / "readme.txt", "");
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

}  // namespace
}  // namespace parcelo::cli
