// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// What forms ask beyond a ceiling: a smallest file size, reached by raising the quality at the
// same size and never by padding; a resolution written into the copy; a standard JFIF header.
#include <functional>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "ByteCountFormat.h"
#include "Encoding.h"
#include "FitMinimum.h"
#include "ImageFitter.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;
namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::int64_t dpiOf(const FitResult& copy) {
    std::istringstream file(std::string(copy.data.begin(), copy.data.end()));
    return detail::statedDpi(loadBytes(copy.data), copy.fileExtension == "png", file);
}

Bytes atSetting(const VImage& image, int setting) { return detail::encode(image, false, setting / 100.0); }

std::int64_t bytesOf(const Bytes& data) { return static_cast<std::int64_t>(data.size()); }

// The lowest setting above `from` whose file is at least `minimum` bytes.
int lowestReaching(const std::map<int, std::int64_t>& sizes, int from, std::int64_t minimum) {
    for (const auto& [setting, bytes] : sizes)
        if (setting > from && bytes >= minimum) return setting;
    return 0;
}

std::string failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const FitError& error) {
        return std::string(error.errorDescription());
    }
    return "no failure";
}

// Found at quality 0.50, the copy is under the minimum: the same pixels come back at the lowest
// quality that reaches it, or the image fails with the bytes it got to; a copy that already
// reaches it, or a PNG, is never re-encoded.
TEST(Minimum, ReachedAtTheLowestQualityThatReachesItOrFailsSayingHowBigItGot) {
    const VImage image = photoLike(200, 230);
    const geometry::PixelSize size{200, 230};
    std::map<int, std::int64_t> sizes;
    for (int setting = 50; setting <= 100; ++setting) sizes[setting] = bytesOf(atSetting(image, setting));
    const auto found = [&] { return detail::Found{atSetting(image, 50), size, 50}; };
    const auto reach = [&](std::int64_t minimum, std::int64_t limit, bool png = false) {
        return detail::reachMinimum(found(), image, png, minimum, limit, {});
    };

    for (const int wanted : {51, 70, 93, 100}) {
        const std::int64_t minimum = sizes[wanted];
        const int expected = lowestReaching(sizes, 50, minimum);
        const detail::Found reached = reach(minimum, sizes[100]);
        EXPECT_EQ(reached.setting, expected) << "minimum " << minimum;
        EXPECT_EQ(reached.data, atSetting(image, expected));
        EXPECT_EQ(reached.size.width, 200);
    }
    EXPECT_EQ(reach(sizes[50], sizes[100]).setting, 50);  // already there: kept as found
    EXPECT_EQ(reach(0, sizes[100]).data, found().data);

    EXPECT_EQ(failureOf([&] { reach(sizes[100] + 1, sizes[100] + 1); }),
              "This copy reaches only " + formatByteCount(sizes[100]) + " within your limit, under the " +
                  formatByteCount(sizes[100] + 1) +
                  " minimum. Lower the minimum or choose larger dimensions. Parcelo never pads a file.");
    // Between two neighbouring qualities, one under the minimum and the next over the limit.
    const int step = lowestReaching(sizes, 50, sizes[80]);
    EXPECT_EQ(FitError::minimumUnreachable(sizes[step - 1], sizes[step - 1] + 1).errorDescription(),
              failureOf([&] { reach(sizes[step - 1] + 1, sizes[step] - 1); }));
    EXPECT_THROW(reach(sizes[50] + 1, sizes[100], true), FitError);
}

class FormRulesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        VImage dense = photoLike(900, 700);
        dense.set(VIPS_META_RESOLUTION_UNIT, "in");
        save(dense.copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 300 / 25.4)), at("photo.jpg"));
        save(flat(300, 300, {10, 200, 30, 128}), at("clear.png"));
    }
    static void TearDownTestSuite() { delete folder_; }
    static fs::path at(const std::string& name) { return *folder_ / name; }
    static ScratchFolder* folder_;
};
ScratchFolder* FormRulesTest::folder_ = nullptr;

FitSettings form(std::int64_t minBytes, std::int64_t dpi, OutputFormat format = OutputFormat::jpeg) {
    return {.targetBytes = 50'000, .maxEdge = 0, .outputFormat = format, .exactWidth = 200, .exactHeight = 230,
            .minBytes = minBytes, .dpi = dpi};
}

// A minimum the copy already meets changes no byte; one it does not is met within the limit, and
// the check after the fit holds the copy to both bounds. A flat PNG can never reach it.
TEST_F(FormRulesTest, FitMeetsTheMinimumWithinTheLimitAndChangesNothingWithoutOne) {
    const FitResult plain = ImageFitter::fit(at("photo.jpg"), form(0, 0), CropPosition::center());
    EXPECT_EQ(ImageFitter::fit(at("photo.jpg"), form(bytesOf(plain.data) - 1, 0), CropPosition::center()).data,
              plain.data);
    const std::int64_t minimum = bytesOf(plain.data) + 4'000;
    const FitResult raised = ImageFitter::fit(at("photo.jpg"), form(minimum, 0), CropPosition::center());
    EXPECT_GE(bytesOf(raised.data), minimum);
    EXPECT_LE(bytesOf(raised.data), 50'000);
    EXPECT_EQ(raised.width, 200);
    EXPECT_THROW(ImageFitter::verify(plain, form(minimum, 0)), FitError);
    EXPECT_NO_THROW(ImageFitter::verify(raised, form(minimum, 0)));

    try {
        ImageFitter::fit(at("clear.png"), form(20'000, 0, OutputFormat::png), CropPosition::center());
        ADD_FAILURE() << "a flat PNG reached 20 KB";
    } catch (const FitError& error) {
        EXPECT_EQ(error.errorCase(), FitError::Case::minimumUnreachable);
        EXPECT_NE(std::string(error.what()).find("under the 20 KB minimum"), std::string::npos) << error.what();
    }
}

// Every JPEG copy opens with a JFIF 1.01 header: 1:1 with no unit, or the dots per inch asked
// for, which libvips reads back, as from a PNG; the source's own 300 dpi is never carried over.
TEST_F(FormRulesTest, CopiesStateTheResolutionAskedForAndNoOther) {
    const std::string jfif("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01", 13);
    const auto start = [](const FitResult& result, std::size_t length) {
        return std::string(result.data.begin(), result.data.begin() + static_cast<std::ptrdiff_t>(length));
    };
    const FitResult plain = ImageFitter::fit(at("photo.jpg"), form(0, 0), CropPosition::center());
    EXPECT_EQ(start(plain, 18), jfif + std::string("\x00\x00\x01\x00\x01", 5));
    EXPECT_EQ(dpiOf(plain), 0);
    const FitSettings sizeMode{.targetBytes = 2'000'000, .maxEdge = 0, .outputFormat = OutputFormat::automatic};
    EXPECT_EQ(start(ImageFitter::fit(at("photo.jpg"), sizeMode, CropPosition::center()), 13), jfif);

    const FitResult stamped = ImageFitter::fit(at("photo.jpg"), form(0, 200), CropPosition::center());
    EXPECT_EQ(stamped.data.size(), plain.data.size());
    EXPECT_EQ(dpiOf(stamped), 200);
    EXPECT_EQ(loadBytes(stamped.data).get_string(VIPS_META_RESOLUTION_UNIT), std::string("in"));
    EXPECT_THROW(ImageFitter::verify(stamped, form(0, 300)), FitError);
    EXPECT_THROW(ImageFitter::verify(plain, form(0, 200)), FitError);

    const FitResult png = ImageFitter::fit(at("clear.png"), form(0, 300, OutputFormat::png), CropPosition::center());
    EXPECT_EQ(dpiOf(png), 300);
    EXPECT_NEAR(loadBytes(png.data).xres() * 25.4, 300, 0.01);
    EXPECT_EQ(dpiOf(ImageFitter::fit(at("clear.png"), form(0, 0, OutputFormat::png), CropPosition::center())), 0);
}

}  // namespace
