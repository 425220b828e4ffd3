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

}  // namespace

TEST(ExportNames, RepeatedSavesAreNumberedNeverOverwritten) {
    ScratchFolder folder;
    EXPECT_EQ(ImageFitter::exportResult(copyOf("jpg", "first"), "IMG_0042.HEIC", folder.path()).filename(),
              "IMG_0042-parcelo.jpg");
    EXPECT_EQ(ImageFitter::exportResult(copyOf("jpg", "second"), "IMG_0042.HEIC", folder.path()).filename(),
              "IMG_0042-parcelo-2.jpg");
    EXPECT_EQ(ImageFitter::exportResult(copyOf("jpg"), "IMG_0042.HEIC", folder.path()).filename(),
              "IMG_0042-parcelo-3.jpg");
    EXPECT_EQ(contents(folder / "IMG_0042-parcelo.jpg"), "first");
    EXPECT_EQ(contents(folder / "IMG_0042-parcelo-2.jpg"), "second");

    EXPECT_EQ(ImageFitter::exportResult(copyOf("jpg"), "a.png", folder.path()).filename(), "a-parcelo.jpg");
    EXPECT_EQ(ImageFitter::exportResult(copyOf("jpg"), "a.jpg", folder.path()).filename(), "a-parcelo-2.jpg");
    EXPECT_EQ(ImageFitter::exportResult(copyOf("png"), "a.jpg", folder.path()).filename(), "a-parcelo.png");
}

TEST(ExportNames, StemKeepsInnerDotsIsDecomposedAndCutAtWholeCharacters) {
    EXPECT_EQ(ImageFitter::exportStem("holiday.final.png"), "holiday.final");
    EXPECT_EQ(ImageFitter::exportStem("/some/folder/IMG_1.jpeg"), "IMG_1");
    EXPECT_EQ(ImageFitter::exportStem(""), "image");
    EXPECT_EQ(ImageFitter::exportStem(std::string(250, 'a') + ".jpg"), std::string(200, 'a'));
    // é is stored decomposed: e plus the combining acute accent, 3 bytes in all.
    EXPECT_EQ(ImageFitter::exportStem("caf\xC3\xA9.jpg"), "cafe\xCC\x81");
    // 198 letters + é need 201 bytes: the whole é is left out, never half of it.
    EXPECT_EQ(ImageFitter::exportStem(std::string(198, 'a') + "\xC3\xA9.png"), std::string(198, 'a'));
    EXPECT_EQ(ImageFitter::exportStem(std::string(197, 'a') + "\xC3\xA9.png"), std::string(197, 'a') + "e\xCC\x81");
    // A four-byte emoji never splits either.
    EXPECT_EQ(ImageFitter::exportStem(std::string(199, 'a') + "\xF0\x9F\x98\x80.png"), std::string(199, 'a'));
}

// Other failures than a taken name arrive at once; after 10,000 taken names it gives up.
TEST(ExportNames, FailuresWriteNothing) {
    ScratchFolder folder;
    const fs::path missing = folder / "no-such-folder";
    try {
        ImageFitter::exportResult(copyOf("jpg"), "photo.jpg", missing);
        ADD_FAILURE() << "writing into a missing folder must fail";
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
    EXPECT_FALSE(fs::exists(missing));

    writeBytes(folder / "x-parcelo.jpg", "taken");
    for (int attempt = 2; attempt <= kExportAttempts; ++attempt)
        writeBytes(folder / ("x-parcelo-" + std::to_string(attempt) + ".jpg"), "taken");
    try {
        ImageFitter::exportResult(copyOf("jpg"), "x.png", folder.path());
        ADD_FAILURE() << "every name is taken";
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(error.code(), std::errc::file_exists);
    }
    EXPECT_FALSE(fs::exists(folder / "x-parcelo-10001.jpg"));
}
