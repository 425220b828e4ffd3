#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "ImageFitter.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;
namespace fs = std::filesystem;

namespace {

// Mean absolute difference per band value between two images of the same size.
double meanDifference(const VImage& a, const VImage& b) {
    return (a.cast(VIPS_FORMAT_FLOAT) - b.cast(VIPS_FORMAT_FLOAT)).abs().avg();
}

struct CorpusFile {
    std::string path;
    std::int64_t width = 0, height = 0;
    int orientation = 1;
};

// The corpus's own measurements, one row a file.
std::vector<CorpusFile> manifest() {
    std::ifstream file(corpusDir() / "MANIFEST.tsv");
    std::vector<CorpusFile> files;
    std::string line;
    std::getline(file, line);  // header
    while (std::getline(file, line)) {
        std::vector<std::string> fields;
        std::stringstream row(line);
        for (std::string field; std::getline(row, field, '\t');) fields.push_back(field);
        if (fields.size() < 8) continue;
        CorpusFile entry{fields[0]};
        if (fields[3] != "-") entry.width = std::stoll(fields[3]);
        if (fields[4] != "-") entry.height = std::stoll(fields[4]);
        if (fields[7] != "-") entry.orientation = std::stoi(fields[7]);
        files.push_back(entry);
    }
    return files;
}

bool isSupported(const CorpusFile& file) {
    return file.path.rfind("reject/", 0) != 0 && file.path.rfind("corrupt/", 0) != 0;
}

const FitSettings kWebPhoto{500'000, 1'920, OutputFormat::automatic, 0, 0};

void expectCleanCopy(const FitResult& result, const CorpusFile& source) {
    const VImage copy = loadBytes(result.data);
    EXPECT_LE(static_cast<std::int64_t>(result.data.size()), kWebPhoto.targetBytes);
    EXPECT_EQ(copy.format(), VIPS_FORMAT_UCHAR);
    EXPECT_EQ(copy.interpretation(), VIPS_INTERPRETATION_sRGB);
    EXPECT_TRUE(copy.bands() == 3 || (copy.bands() == 4 && result.fileExtension == "png"));
    for (const char* field : {"exif-data", "xmp-data", "iptc-data", "icc-profile-data", "orientation"})
        EXPECT_EQ(copy.get_typeof(field), 0u) << field << " left in the copy of " << source.path;
    const bool sideways = source.orientation >= 5 && source.orientation <= 8;
    EXPECT_LE(result.width, sideways ? source.height : source.width);
    EXPECT_LE(result.height, sideways ? source.width : source.height);
}

// The copy compared with a reference picture scaled to the same size.
double differenceFrom(const FitResult& result, const fs::path& reference) {
    const VImage copy = loadBytes(result.data);
    const VImage expected = VImage::thumbnail(
        reference.c_str(), copy.width(), VImage::option()->set("height", copy.height())->set("size", VIPS_SIZE_FORCE));
    return meanDifference(copy, expected);
}

}  // namespace

TEST(Corpus, EverySupportedImageFitsAsACleanUprightSRGBCopy) {
    REQUIRE_CORPUS();
    int fitted = 0;
    for (const CorpusFile& file : manifest()) {
        if (!isSupported(file)) continue;
        SCOPED_TRACE(file.path);
        const FitResult result = ImageFitter::fit(corpusDir() / file.path, kWebPhoto, CropPosition::center());
        expectCleanCopy(result, file);
        ++fitted;
    }
    EXPECT_GE(fitted, 40);
}

TEST(Corpus, EveryOrientationComesOutUpright) {
    REQUIRE_CORPUS();
    const fs::path upright = corpusDir() / "photos/Storm.jpg";
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto name = "orientation/landscape-" + std::to_string(orientation) + ".jpg";
        const FitResult result = ImageFitter::fit(corpusDir() / name, kWebPhoto, CropPosition::center());
        EXPECT_EQ(sizeOf(result), Size(1'920, 1'280)) << name;
        EXPECT_LT(differenceFrom(result, upright), 10.0) << name;  // a wrong turn differs by 40 and more
    }
    for (const char* name : {"orientation/portrait-6.jpg", "orientation/portrait-8.jpg"}) {
        const Bitmap preview = ImageFitter::preview(corpusDir() / name, 400);
        EXPECT_EQ(sizeOf(preview), Size(200, 400)) << name;
    }
}

TEST(Corpus, ColourProfilesAreConvertedToSRGB) {
    REQUIRE_CORPUS();
    const std::pair<const char*, const char*> pairs[] = {
        {"color/ladybird-swapped-rg.jpg", "photos/LadyBird.jpg"},
        {"color/aqua-adobergb.jpg", "photos/Aqua.jpg"},
        {"color/yellowflower-prophoto.jpg", "photos/YellowFlower.jpg"},
    };
    for (const auto& [profiled, reference] : pairs) {
        const FitResult result = ImageFitter::fit(corpusDir() / profiled, kWebPhoto, CropPosition::center());
        EXPECT_LT(differenceFrom(result, corpusDir() / reference), 8.0) << profiled;
    }
}

TEST(Corpus, TransparencyDecidesTheAutomaticFormat) {
    REQUIRE_CORPUS();
    EXPECT_EQ(ImageFitter::fit(corpusDir() / "alpha/Kay-dark-1080x1920.png", kWebPhoto, {}).fileExtension, "jpg");
    for (const char* name : {"alpha/Waves.png", "alpha/ladybird-vignette.png", "formats/ladybird-alpha.heic",
                             "formats/ladybird-32bit-alpha.bmp"}) {
        const FitResult result = ImageFitter::fit(corpusDir() / name, kWebPhoto, {});
        EXPECT_EQ(result.fileExtension, "png") << name;
        EXPECT_EQ(loadBytes(result.data).bands(), 4) << name;
    }
}

TEST(Corpus, RefusedAndDamagedFilesEndInTheirErrorSilently) {
    REQUIRE_CORPUS();
    const std::map<std::string, FitError::Case> expected = {
        {"reject/animated.gif", FitError::Case::multipleFrames},
        {"reject/two-pages.tif", FitError::Case::multipleFrames},
        {"reject/aqua.pdf", FitError::Case::unreadable},
        {"reject/empty.png", FitError::Case::unreadable},
        {"reject/garden.avif", FitError::Case::unreadable},
        {"reject/notes-named.jpg", FitError::Case::unreadable},
        {"reject/symbolic.webp", FitError::Case::unreadable},
        {"corrupt/blinds-garbage.jpg", FitError::Case::unreadable},
        {"corrupt/garden-header-only.jpg", FitError::Case::unreadable},
        {"corrupt/storm-truncated.heic", FitError::Case::unreadable},
        {"corrupt/twowings-truncated.jpg", FitError::Case::unreadable},
        {"corrupt/waves-truncated.png", FitError::Case::unreadable},
    };
    int checked = 0;
    for (const char* folder : {"reject", "corrupt"}) {
        for (const auto& entry : fs::directory_iterator(corpusDir() / folder)) {
            const std::string name = std::string(folder) + "/" + entry.path().filename().string();
            ASSERT_TRUE(expected.contains(name)) << "new file in the corpus without an expected error: " << name;
            SCOPED_TRACE(name);
            ::testing::internal::CaptureStderr();
            const FitError::Case fitCase = failureOf([&] { ImageFitter::fit(entry.path(), kWebPhoto, {}); });
            const std::string printed = ::testing::internal::GetCapturedStderr();
            EXPECT_EQ(fitCase, expected.at(name));
            EXPECT_EQ(printed, "") << "libraries printed while refusing it";
            ++checked;
        }
    }
    EXPECT_EQ(checked, static_cast<int>(expected.size()));
}
