// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The fitter on synthetic images made for each edge: what it refuses, the copy it makes, where
// the pixels land, what a form asks beyond a ceiling and what its check after the fit accepts;
// then how the copy is saved beside others: never over an existing file, nothing left when it fails.
#include <barrier>
#include <set>
#include <thread>

#include <gtest/gtest.h>
#include <zlib.h>

#include "Encoding.h"
#include "ImageFitter.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;
namespace fs = std::filesystem;

namespace {

FitSettings sized(std::int64_t bytes, std::int64_t edge, OutputFormat format = OutputFormat::automatic) {
    return {bytes, edge, format, 0, 0};
}

FitSettings exact(std::int64_t width, std::int64_t height, std::int64_t bytes = 5'000'000,
                  OutputFormat format = OutputFormat::jpeg) {
    return {bytes, 0, format, width, height};
}

// What a form asks: 200 × 230 px within 50 KB, with a smallest size and a resolution when given.
FitSettings form(std::int64_t minBytes, std::int64_t dpi, OutputFormat format = OutputFormat::jpeg) {
    FitSettings settings = exact(200, 230, 50'000, format);
    settings.minBytes = minBytes;
    settings.dpi = dpi;
    return settings;
}

// A PNG whose header claims the given size; its pixel data is cut off at once.
std::string pngHeaderOnly(std::uint32_t width, std::uint32_t height) {
    auto be32 = [](std::uint32_t v) { return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; };
    auto chunk = [&](const std::string& type, const std::string& data) {
        const std::string body = type + data;
        const auto crc = ::crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
        return be32(static_cast<std::uint32_t>(data.size())) + body + be32(static_cast<std::uint32_t>(crc));
    };
    return std::string("\x89PNG\r\n\x1A\n", 8) +
           chunk("IHDR", be32(width) + be32(height) + std::string("\x08\x02\x00\x00\x00", 5)) +
           chunk("IDAT", "\x78\x9c") + chunk("IEND", "");
}

// A little-endian TIFF of one 8 × 8 grey strip, its first directory carrying `extra` entries
// (tag, type, value) beside the image's own, and one sub-directory of `sub` entries when given.
using TiffEntry = std::tuple<std::uint16_t, std::uint16_t, std::uint32_t>;
std::string tinyTiff(std::vector<TiffEntry> extra, std::vector<TiffEntry> sub = {}) {
    auto le = [](std::uint32_t v, int bytes) {
        std::string out;
        for (int i = 0; i < bytes; ++i) out += char(v >> (8 * i));
        return out;
    };
    auto directory = [&](std::vector<TiffEntry> entries) {
        std::sort(entries.begin(), entries.end());
        std::string out = le(static_cast<std::uint32_t>(entries.size()), 2);
        for (const auto& [tag, type, value] : entries) out += le(tag, 2) + le(type, 2) + le(type == 1 ? 4 : 1, 4) + le(value, 4);
        return out + le(0, 4);
    };
    const std::uint32_t ifd0 = 8 + 64, ifd0Size = static_cast<std::uint32_t>(2 + 12 * (9 + extra.size()) + 4);
    if (!sub.empty()) extra.emplace_back(330, 4, ifd0 + ifd0Size);
    std::vector<TiffEntry> image{{256, 3, 8}, {257, 3, 8}, {258, 3, 8}, {259, 3, 1}, {262, 3, 1},
                                 {273, 4, 8}, {277, 3, 1}, {278, 3, 8}, {279, 4, 64}};
    image.insert(image.end(), extra.begin(), extra.end());
    return std::string("II*\0", 4) + le(ifd0, 4) + std::string(64, '\x80') + directory(image) +
           (sub.empty() ? "" : directory(sub));
}

// The file with `bytes` inserted before its first marker of the given code.
std::string withBytesBeforeMarker(std::string jpeg, char marker, const std::string& bytes) {
    return jpeg.insert(jpeg.find(std::string{'\xFF', marker}), bytes);
}

// One folder of sources, made once for every test of this file.
class ImageFitterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        save(photoLike(800, 600), at("photo.png"));
        save(noise(100, 100), at("noise.png"));  // no PNG of 64 × 64 or more fits 10 KB
        const VImage opaque = flat(300, 200, {200, 30, 30, 255});
        save(opaque, at("opaque.png"));
        VImage onePixel = opaque.copy_memory();
        onePixel.draw_rect({200, 30, 30, 254}, 150, 100, 1, 1);
        save(onePixel, at("one-pixel.png"));
        // Left half fully transparent red, right half opaque blue.
        save(flat(100, 100, {255, 0, 0, 0}).join(flat(100, 100, {0, 0, 255, 255}), VIPS_DIRECTION_HORIZONTAL),
             at("half.png"));
        // Stored 400 × 300 with orientation 6: shown 300 × 400, the top of the picture stored on the left.
        VImage sideways = flat(100, 300, {255, 255, 255}).join(flat(300, 300, {0, 0, 0}), VIPS_DIRECTION_HORIZONTAL);
        sideways.set(VIPS_META_ORIENTATION, 6);
        save(sideways, at("sideways.jpg"));
        // Sparse files: large on paper, nothing on disk.
        const std::pair<const char*, std::uintmax_t> sparse[] = {{"limit.bin", 250'000'000}, {"over.bin", 250'000'001}};
        for (const auto& [name, size] : sparse) {
            writeBytes(at(name), "not an image");
            fs::resize_file(at(name), size);
        }
        writeBytes(at("tall.png"), pngHeaderOnly(10'000, 10'001));
        writeBytes(at("wide.png"), pngHeaderOnly(100'001, 1));
        writeBytes(at("limit.png"), pngHeaderOnly(10'000, 10'000));
        save(flat(8'000, 8'000, {0.0}), at("bomb.png[bitdepth=1]"));  // 64 megapixels in 8 KB
        // Stray bytes before the scan: every viewer shows the picture whole. Cut short, it is damaged.
        const std::string stray = withBytesBeforeMarker(contents(save(photoLike(300, 200), at("stray.jpg"))), '\xDA', std::string("\x00\x17\x42", 3));
        writeBytes(at("stray.jpg"), stray);
        writeBytes(at("stray-cut.jpg"), stray.substr(0, stray.size() / 2));
        // Camera raw files look like TIFF: a DNG version tag, or (like a NEF) a preview whose
        // sub-directory holds colour-filter-array pixels in a maker's compression.
        writeBytes(at("plain.tif"), tinyTiff({}));
        writeBytes(at("camera.tif"), tinyTiff({{50706, 1, 0x00000401}}));
        writeBytes(at("camera.jpg"), tinyTiff({{254, 4, 1}}, {{259, 3, 34713}, {262, 3, 32803}}));
        // 16-bit alpha of 65,280 is 254 in 8 bits, not opaque.
        save((VImage::black(64, 64, VImage::option()->set("bands", 4)) + std::vector<double>{30'000, 40'000, 50'000, 65'280})
                 .cast(VIPS_FORMAT_USHORT)
                 .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_RGB16)),
             at("alpha-65280.png"));
        VImage dense = photoLike(900, 700);
        dense.set(VIPS_META_RESOLUTION_UNIT, "in");
        save(dense.copy(VImage::option()->set("xres", 300 / 25.4)->set("yres", 300 / 25.4)), at("dense.jpg"));
        save(flat(300, 300, {10, 200, 30, 128}), at("clear.png"));  // a flat PNG reaches no minimum
    }
    static void TearDownTestSuite() { delete folder_; }

    static fs::path at(const std::string& name) { return *folder_ / name; }

    static ScratchFolder* folder_;
};
ScratchFolder* ImageFitterTest::folder_ = nullptr;

// "800x600 jpg, 3 bands" for a copy, the error's case name for a refusal.
std::string outcomeOf(const fs::path& source, const FitSettings& settings, CropPosition crop) {
    try {
        const FitResult result = ImageFitter::fit(source, settings, crop);
        return std::to_string(result.width) + "x" + std::to_string(result.height) + " " + result.fileExtension + ", " +
               std::to_string(loadBytes(result.data).bands()) + " bands";
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
}

// Requirements are checked before the file, the file's size before its type, the pixel limits
// from the header alone; a JPEG that only warns of stray bytes is read, a damaged one and a camera
// raw file are not. A copy is never enlarged; automatic turns to PNG for one pixel below opaque
// (also when a 16-bit alpha rounds to 254); a PNG of an opaque image has no alpha; an exact size is delivered or refused.
TEST_F(ImageFitterTest, EachSourceAndRequirementEndsInItsCopyOrItsError) {
    const std::vector<std::tuple<std::string, FitSettings, CropPosition, std::string>> cases{
        {"missing.jpg", sized(9'999, 0), {}, "invalidSettings"},
        {"missing.jpg", sized(100'000, 0), {1.5, 0.5}, "invalidSettings"},
        {"missing.jpg", sized(100'000, 0), {}, "unreadable"},
        {"", sized(100'000, 0), {}, "unreadable"},  // the folder itself
        {"limit.bin", sized(100'000, 0), {}, "unreadable"},
        {"over.bin", sized(100'000, 0), {}, "tooLarge"},
        {"tall.png", sized(100'000, 0), {}, "tooLarge"},
        {"wide.png", sized(100'000, 0), {}, "tooLarge"},
        {"limit.png", sized(100'000, 0), {}, "unreadable"},  // 100 megapixels passes; no pixel data follows
        {"bomb.png", sized(100'000, 0), {}, "unreadable"},   // a bomb, not a picture: never decoded
        {"stray.jpg", sized(1'000'000, 0), {}, "300x200 jpg, 3 bands"},
        {"stray-cut.jpg", sized(1'000'000, 0), {}, "unreadable"},
        {"plain.tif", sized(100'000, 0), {}, "8x8 jpg, 3 bands"},
        {"camera.tif", sized(100'000, 0), {}, "unreadable"},
        {"camera.jpg", sized(100'000, 0), {}, "unreadable"},
        {"alpha-65280.png", sized(1'000'000, 0), {}, "64x64 png, 4 bands"},
        {"photo.png", sized(25'000'000, 2'000), {}, "800x600 jpg, 3 bands"},
        {"photo.png", sized(25'000'000, 400), {}, "400x300 jpg, 3 bands"},
        {"noise.png", sized(10'000, 0, OutputFormat::png), {}, "targetUnreachable"},
        {"opaque.png", sized(1'000'000, 0), {}, "300x200 jpg, 3 bands"},
        {"one-pixel.png", sized(1'000'000, 0), {}, "300x200 png, 4 bands"},
        {"opaque.png", sized(1'000'000, 0, OutputFormat::png), {}, "300x200 png, 3 bands"},
        {"photo.png", exact(1'200, 600), {}, "sourceTooSmall"},
        {"photo.png", exact(600, 600, 10'000, OutputFormat::png), {}, "exactTargetUnreachable"},
        {"photo.png", exact(500, 400), {0, 1}, "500x400 jpg, 3 bands"},
        {"clear.png", form(20'000, 0, OutputFormat::png), {}, "minimumUnreachable"},
    };
    for (const auto& [source, settings, crop, expected] : cases) {
        EXPECT_EQ(outcomeOf(at(source), settings, crop), expected)
            << source << " at " << settings.targetBytes << " bytes, edge " << settings.maxEdge << ", exact "
            << settings.exactWidth << " x " << settings.exactHeight;
    }
}

// Where the colours of the source land in the copy: a sideways photo is cut upright,
// transparency becomes white in a JPEG.
TEST_F(ImageFitterTest, PixelsLandWhereTheUserExpectsThem) {
    struct Region {
        const char* source;
        FitSettings settings;
        int left, top, width, height;
        double low, high;  // the region's mean value
    };
    const Region regions[] = {
        {"sideways.jpg", exact(300, 400), 0, 0, 300, 80, 230, 255},                       // white band on top
        {"sideways.jpg", exact(300, 400), 0, 150, 300, 250, 0, 25},                       // black below
        {"half.png", sized(100'000, 0, OutputFormat::jpeg), 10, 10, 30, 80, 240, 255},  // white, not red or black
    };
    for (const Region& r : regions) {
        SCOPED_TRACE(std::string(r.source) + " at " + std::to_string(r.left) + ", " + std::to_string(r.top));
        const VImage copy = loadBytes(ImageFitter::fit(at(r.source), r.settings, CropPosition::center()).data);
        const double mean = copy.extract_area(r.left, r.top, r.width, r.height).avg();
        EXPECT_GE(mean, r.low);
        EXPECT_LE(mean, r.high);
    }
}

// "300x200 200,30,30,255": a preview's size and its first pixel, or the error's case name.
std::string previewOf(const fs::path& source, std::int64_t maxEdge) {
    try {
        const Bitmap bitmap = ImageFitter::preview(source, maxEdge);
        if (bitmap.rgba.size() != static_cast<std::size_t>(bitmap.width * bitmap.height * 4)) return "not packed RGBA";
        std::string text = std::to_string(bitmap.width) + "x" + std::to_string(bitmap.height) + " ";
        for (int band = 0; band < 4; ++band) text += std::to_string(bitmap.rgba[band]) + (band < 3 ? "," : "");
        return text;
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
}

// Previews are packed RGBA at the clamped size, never enlarged, upright; grey turns to RGB and
// a picture without alpha is opaque.
TEST_F(ImageFitterTest, PreviewsArePackedRGBAAtTheClampedSize) {
    save(flat(64, 32, {90}), at("grey.png"));
    save(flat(64, 32, {90, 40}), at("grey-alpha.png"));
    const std::vector<std::tuple<std::string, std::int64_t, std::string>> cases{
        {"opaque.png", 1'000, "300x200 200,30,30,255"}, {"opaque.png", 0, "1x1 200,30,30,255"},
        {"photo.png", 5'000, "800x600"},                 {"half.png", 100, "100x50"},
        {"sideways.jpg", 400, "300x400"},                {"grey.png", 64, "64x32 90,90,90,255"},
        {"grey-alpha.png", 64, "64x32 90,90,90,40"},     {"over.bin", 400, "tooLarge"},
    };
    for (const auto& [source, edge, expected] : cases)
        EXPECT_EQ(previewOf(at(source), edge).substr(0, expected.size()), expected) << source << " at " << edge;
}

// What the check after a fit says of the copy: "accepted", or the error's case name.
std::string verdict(const FitResult& result, const FitSettings& settings) {
    try {
        ImageFitter::verify(result, settings);
        return "accepted";
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
}

// The check after a fit holds a copy to the limits a file is checked against (their own tests
// walk each), to the size and format it claims, and refuses one it cannot read.
TEST_F(ImageFitterTest, VerifyChecksBytesPixelsAndFormatAgainstTheRequirements) {
    const FitResult jpeg = ImageFitter::fit(at("photo.png"), sized(1'000'000, 0), {});
    const auto size = static_cast<std::int64_t>(jpeg.data.size());
    FitResult pngNamedJpeg = ImageFitter::fit(at("photo.png"), sized(1'000'000, 0, OutputFormat::png), {});
    FitResult garbage = jpeg;
    pngNamedJpeg.fileExtension = "jpg";
    garbage.data.resize(40);
    const std::vector<std::tuple<FitResult, FitSettings, bool>> cases{
        {jpeg, sized(size, 800), true},                 {jpeg, sized(size - 1, 0), false},
        {pngNamedJpeg, sized(25'000'000, 0), false},  {garbage, sized(1'000'000, 0), false},
    };
    for (const auto& [result, settings, accepted] : cases) {
        EXPECT_EQ(verdict(result, settings), accepted ? "accepted" : "verificationFailed")
            << result.fileExtension << " of " << result.data.size() << " bytes at " << settings.targetBytes;
    }
}

std::int64_t bytesOf(const FitResult& copy) { return static_cast<std::int64_t>(copy.data.size()); }

std::int64_t dpiOf(const FitResult& copy) {
    std::istringstream file(std::string(copy.data.begin(), copy.data.end()));
    return detail::statedDpi(loadBytes(copy.data), copy.fileExtension == "png", file);
}

// A form's smallest size is met within its limit by raising the quality at the same size. Every
// JPEG copy opens with a JFIF 1.01 header: 1:1 with no unit, or the dots per inch asked for,
// which libvips reads back, as from a PNG; the source's own 300 dpi is never carried over. The
// check after the fit holds a copy to both.
TEST_F(ImageFitterTest, FormsGetTheSmallestSizeAndResolutionTheyAskForAndNoOther) {
    const auto fit = [](const char* source, const FitSettings& settings) {
        return ImageFitter::fit(at(source), settings, CropPosition::center());
    };
    const FitResult plain = fit("dense.jpg", form(0, 0));
    const std::int64_t minimum = bytesOf(plain) + 4'000;
    const FitResult raised = fit("dense.jpg", form(minimum, 0));
    EXPECT_GE(bytesOf(raised), minimum);
    EXPECT_LE(bytesOf(raised), 50'000);
    EXPECT_EQ(raised.width, 200);

    const std::string jfif("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01", 13);
    const auto start = [](const FitResult& result, std::size_t length) {
        return std::string(result.data.begin(), result.data.begin() + static_cast<std::ptrdiff_t>(length));
    };
    EXPECT_EQ(start(plain, 18), jfif + std::string("\x00\x00\x01\x00\x01", 5));
    EXPECT_EQ(dpiOf(plain), 0);
    EXPECT_EQ(start(fit("dense.jpg", sized(2'000'000, 0)), 13), jfif);
    const FitResult stamped = fit("dense.jpg", form(0, 200));
    EXPECT_EQ(stamped.data.size(), plain.data.size());
    EXPECT_EQ(dpiOf(stamped), 200);
    EXPECT_EQ(loadBytes(stamped.data).get_string(VIPS_META_RESOLUTION_UNIT), std::string("in"));
    const FitResult png = fit("clear.png", form(0, 300, OutputFormat::png));
    EXPECT_EQ(dpiOf(png), 300);
    EXPECT_NEAR(loadBytes(png.data).xres() * 25.4, 300, 0.01);
    EXPECT_EQ(dpiOf(fit("clear.png", form(0, 0, OutputFormat::png))), 0);

    EXPECT_EQ(verdict(raised, form(minimum, 0)), "accepted");
    for (const auto& [copy, settings] : {std::pair{plain, form(minimum, 0)}, {stamped, form(0, 300)}, {plain, form(0, 200)}})
        EXPECT_EQ(verdict(copy, settings), "verificationFailed") << settings.minBytes << " bytes, " << settings.dpi << " dpi";
}

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

// Two saves racing for the same name (two windows, or the app and a script, saving into one
// folder) each end under a name of their own: no copy is lost under another.
TEST(ImageExport, SavesRacingIntoOneFolderNeverOverwriteEachOther) {
    ScratchFolder folder;
    constexpr int kRounds = 200;
    std::barrier start(2);  // each round, both saves set off together for the same name
    auto saveAll = [&](char who) {
        for (int round = 0; round < kRounds; ++round) {
            start.arrive_and_wait();
            ImageFitter::exportResult(copyOf("jpg", who + std::to_string(round)), std::to_string(round) + ".png",
                                      folder.path());
        }
    };
    { std::jthread first(saveAll, 'a'), second(saveAll, 'b'); }
    std::set<std::string> saved;
    for (const fs::path& copy : filesIn(folder.path())) saved.insert(contents(copy));
    EXPECT_EQ(saved.size(), 2u * kRounds);
}

// Other failures than a taken name arrive at once; after 10,000 taken names it gives up, while
// a copy of another format still has its own name free.
TEST(ImageExport, FailuresWriteNothing) {
    ScratchFolder folder;
    EXPECT_EQ(failedSave(folder / "no-such-folder"), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(folder / "no-such-folder"));
    writeBytes(folder / "x-parcelo.jpg", "taken");
    for (int attempt = 2; attempt <= kExportAttempts; ++attempt)
        writeBytes(folder / ("x-parcelo-" + std::to_string(attempt) + ".jpg"), "taken");
    EXPECT_EQ(failedSave(folder.path()), std::errc::file_exists);
    EXPECT_EQ(filesIn(folder.path()).size(), static_cast<std::size_t>(kExportAttempts));
    EXPECT_EQ(ImageFitter::exportResult(copyOf("png"), "x.jpg", folder.path()), folder / "x-parcelo.png");
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
