#include "FitCommand.h"

#include <sys/stat.h>

#include <future>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteCountFormat.h"
#include "CliTestSupport.h"
#include "FitError.h"
#include "ImageImport.h"

namespace parcelo::cli {
namespace {

using parcelo::test::filesIn;
using parcelo::test::linesOf;
using parcelo::test::readText;
using parcelo::test::TempFolder;
using parcelo::test::writeFile;
using parcelo::test::writeImage;
namespace fs = std::filesystem;

struct CommandRun {
    int status = -1;
    std::string out;
    std::string err;
};

CommandRun fitCommand(const std::vector<std::string>& arguments, std::stop_token stopToken = {}) {
    std::ostringstream out;
    std::ostringstream err;
    CommandRun run;
    run.status = runFitCommand(arguments, {out, err, false}, std::move(stopToken));
    run.out = out.str();
    run.err = err.str();
    return run;
}

std::string unreadableMessage() {
    return std::string(FitError(FitError::Case::unreadable).errorDescription());
}

// Images of several shapes and kinds, and one file that only claims to be an image.
class FitCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        writeImage(folder_ / "wide.jpg", 400, 300);
        writeImage(folder_ / "tall.png", 200, 320);
        writeFile(folder_ / "notes.jpg", "not a picture");
    }

    fs::path source(const std::string& name) const { return folder_ / name; }
    std::string out() const { return (folder_ / "out").string(); }

    TempFolder folder_;
};

// --- Refusals before any work ------------------------------------------------------------------

TEST_F(FitCommandTest, InvalidRequirementsAreRefusedBeforeAnythingIsRead) {
    // Reading a named pipe blocks until someone writes to it: a run that reads it would hang.
    const fs::path pipe = folder_ / "pipe.jpg";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0) << "cannot make a named pipe";
    for (const std::vector<std::string>& requirements :
         {std::vector<std::string>{"--kb", "9"}, {"--max-edge", "63"}, {"--exact", "600x0"}, {"--exact", "4097x64"}}) {
        std::vector<std::string> arguments = requirements;
        arguments.insert(arguments.end(), {"--out", out(), pipe.string(), folder_.path().string()});
        auto running = std::async(std::launch::async, [&] { return fitCommand(arguments); });
        if (running.wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            writeFile(pipe, "");  // let the stuck run go on, then fail
            FAIL() << "the run read its input despite invalid requirements";
        }
        const CommandRun run = running.get();
        EXPECT_EQ(run.status, kExitUsage);
        EXPECT_EQ(run.err, "parcelo-fit: " + std::string(FitError(FitError::Case::invalidSettings).errorDescription()) + "\n");
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(fs::exists(out()));
    }
}

TEST_F(FitCommandTest, BadUsageExitsWithTwoAndAUsageLine) {
    const CommandRun run = fitCommand({"--kb", "lots", "--out", out(), source("wide.jpg").string()});
    EXPECT_EQ(run.status, kExitUsage);
    EXPECT_NE(run.err.find("--kb"), std::string::npos);
    EXPECT_NE(run.err.find("Usage: parcelo-fit"), std::string::npos);
    EXPECT_EQ(run.out, "");
    EXPECT_FALSE(fs::exists(out()));
}

TEST_F(FitCommandTest, HelpGoesToStandardOutput) {
    const CommandRun run = fitCommand({"--help"});
    EXPECT_EQ(run.status, kExitAllSaved);
    EXPECT_NE(run.out.find("--max-edge"), std::string::npos);
    EXPECT_EQ(run.err, "");
}

TEST_F(FitCommandTest, NothingToFitIsAFailure) {
    const fs::path empty = folder_ / "empty";
    fs::create_directory(empty);
    const CommandRun run = fitCommand({"--out", out(), empty.string()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    EXPECT_NE(run.err.find("no images"), std::string::npos);
    EXPECT_FALSE(fs::exists(out()));
}

TEST_F(FitCommandTest, OutputFolderThatIsAFileIsRefused) {
    const CommandRun run = fitCommand({"--out", source("notes.jpg").string(), source("wide.jpg").string()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    EXPECT_NE(run.err.find("output folder"), std::string::npos);
    EXPECT_EQ(readText(source("notes.jpg")), "not a picture");
}

TEST_F(FitCommandTest, FolderOfTooManyEntriesAddsNothing) {
    const fs::path crowded = folder_ / "crowded";
    fs::create_directory(crowded);
    for (std::int64_t i = 0; i <= ImageImport::kMaxExaminedEntries; ++i) writeFile(crowded / (std::to_string(i) + ".txt"), "");
    const CommandRun run = fitCommand({"--out", out(), source("wide.jpg").string(), crowded.string()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    EXPECT_EQ(run.err, "parcelo-fit: " + std::string(ImageImport::kTooManyEntriesMessage) + "\n");
    EXPECT_FALSE(fs::exists(out()));
}

// --- Lines and totals ------------------------------------------------------------------------------

struct Header {
    int width = 0;
    int height = 0;
};

Header headerOf(const fs::path& location) {
    const vips::VImage image = vips::VImage::new_from_file(location.c_str());
    return {image.width(), image.height()};
}

std::string expectedLine(const std::string& sourceName, const fs::path& output, const std::string& format) {
    const Header header = headerOf(output);
    return sourceName + " \u2192 " + output.filename().string() + " \u00b7 " + std::to_string(header.width) +
           " \u00d7 " + std::to_string(header.height) + " \u00b7 " + format + " \u00b7 " +
           formatByteCount(static_cast<std::int64_t>(fs::file_size(output)));
}

TEST_F(FitCommandTest, OneLinePerImageInInputOrder) {
    const CommandRun run = fitCommand({"--jobs", "2", "--out", out(), source("tall.png").string(), source("notes.jpg").string(),
                                source("wide.jpg").string()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 4u) << run.out;
    EXPECT_EQ(lines[0], expectedLine("tall.png", fs::path(out()) / "tall-parcelo.jpg", "JPG"));
    EXPECT_EQ(lines[1], "notes.jpg: " + unreadableMessage());
    EXPECT_EQ(lines[2], expectedLine("wide.jpg", fs::path(out()) / "wide-parcelo.jpg", "JPG"));
    EXPECT_EQ(lines[3].rfind("Saved 2 of 3 copies \u00b7 1 failed \u00b7 ", 0), 0u) << lines[3];
    EXPECT_EQ(run.err, "");
}

TEST_F(FitCommandTest, CopiesMeetTheRequirements) {
    const CommandRun run = fitCommand({"--kb", "20", "--max-edge", "100", "--format", "png", "--out", out(),
                                source("wide.jpg").string()});
    ASSERT_EQ(run.status, kExitAllSaved) << run.out << run.err;
    const fs::path copy = fs::path(out()) / "wide-parcelo.png";
    const Header header = headerOf(copy);
    EXPECT_LE(std::max(header.width, header.height), 100);
    EXPECT_LE(fs::file_size(copy), 20'000u);
    EXPECT_EQ(linesOf(run.out)[0], expectedLine("wide.jpg", copy, "PNG"));
}

TEST_F(FitCommandTest, ExactSizeWithACrop) {
    const CommandRun run = fitCommand({"--exact", "64x128", "--crop", "0,0", "--out", out(), source("wide.jpg").string()});
    ASSERT_EQ(run.status, kExitAllSaved) << run.out << run.err;
    const Header header = headerOf(fs::path(out()) / "wide-parcelo.jpg");
    EXPECT_EQ(header.width, 64);
    EXPECT_EQ(header.height, 128);
}

TEST_F(FitCommandTest, EverythingSavedExitsZero) {
    const CommandRun run = fitCommand({"--out", out(), source("wide.jpg").string(), source("tall.png").string()});
    EXPECT_EQ(run.status, kExitAllSaved);
    EXPECT_EQ(linesOf(run.out).back().rfind("Saved 2 copies", 0), 0u) << run.out;
    EXPECT_EQ(filesIn(out()).size(), 2u);
}

TEST_F(FitCommandTest, FoldersExpandSortedAndHiddenFilesStayOut) {
    const fs::path photos = folder_ / "photos";
    fs::create_directory(photos);
    for (const char* name : {"img10.jpg", "img2.jpg", ".hidden.jpg"}) fs::copy_file(source("wide.jpg"), photos / name);
    writeFile(photos / "readme.txt", "");
    const CommandRun run = fitCommand({"--out", out(), photos.string()});
    EXPECT_EQ(run.status, kExitAllSaved);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 3u) << run.out;
    EXPECT_EQ(lines[0].rfind("img2.jpg \u2192 img2-parcelo.jpg", 0), 0u) << lines[0];
    EXPECT_EQ(lines[1].rfind("img10.jpg \u2192 img10-parcelo.jpg", 0), 0u) << lines[1];
    EXPECT_NE(run.err.find("left out 1 item "), std::string::npos) << run.err;
}

TEST_F(FitCommandTest, AnImageNamedTwiceIsFittedOnce) {
    const CommandRun run = fitCommand({"--out", out(), source("wide.jpg").string(), folder_.path().string()});
    EXPECT_EQ(linesOf(run.out).size(), 4u) << run.out;  // wide, then notes and tall from the folder, and the total
    EXPECT_FALSE(fs::exists(fs::path(out()) / "wide-parcelo-2.jpg"));
}

TEST_F(FitCommandTest, SecondRunSavesBesideTheFirst) {
    ASSERT_EQ(fitCommand({"--out", out(), source("wide.jpg").string()}).status, kExitAllSaved);
    const std::string first = readText(fs::path(out()) / "wide-parcelo.jpg");
    const CommandRun again = fitCommand({"--out", out(), source("wide.jpg").string()});
    EXPECT_EQ(again.status, kExitAllSaved);
    EXPECT_NE(again.out.find("wide.jpg \u2192 wide-parcelo-2.jpg"), std::string::npos) << again.out;
    EXPECT_EQ(readText(fs::path(out()) / "wide-parcelo.jpg"), first);
    EXPECT_EQ(readText(fs::path(out()) / "wide-parcelo-2.jpg"), first);
}

TEST_F(FitCommandTest, TwoJobsSaveTheSameFilesAsOne) {
    fs::copy_file(source("tall.png"), folder_ / "wide.png");  // its copy clashes with wide.jpg's
    writeImage(folder_ / "small.tif", 90, 70);
    const std::vector<std::string> sources{source("wide.png").string(), source("wide.jpg").string(),
                                           source("small.tif").string(), source("notes.jpg").string(),
                                           source("tall.png").string()};
    const fs::path one = folder_ / "one";
    const fs::path two = folder_ / "two";
    std::vector<std::string> arguments{"--kb", "30", "--jobs", "1", "--out", one.string()};
    arguments.insert(arguments.end(), sources.begin(), sources.end());
    const CommandRun serial = fitCommand(arguments);
    arguments[3] = "2";
    arguments[5] = two.string();
    const CommandRun parallel = fitCommand(arguments);

    EXPECT_EQ(serial.status, parallel.status);
    ASSERT_EQ(filesIn(one).size(), 4u);
    ASSERT_EQ(filesIn(two).size(), 4u);
    for (const fs::path& file : filesIn(one)) {
        ASSERT_TRUE(fs::exists(two / file.filename())) << file.filename();
        EXPECT_EQ(readText(two / file.filename()), readText(file)) << file.filename();
    }
}

// --- JSON lines ------------------------------------------------------------------------------------

TEST_F(FitCommandTest, JsonLinesDescribeEachImage) {
    const CommandRun run = fitCommand({"--json", "--out", out(), source("wide.jpg").string(), source("notes.jpg").string()});
    EXPECT_EQ(run.status, kExitSomeFailed);
    const std::vector<std::string> lines = linesOf(run.out);
    ASSERT_EQ(lines.size(), 2u) << run.out;
    const std::set<std::string> keys{"source", "output", "width", "height", "format", "bytes", "originalBytes", "error"};

    const nlohmann::json saved = nlohmann::json::parse(lines[0]);
    std::set<std::string> savedKeys;
    for (const auto& [key, value] : saved.items()) savedKeys.insert(key);
    EXPECT_EQ(savedKeys, keys);
    const fs::path output = saved.at("output").get<std::string>();
    EXPECT_EQ(saved.at("source"), source("wide.jpg").string());
    EXPECT_EQ(output, fs::path(out()) / "wide-parcelo.jpg");
    EXPECT_EQ(saved.at("width"), headerOf(output).width);
    EXPECT_EQ(saved.at("height"), headerOf(output).height);
    EXPECT_EQ(saved.at("format"), "jpeg");
    EXPECT_EQ(saved.at("bytes"), fs::file_size(output));
    EXPECT_EQ(saved.at("originalBytes"), fs::file_size(source("wide.jpg")));
    EXPECT_TRUE(saved.at("error").is_null());

    const nlohmann::json failed = nlohmann::json::parse(lines[1]);
    EXPECT_EQ(failed.size(), keys.size());
    EXPECT_EQ(failed.at("error"), (nlohmann::json{{"case", "unreadable"}, {"message", unreadableMessage()}}));
    for (const char* absent : {"output", "width", "height", "format", "bytes", "originalBytes"})
        EXPECT_TRUE(failed.at(absent).is_null()) << absent;

    EXPECT_EQ(run.err.rfind("Saved 1 of 2 copies", 0), 0u) << run.err;  // the summary leaves stdout to JSON
}

// --- Stopping ----------------------------------------------------------------------------------------

TEST_F(FitCommandTest, StopBeforeTheStartSavesNothing) {
    std::stop_source stop;
    stop.request_stop();
    const CommandRun files = fitCommand({"--out", out(), source("wide.jpg").string(), source("tall.png").string()}, stop.get_token());
    EXPECT_EQ(files.status, kExitStopped);
    EXPECT_EQ(files.out, "Stopped. Saved 0 of 2 copies before the stop\n");
    EXPECT_TRUE(filesIn(out()).empty());

    const CommandRun folder = fitCommand({"--out", out(), folder_.path().string()}, stop.get_token());
    EXPECT_EQ(folder.status, kExitStopped);
    EXPECT_EQ(folder.out, "Stopped before any image was fitted\n");
}

// --- The closing line ------------------------------------------------------------------------------

TEST(FitSummary, SaysWhatWasSavedFailedAndGained) {
    const std::string gained = formatByteCount(4'200'000) + " smaller than the originals";
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
