// Saving a copy beside others: never over an existing file, nothing left when it fails.
#include <gtest/gtest.h>

#include "ImageFitter.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
namespace fs = std::filesystem;

namespace {

FitResult copyOf(const std::string& extension, std::string bytes = "fitted bytes") {
    return {std::vector<std::uint8_t>(bytes.begin(), bytes.end()), 10, 10, extension, 100};
}

// The error a save into folder ends in; a save that succeeds fails the test.
std::error_code failedSave(const fs::path& folder) {
    try {
        ImageFitter::exportResult(copyOf("jpg"), "x.png", folder);
    } catch (const fs::filesystem_error& error) {
        return error.code();
    }
    ADD_FAILURE() << "the save succeeded";
    return {};
}

TEST(ImageExport, RepeatedSavesAreNumberedNeverOverwritten) {
    ScratchFolder folder;
    const std::tuple<const char*, const char*, const char*> saves[] = {
        {"jpg", "IMG_0042.HEIC", "IMG_0042-parcelo.jpg"},   {"jpg", "IMG_0042.HEIC", "IMG_0042-parcelo-2.jpg"},
        {"jpg", "IMG_0042.HEIC", "IMG_0042-parcelo-3.jpg"}, {"jpg", "a.png", "a-parcelo.jpg"},
        {"jpg", "a.jpg", "a-parcelo-2.jpg"},                {"png", "a.jpg", "a-parcelo.png"},
    };
    for (const auto& [extension, source, saved] : saves)
        EXPECT_EQ(ImageFitter::exportResult(copyOf(extension, saved), source, folder.path()), folder / saved);
    for (const auto& [extension, source, saved] : saves) EXPECT_EQ(contents(folder / saved), saved);
}

// Other failures than a taken name arrive at once; after 10,000 taken names it gives up.
TEST(ImageExport, FailuresWriteNothing) {
    ScratchFolder folder;
    EXPECT_EQ(failedSave(folder / "no-such-folder"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(folder / "no-such-folder"));
    writeBytes(folder / "x-parcelo.jpg", "taken");
    for (int attempt = 2; attempt <= kExportAttempts; ++attempt)
        writeBytes(folder / ("x-parcelo-" + std::to_string(attempt) + ".jpg"), "taken");
    EXPECT_EQ(failedSave(folder.path()), std::errc::file_exists);
    EXPECT_EQ(filesIn(folder.path()).size(), static_cast<std::size_t>(kExportAttempts));
}

TEST(ImageExport, StemKeepsInnerDotsIsDecomposedAndCutAtWholeCharacters) {
    const std::string a198(198, 'a');
    const std::pair<std::string, std::string> stems[] = {
        {"holiday.final.png", "holiday.final"},
        {"/some/folder/IMG_1.jpeg", "IMG_1"},
        {"", "image"},
        {std::string(250, 'a') + ".jpg", std::string(200, 'a')},
        {"caf\xC3\xA9.jpg", "cafe\xCC\x81"},  // é stored decomposed: e and the combining accent, 3 bytes
        {a198 + "\xC3\xA9.png", a198},        // 198 letters + é need 201 bytes: the whole é is left out
        {a198.substr(1) + "\xC3\xA9.png", a198.substr(1) + "e\xCC\x81"},
        {a198 + "a\xF0\x9F\x98\x80.png", a198 + "a"},  // nor does a four-byte emoji split
    };
    for (const auto& [name, stem] : stems) EXPECT_EQ(ImageFitter::exportStem(name), stem) << name;
}

}  // namespace
