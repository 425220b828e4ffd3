// parcelo-fit as a user runs it: its own process, real images, real signals.
#include <chrono>
#include <map>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CliTestSupport.h"
#include "FitCommand.h"
#include "FitError.h"
#include "TestSupport.h"

namespace parcelo::cli {
namespace {

using namespace parcelo::test;
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

// Every supported image of the corpus is saved exactly once and every refused file is reported
// with its message, with not one line from a decoder; a second run saves a second set beside the first.
TEST(FitBinary, WholeCorpusRunTwiceIntoOneFolder) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    const fs::path out = scratch / "out";
    const std::vector<std::string> images = filesOf(kImageFolders);
    const std::vector<std::string> refused = filesOf(kRefusedFolders);
    std::vector<std::string> arguments{"--json", "--jobs", "2", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    arguments.insert(arguments.end(), refused.begin(), refused.end());
    std::set<std::string> messages;
    for (FitError::Case errorCase : FitError::allCases) messages.insert(std::string(FitError(errorCase).errorDescription()));

    // Runs parcelo-fit and returns each saved image's copy, by source.
    const auto run = [&](const std::string& name) {
        SCOPED_TRACE(name + " run");
        fs::create_directory(scratch / name);
        FitProcess process(arguments, scratch / name);
        EXPECT_EQ(process.wait(), kExitSomeFailed);
        std::map<std::string, fs::path> copies;
        std::set<std::string> failed;
        for (const std::string& line : linesOf(process.out())) {
            const nlohmann::json image = nlohmann::json::parse(line);
            const std::string source = fs::path(image.at("source").get<std::string>()).lexically_normal().string();
            if (image.at("error").is_null()) {
                EXPECT_TRUE(copies.emplace(source, image.at("output").get<std::string>()).second) << line;
            } else {
                failed.insert(source);
                EXPECT_EQ(messages.count(image.at("error").at("message").get<std::string>()), 1u) << line;
            }
        }
        EXPECT_EQ(failed, std::set<std::string>(refused.begin(), refused.end()));
        EXPECT_EQ(linesOf(process.err()).size(), 1u) << process.err();  // the summary, and no library's chatter
        EXPECT_EQ(process.err().rfind("Saved " + std::to_string(images.size()) + " of " +
                                          std::to_string(images.size() + refused.size()) + " copies \u00b7 " +
                                          std::to_string(refused.size()) + " failed \u00b7 ", 0), 0u) << process.err();
        return copies;
    };

    const std::map<std::string, fs::path> first = run("first");
    ASSERT_EQ(first.size(), images.size());
    for (const std::string& image : images) EXPECT_EQ(first.count(image), 1u) << image;
    const std::vector<fs::path> firstFiles = filesIn(out);
    EXPECT_EQ(firstFiles.size(), images.size());

    const std::map<std::string, fs::path> second = run("second");
    ASSERT_EQ(second.size(), images.size());
    EXPECT_EQ(filesIn(out).size(), 2 * images.size());  // not one copy of the first set written over
    for (const auto& [source, copy] : second) {
        SCOPED_TRACE(source);
        const fs::path& earlier = first.at(source);
        EXPECT_EQ(readText(copy), readText(earlier));
        // The second copy of an image whose name clashed with no other's is "-parcelo-2".
        const fs::path secondName = fs::path(source).stem().string() + "-parcelo-2" + earlier.extension().string();
        if (!std::binary_search(firstFiles.begin(), firstFiles.end(), out / secondName)) {
            EXPECT_EQ(copy.filename(), secondName);
        }
    }
}

TEST(FitBinary, CtrlCStopsCleanlyAndKeepsWhatWasSaved) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    const fs::path out = scratch / "out";
    std::vector<std::string> arguments{"--jobs", "1", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    FitProcess process(arguments, scratch.path());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    bool started = false;  // once a line says an image was saved
    while (!started && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        started = process.out().find(" \u2192 ") != std::string::npos;
    }
    process.signal(SIGINT);
    const int status = process.wait();
    ASSERT_TRUE(started) << "no image was saved within two minutes";

    EXPECT_EQ(status, kExitStopped) << process.out();
    const std::vector<std::string> lines = linesOf(process.out());
    const std::vector<fs::path> saved = filesIn(out);
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines.back().rfind("Stopped. Saved " + std::to_string(saved.size()) + " of ", 0), 0u) << lines.back();
    EXPECT_EQ(lines.size(), saved.size() + 1);
    EXPECT_LT(saved.size(), filesOf(kImageFolders).size());
    // Every file in the output folder is a copy that reads back whole: none was cut short by the stop.
    ASSERT_EQ(VIPS_INIT("parcelo-cli-tests"), 0);
    for (const fs::path& file : saved) {
        EXPECT_NE(file.filename().string().find("-parcelo"), std::string::npos) << file;
        const auto image = vips::VImage::new_from_file(file.c_str(), vips::VImage::option()->set("fail", true));
        EXPECT_NO_THROW(image.avg()) << file;
    }
}

}  // namespace
}  // namespace parcelo::cli
