// parcelo-fit as a user runs it: its own process, real images, real signals.
#include <map>
#include <optional>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "CliTestSupport.h"
#include "FileSizeLimit.h"
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

// Generated photos a.jpg, b.jpg … in the scratch folder; their paths.
std::vector<std::string> smallPhotos(const TempFolder& scratch, int count) {
    std::vector<std::string> paths;
    for (int i = 0; i < count; ++i) {
        paths.push_back((scratch / (std::string(1, static_cast<char>('a' + i)) + ".jpg")).string());
        writeImage(paths.back(), 400, 300);
    }
    return paths;
}

// The disk fills up midway through each copy: nothing is left under a copy's name, each image
// says why, and a second run saves them whole.
TEST(FitBinary, ACopyCutShortByAFullDiskLeavesNothing) {
    TempFolder scratch;
    const std::vector<std::string> photos = smallPhotos(scratch, 2);
    const fs::path out = scratch / "out";
    fs::create_directory(out);
    std::vector<std::string> arguments{"--out", out.string()};
    arguments.insert(arguments.end(), photos.begin(), photos.end());
    std::optional<FitProcess> full;
    {
        const FileSizeLimit diskFull(4'000);  // inherited by the process started now
        full.emplace(arguments, scratch.path());
    }
    EXPECT_EQ(full->wait(), kExitSomeFailed);
    EXPECT_EQ(linesOf(full->out()), (std::vector<std::string>{"a.jpg: Couldn\u2019t save the copy: File too large",
                                                              "b.jpg: Couldn\u2019t save the copy: File too large",
                                                              "Saved 0 of 2 copies \u00b7 2 failed"}));
    EXPECT_TRUE(filesIn(out).empty());

    FitProcess room(arguments, scratch.path());
    EXPECT_EQ(room.wait(), kExitAllSaved) << room.out();
    EXPECT_EQ(filesIn(out), (std::vector<fs::path>{out / "a-parcelo.jpg", out / "b-parcelo.jpg"}));
}

// Two runs save copies of the same photos into one folder at the same moment: every copy gets a
// name of its own, and each is whole.
TEST(FitBinary, TwoRunsSavingIntoOneFolderAtOnceNeverOverwriteEachOther) {
    TempFolder scratch;
    const std::vector<std::string> photos = smallPhotos(scratch, 4);
    const fs::path out = scratch / "out";
    std::vector<std::string> arguments{"--out", out.string()};
    arguments.insert(arguments.end(), photos.begin(), photos.end());
    fs::create_directories(scratch / "first");
    fs::create_directories(scratch / "second");
    FitProcess first(arguments, scratch / "first");
    FitProcess second(arguments, scratch / "second");
    EXPECT_EQ(first.wait(), kExitAllSaved) << first.err();
    EXPECT_EQ(second.wait(), kExitAllSaved) << second.err();

    std::vector<fs::path> expected;
    for (const char stem : std::string("abcd"))
        for (const char* suffix : {"-parcelo-2.jpg", "-parcelo.jpg"}) expected.push_back(out / (std::string(1, stem) + suffix));
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(filesIn(out), expected);
    for (const char stem : std::string("abcd")) {
        const std::string copy = readText(out / (std::string(1, stem) + "-parcelo.jpg"));
        EXPECT_EQ(readText(out / (std::string(1, stem) + "-parcelo-2.jpg")), copy) << stem;
        EXPECT_GT(copy.size(), 1'000u);
        EXPECT_EQ(copy.substr(copy.size() - 2), "\xFF\xD9") << stem;  // the end-of-image marker
    }
}

// Ctrl+C arrives while the run is held after its first copy: every line of --json output fills
// more than half of the one-page pipe the test reads, so parcelo-fit is at most a line ahead of
// the test, and the signal reaches it with most images still to come. It ends after the copy in
// hand, never in the middle of one.
TEST(FitBinary, CtrlCStopsCleanlyAndKeepsWhatWasSaved) {
    REQUIRE_CORPUS();
    TempFolder scratch;
    fs::path out = scratch.path();
    while (out.string().size() < 2'600) out /= std::string(200, 'o');  // a long path makes long lines
    std::vector<std::string> arguments{"--json", "--jobs", "1", "--out", out.string()};
    for (const std::string& folder : kImageFolders) arguments.push_back((corpusDir() / folder).string());
    FitProcess process(arguments, scratch.path(), FitProcess::Output::held);
    const std::optional<std::string> first = process.readLine();
    ASSERT_TRUE(first) << process.err();
    ASSERT_GT(first->size(), FitProcess::kPage / 2u) << "a line must fill most of the pipe to hold the run";
    process.signal(SIGINT);
    const int status = process.wait();

    EXPECT_EQ(status, kExitStopped) << process.err();
    const std::vector<std::string> lines = linesOf(process.out());
    const std::vector<fs::path> saved = filesIn(out);
    EXPECT_EQ(lines.size(), saved.size());
    EXPECT_LT(saved.size(), filesOf(kImageFolders).size());
    EXPECT_EQ(process.err().rfind("Stopped. Saved " + std::to_string(saved.size()) + " of " +
                                      std::to_string(filesOf(kImageFolders).size()) + " copies before the stop",
                                  0),
              0u)
        << process.err();
    // Every file in the output folder is a copy that reads back whole: none was cut short by the stop.
    ASSERT_EQ(VIPS_INIT("parcelo-cli-tests"), 0);
    for (const std::string& line : lines) {
        const fs::path file = nlohmann::json::parse(line).at("output").get<std::string>();
        EXPECT_TRUE(std::binary_search(saved.begin(), saved.end(), file)) << file;
        const auto image = vips::VImage::new_from_file(file.c_str(), vips::VImage::option()->set("fail", true));
        EXPECT_NO_THROW(image.avg()) << file;
    }
}

}  // namespace
}  // namespace parcelo::cli
