// parcelo-fit as a user runs it: its own process, real images, real signals.
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CliTestSupport.h"
#include "FitCommand.h"
#include "FitError.h"
#include "TestSupport.h"

namespace parcelo::cli {
namespace {

using parcelo::test::corpusDir;
using parcelo::test::filesIn;
using parcelo::test::FitProcess;
using parcelo::test::linesOf;
using parcelo::test::TempFolder;
namespace fs = std::filesystem;

// The corpus folders whose every file is a supported image.
const std::vector<std::string> kImageFolders{"photos", "orientation", "alpha", "color", "formats"};
// The corpus folders whose every file must be refused.
const std::vector<std::string> kRefusedFolders{"reject", "corrupt"};

std::vector<std::string> filesOf(const std::vector<std::string>& folders) {
    std::vector<std::string> files;
    for (const std::string& folder : folders)
        for (const fs::path& file : filesIn(corpusDir() / folder)) files.push_back(file.lexically_normal().string());
    return files;
}

std::set<std::string> messagesOfAllCases() {
    std::set<std::string> messages;
    for (FitError::Case errorCase : FitError::allCases) messages.insert(std::string(FitError(errorCase).errorDescription()));
    return messages;
}

TEST(FitBinary, BadUsageExitsWithTwo) {
    TempFolder scratch;
    FitProcess process({"--out"}, scratch.path());
    EXPECT_EQ(process.wait(), kExitUsage);
    EXPECT_NE(process.err().find("Usage: parcelo-fit"), std::string::npos) << process.err();
    EXPECT_EQ(process.out(), "");
}

TEST(FitBinary, RefusedFilesGetTheirMessageAndLibrariesStayQuiet) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    std::vector<std::string> arguments{"--out", (scratch / "out").string()};
    const std::vector<std::string> refused = filesOf(kRefusedFolders);
    arguments.insert(arguments.end(), refused.begin(), refused.end());
    FitProcess process(arguments, scratch.path());
    EXPECT_EQ(process.wait(), kExitSomeFailed);

    const std::vector<std::string> lines = linesOf(process.out());
    ASSERT_EQ(lines.size(), refused.size() + 1) << process.out();
    const std::set<std::string> messages = messagesOfAllCases();
    for (std::size_t i = 0; i < refused.size(); ++i) {
        const std::string name = fs::path(refused[i]).filename().string();
        ASSERT_EQ(lines[i].rfind(name + ": ", 0), 0u) << lines[i];
        EXPECT_EQ(messages.count(lines[i].substr(name.size() + 2)), 1u) << lines[i];
    }
    EXPECT_EQ(process.err(), "");  // not one warning of a decoder on the terminal
    EXPECT_TRUE(filesIn(scratch / "out").empty());
}

// Every supported image of the corpus is saved exactly once; every refused file is reported.
TEST(FitBinary, WholeCorpusRun) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    const fs::path out = scratch / "out";
    std::vector<std::string> arguments{"--json", "--jobs", "2", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    const std::vector<std::string> refused = filesOf(kRefusedFolders);
    arguments.insert(arguments.end(), refused.begin(), refused.end());
    FitProcess process(arguments, scratch.path());
    EXPECT_EQ(process.wait(), kExitSomeFailed);

    std::multiset<std::string> saved;
    std::set<std::string> failed;
    for (const std::string& line : linesOf(process.out())) {
        const nlohmann::json image = nlohmann::json::parse(line);
        const std::string source = fs::path(image.at("source").get<std::string>()).lexically_normal().string();
        if (image.at("error").is_null()) {
            saved.insert(source);
            EXPECT_TRUE(fs::exists(image.at("output").get<std::string>())) << line;
        } else {
            failed.insert(source);
            EXPECT_EQ(messagesOfAllCases().count(image.at("error").at("message").get<std::string>()), 1u) << line;
        }
    }
    const std::vector<std::string> images = filesOf(kImageFolders);
    EXPECT_EQ(saved, std::multiset<std::string>(images.begin(), images.end()));
    EXPECT_EQ(failed, std::set<std::string>(refused.begin(), refused.end()));
    EXPECT_EQ(filesIn(out).size(), images.size());
    const std::vector<std::string> errLines = linesOf(process.err());
    ASSERT_EQ(errLines.size(), 1u) << process.err();  // the summary, and no library's chatter
    EXPECT_EQ(errLines[0].rfind("Saved " + std::to_string(images.size()) + " of ", 0), 0u) << errLines[0];
}

// Every file in the output folder reads back whole: none was cut short by the stop.
void expectCompleteImages(const fs::path& folder) {
    if (VIPS_INIT("parcelo-cli-tests") != 0) FAIL() << "cannot start libvips";
    for (const fs::path& file : filesIn(folder)) {
        EXPECT_NE(file.filename().string().find("-parcelo"), std::string::npos) << file;
        vips::VImage image = vips::VImage::new_from_file(file.c_str(), vips::VImage::option()->set("fail", true));
        EXPECT_NO_THROW(image.avg()) << file;
    }
}

TEST(FitBinary, CtrlCStopsCleanlyAndKeepsWhatWasSaved) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    const fs::path out = scratch / "out";
    std::vector<std::string> arguments{"--jobs", "1", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    FitProcess process(arguments, scratch.path());
    const bool started = process.waitForOutput([](const std::string& line) { return line.find(" \u2192 ") != std::string::npos; },
                                               std::chrono::seconds(120));
    process.signal(SIGINT);
    const int status = process.wait();
    ASSERT_TRUE(started) << "no image was saved within two minutes";

    EXPECT_EQ(status, kExitStopped) << process.out();
    const std::vector<std::string> lines = linesOf(process.out());
    ASSERT_GE(lines.size(), 2u);
    const std::size_t savedCount = filesIn(out).size();
    EXPECT_EQ(lines.back().rfind("Stopped. Saved " + std::to_string(savedCount) + " of ", 0), 0u) << lines.back();
    EXPECT_EQ(lines.size(), savedCount + 1);
    EXPECT_LT(savedCount, filesOf(kImageFolders).size());
    expectCompleteImages(out);
}

}  // namespace
}  // namespace parcelo::cli
