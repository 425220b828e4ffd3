// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Every file of the corpus against what its manifest says about it: supported images become
// clean, upright sRGB copies that look like their reference view; the others are refused.
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

#include <gtest/gtest.h>

#include "ImageFitter.h"
#include "RequirementCheck.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;
namespace fs = std::filesystem;

namespace {

struct CorpusFile {
    std::string path;
    std::int64_t width = 0, height = 0;  // as stored
    int orientation = 1;
    int pages = 1;
    int minAlpha = 255;
    std::optional<std::string> reference;  // the photo that shows it upright in sRGB
};

std::optional<std::string> referenceIn(const std::string& source) {
    for (const std::string marker : {"upright view = ", "correct sRGB view = "}) {
        const auto at = source.find(marker);
        if (at == std::string::npos) continue;
        const std::string name = source.substr(at + marker.size());
        return name.find('/') == std::string::npos ? "photos/" + name : name;
    }
    return std::nullopt;
}

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
        fields.resize(10, "-");
        const auto number = [&](std::size_t column, int absent) { return fields[column] == "-" ? absent : std::stoi(fields[column]); };
        files.push_back({fields[0], number(3, 0), number(4, 0), number(7, 1), number(8, 1), number(9, 255),
                         referenceIn(fields[1])});
    }
    return files;
}

bool isRefused(const CorpusFile& file) { return file.path.starts_with("reject/") || file.path.starts_with("corrupt/"); }

const FitSettings kWebPhoto{500'000, 1'920, OutputFormat::automatic, 0, 0};

// The copy compared with a reference picture scaled to the same size: a wrong turn or an
// ignored profile differs by 40 and more.
double differenceFrom(const VImage& copy, const fs::path& reference) {
    const VImage expected = VImage::thumbnail(
        reference.c_str(), copy.width(), VImage::option()->set("height", copy.height())->set("size", VIPS_SIZE_FORCE));
    return (copy.cast(VIPS_FORMAT_FLOAT) - expected.cast(VIPS_FORMAT_FLOAT)).abs().avg();
}

}  // namespace

// Each copy meets the requirements as it is (no metadata, no profile, upright), is 8-bit sRGB and
// never enlarged; automatic picks PNG only for an image with a pixel that is not opaque.
TEST(Corpus, EverySupportedImageFitsAsACleanUprightSRGBCopy) {
    REQUIRE_CORPUS();
    int fitted = 0;
    ScratchFolder scratch;
    for (const CorpusFile& file : manifest()) {
        if (isRefused(file)) continue;
        SCOPED_TRACE(file.path);
        const FitResult result = ImageFitter::fit(corpusDir() / file.path, kWebPhoto, CropPosition::center());
        const VImage copy = loadBytes(result.data);
        const fs::path saved = scratch / ("copy." + result.fileExtension);
        writeBytes(saved, std::string(result.data.begin(), result.data.end()));
        EXPECT_TRUE(unmetRequirements(inspectSource(saved), kWebPhoto).empty());
        EXPECT_EQ(copy.format(), VIPS_FORMAT_UCHAR);
        EXPECT_EQ(copy.interpretation(), VIPS_INTERPRETATION_sRGB);
        EXPECT_EQ(result.fileExtension, file.minAlpha < 255 ? "png" : "jpg");
        EXPECT_EQ(copy.bands(), file.minAlpha < 255 ? 4 : 3);
        const bool sideways = file.orientation >= 5 && file.orientation <= 8;
        const std::int64_t width = sideways ? file.height : file.width, height = sideways ? file.width : file.height;
        EXPECT_LE(result.width, width);
        EXPECT_LE(result.height, height);
        if (file.reference) {
            if (std::max(width, height) <= kWebPhoto.maxEdge) {
                EXPECT_EQ(std::pair(result.width, result.height), std::pair(width, height));
            }
            EXPECT_LT(differenceFrom(copy, corpusDir() / *file.reference), 10.0);
        }
        ++fitted;
    }
    EXPECT_GE(fitted, 40);
}

// A file of several pages or frames is refused as such, any other file of those folders (listed
// in the manifest or not) as unreadable.
TEST(Corpus, RefusedAndDamagedFilesEndInTheirErrorSilently) {
    REQUIRE_CORPUS();
    std::map<std::string, int> pages;
    for (const CorpusFile& file : manifest()) pages[file.path] = file.pages;
    for (const char* folder : {"reject", "corrupt"}) {
        for (const auto& entry : fs::directory_iterator(corpusDir() / folder)) {
            const std::string name = std::string(folder) + "/" + entry.path().filename().string();
            SCOPED_TRACE(name);
            ::testing::internal::CaptureStderr();
            try {
                ImageFitter::fit(entry.path(), kWebPhoto, {});
                ADD_FAILURE() << "fitted";
            } catch (const FitError& error) {
                EXPECT_EQ(error.errorCase(), pages[name] > 1 ? FitError::Case::multipleFrames : FitError::Case::unreadable);
            }
            EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "libraries printed while refusing it";
        }
    }
}
