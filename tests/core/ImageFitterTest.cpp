// The fitter on synthetic images made for each edge: what it refuses, the copy it makes, where
// the pixels land, what its check after the fit accepts, and how a stop ends it.
#include <sys/stat.h>

#include <variant>

#include <gtest/gtest.h>

#include "CancellationCheck.h"
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

std::uint32_t crc32(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (unsigned char byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// A PNG whose header claims the given size; its pixel data is cut off at once.
std::string pngHeaderOnly(std::uint32_t width, std::uint32_t height) {
    auto be32 = [](std::uint32_t v) { return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; };
    auto chunk = [&](const std::string& type, const std::string& data) {
        return be32(static_cast<std::uint32_t>(data.size())) + type + data + be32(crc32(type + data));
    };
    return std::string("\x89PNG\r\n\x1A\n", 8) +
           chunk("IHDR", be32(width) + be32(height) + std::string("\x08\x02\x00\x00\x00", 5)) +
           chunk("IDAT", "\x78\x9c") + chunk("IEND", "");
}

// One folder of sources, made once for every test of this file.
class ImageFitterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        folder_ = new ScratchFolder;
        save(photoLike(800, 600), at("photo.png"));
        save(photoLike(300, 200), at("small.png"));
        save(photoLike(2'000, 1'000), at("large.png"));
        save(noise(100, 100), at("noise.png"));  // no PNG of 64 × 64 or more fits 10 KB
        const VImage opaque = flat(300, 200, {200, 30, 30, 255});
        save(opaque, at("opaque.png"));
        VImage onePixel = opaque.copy_memory();
        onePixel.draw_rect({200, 30, 30, 254}, 150, 100, 1, 1);
        save(onePixel, at("one-pixel.png"));
        // Left half fully transparent red, right half opaque blue.
        save(flat(100, 100, {255, 0, 0, 0}).join(flat(100, 100, {0, 0, 255, 255}), VIPS_DIRECTION_HORIZONTAL),
             at("half.png"));
        // Three vertical thirds: red, green, blue.
        save(flat(1'000, 1'000, {255, 0, 0})
                 .join(flat(1'000, 1'000, {0, 255, 0}), VIPS_DIRECTION_HORIZONTAL)
                 .join(flat(1'000, 1'000, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL),
             at("thirds.png"));
        // Stored 400 × 300 with orientation 6: shown 300 × 400, the top of the picture stored on the left.
        VImage sideways = flat(100, 300, {255, 255, 255}).join(flat(300, 300, {0, 0, 0}), VIPS_DIRECTION_HORIZONTAL);
        sideways.set(VIPS_META_ORIENTATION, 6);
        save(sideways, at("sideways.jpg"));
        // Sparse files: large on paper, nothing on disk.
        const std::pair<const char*, std::uintmax_t> sparse[] = {
            {"huge.bin", 300'000'000}, {"limit.bin", 250'000'000}, {"over.bin", 250'000'001}};
        for (const auto& [name, size] : sparse) {
            writeBytes(at(name), "not an image");
            fs::resize_file(at(name), size);
        }
        writeBytes(at("tall.png"), pngHeaderOnly(10'000, 10'001));
        writeBytes(at("wide.png"), pngHeaderOnly(100'001, 1));
        writeBytes(at("limit.png"), pngHeaderOnly(10'000, 10'000));
        // 64 megapixels in a few KB is a bomb, not a picture.
        save(flat(8'000, 8'000, {0.0}), at("bomb.png[bitdepth=1]"));
    }
    static void TearDownTestSuite() { delete folder_; }

    static fs::path at(const std::string& name) { return *folder_ / name; }

    static ScratchFolder* folder_;
};
ScratchFolder* ImageFitterTest::folder_ = nullptr;

struct Copy {
    std::int64_t width, height;
    std::string extension;
    int bands;
    bool operator==(const Copy&) const = default;
    friend void PrintTo(const Copy& copy, std::ostream* out) {
        *out << copy.width << " x " << copy.height << " " << copy.extension << ", " << copy.bands << " bands";
    }
};

std::variant<FitError::Case, Copy> outcomeOf(const fs::path& source, const FitSettings& settings, CropPosition crop) {
    try {
        const FitResult result = ImageFitter::fit(source, settings, crop);
        return Copy{result.width, result.height, result.fileExtension, loadBytes(result.data).bands()};
    } catch (const FitError& error) {
        return error.errorCase();
    }
}

// Requirements are checked before the file, the file's size before its type, the pixel limits
// from the header alone. A copy is never enlarged; automatic turns to PNG for one pixel below
// opaque; a PNG of an opaque image has no alpha; an exact size is delivered or refused.
TEST_F(ImageFitterTest, EachSourceAndRequirementEndsInItsCopyOrItsError) {
    using enum FitError::Case;
    const std::vector<std::tuple<std::string, FitSettings, CropPosition, std::variant<FitError::Case, Copy>>> cases{
        {"missing.jpg", sized(9'999, 0), {}, invalidSettings},
        {"missing.jpg", sized(100'000, 0), {1.5, 0.5}, invalidSettings},
        {"missing.jpg", sized(100'000, 0), {}, unreadable},
        {"", sized(100'000, 0), {}, unreadable},  // the folder itself
        {"huge.bin", sized(100'000, 0), {}, tooLarge},
        {"limit.bin", sized(100'000, 0), {}, unreadable},
        {"over.bin", sized(100'000, 0), {}, tooLarge},
        {"tall.png", sized(100'000, 0), {}, tooLarge},
        {"wide.png", sized(100'000, 0), {}, tooLarge},
        {"limit.png", sized(100'000, 0), {}, unreadable},  // 100 megapixels passes; no pixel data follows
        {"photo.png", sized(25'000'000, 2'000), {}, Copy{800, 600, "jpg", 3}},
        {"photo.png", sized(25'000'000, 400), {}, Copy{400, 300, "jpg", 3}},
        {"noise.png", sized(10'000, 0, OutputFormat::png), {}, targetUnreachable},
        {"opaque.png", sized(1'000'000, 0), {}, Copy{300, 200, "jpg", 3}},
        {"one-pixel.png", sized(1'000'000, 0), {}, Copy{300, 200, "png", 4}},
        {"opaque.png", sized(1'000'000, 0, OutputFormat::png), {}, Copy{300, 200, "png", 3}},
        {"photo.png", exact(1'200, 600), {}, sourceTooSmall},
        {"photo.png", exact(600, 600, 10'000, OutputFormat::png), {}, exactTargetUnreachable},
        {"photo.png", exact(500, 400), {0, 1}, Copy{500, 400, "jpg", 3}},
    };
    for (const auto& [source, settings, crop, expected] : cases) {
        EXPECT_EQ(outcomeOf(at(source), settings, crop), expected)
            << source << " at " << settings.targetBytes << " bytes, edge " << settings.maxEdge << ", exact "
            << settings.exactWidth << " x " << settings.exactHeight;
    }
}

// Where the colours of the source land in the copy: the crop anchor picks the frame, a
// sideways photo is cut upright, transparency becomes white in a JPEG and stays in a PNG.
TEST_F(ImageFitterTest, PixelsLandWhereTheUserExpectsThem) {
    struct Region {
        const char* source;
        FitSettings settings;
        CropPosition crop;
        int left, top, width, height, band;  // band -1: every band
        double low, high;                    // the region's mean value
    };
    const FitSettings jpeg = sized(100'000, 0, OutputFormat::jpeg), png = sized(100'000, 0, OutputFormat::png);
    const Region regions[] = {
        {"thirds.png", exact(300, 300), {0, 0.5}, 0, 0, 300, 300, 0, 240, 255},
        {"thirds.png", exact(300, 300), {0.5, 0.5}, 0, 0, 300, 300, 1, 240, 255},
        {"thirds.png", exact(300, 300), {1, 0.5}, 0, 0, 300, 300, 2, 240, 255},
        {"sideways.jpg", exact(300, 400), {}, 0, 0, 300, 80, -1, 230, 255},  // white band on top
        {"sideways.jpg", exact(300, 400), {}, 0, 150, 300, 250, -1, 0, 25},  // black below
        {"half.png", jpeg, {}, 10, 10, 30, 80, -1, 240, 255},                // white, not red or black
        {"half.png", png, {}, 10, 10, 30, 80, 3, 0, 0},
        {"half.png", png, {}, 150, 10, 30, 80, 3, 255, 255},
    };
    for (const Region& r : regions) {
        SCOPED_TRACE(std::string(r.source) + " band " + std::to_string(r.band) + " at " + std::to_string(r.left) +
                     ", " + std::to_string(r.top));
        const VImage copy = loadBytes(ImageFitter::fit(at(r.source), r.settings, r.crop).data);
        ASSERT_GT(copy.bands(), r.band);
        VImage region = copy.extract_area(r.left, r.top, r.width, r.height);
        if (r.band >= 0) region = region[r.band];
        EXPECT_GE(region.avg(), r.low);
        EXPECT_LE(region.avg(), r.high);
    }
}

// The check after a fit refuses a copy over the limit, of the wrong size or format, or unreadable.
TEST_F(ImageFitterTest, VerifyChecksBytesPixelsAndFormatAgainstTheRequirements) {
    const FitResult jpeg = ImageFitter::fit(at("photo.png"), sized(1'000'000, 0), {});
    const FitResult png = ImageFitter::fit(at("photo.png"), sized(25'000'000, 0, OutputFormat::png), {});
    const FitResult exactCopy = ImageFitter::fit(at("photo.png"), exact(800, 600), {});
    const auto size = static_cast<std::int64_t>(jpeg.data.size());
    FitResult pngNamedJpeg = png, wrongWidth = jpeg, garbage = jpeg;
    pngNamedJpeg.fileExtension = "jpg";
    wrongWidth.width = 799;
    garbage.data.resize(40);
    const std::vector<std::tuple<const char*, FitResult, FitSettings, bool>> cases{
        {"jpeg at its size", jpeg, sized(size, 800), true},
        {"jpeg a byte over", jpeg, sized(size - 1, 0), false},
        {"jpeg over the edge", jpeg, sized(size, 700), false},
        {"jpeg asked as png", jpeg, sized(size, 0, OutputFormat::png), false},
        {"png", png, sized(25'000'000, 0), true},
        {"png asked as jpeg", png, sized(25'000'000, 0, OutputFormat::jpeg), false},
        {"png named jpg", pngNamedJpeg, sized(25'000'000, 0), false},
        {"wrong width", wrongWidth, sized(1'000'000, 0), false},
        {"cut short", garbage, sized(1'000'000, 0), false},
        {"empty", FitResult{}, sized(1'000'000, 0), false},
        {"exact", exactCopy, exact(800, 600), true},
        {"exact turned", exactCopy, exact(600, 800), false},
    };
    for (const auto& [what, result, settings, accepted] : cases) {
        SCOPED_TRACE(what);
        if (accepted) {
            EXPECT_NO_THROW(ImageFitter::verify(result, settings));
        } else {
            EXPECT_EQ(failureOf([&] { ImageFitter::verify(result, settings); }), FitError::Case::verificationFailed);
        }
    }
}

// Clamped to 1–1,600 px, never enlarged; header limits and bombs refused before decoding.
TEST_F(ImageFitterTest, PreviewSizeIsClampedAndNeverEnlarged) {
    using Outcome = std::variant<FitError::Case, Size>;
    const std::vector<std::tuple<const char*, std::int64_t, Outcome>> cases{
        {"small.png", 1'000, Size(300, 200)}, {"small.png", 0, Size(1, 1)},
        {"small.png", -5, Size(1, 1)},        {"large.png", 5'000, Size(1'600, 800)},
        {"tall.png", 100, FitError::Case::tooLarge}, {"bomb.png", 100, FitError::Case::unreadable},
    };
    ASSERT_LT(fs::file_size(at("bomb.png")), 64'000'000u / kMaxPixelsPerSourceByte);
    for (const auto& [source, asked, expected] : cases) {
        SCOPED_TRACE(std::string(source) + " at " + std::to_string(asked));
        try {
            const Bitmap preview = ImageFitter::preview(at(source), asked);
            EXPECT_EQ(Outcome(sizeOf(preview)), expected);
            EXPECT_EQ(preview.rgba.size(), static_cast<std::size_t>(preview.width * preview.height * 4));
        } catch (const FitError& error) {
            EXPECT_EQ(Outcome(error.errorCase()), expected);
        }
    }
}

TEST_F(ImageFitterTest, AStoppedTaskNeverStartsAndAStopMidSearchEndsIt) {
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(ImageFitter::fit(at("missing.jpg"), sized(100'000, 0), {}, stopped.get_token()), CancellationError);
    EXPECT_THROW(ImageFitter::preview(at("missing.jpg"), 100, stopped.get_token()), CancellationError);

    // A photo at a small limit walks several sizes and qualities. Count the checks of a whole
    // fit, then stop the same fit at a check halfway through its search.
    const auto fitPhoto = [&](std::stop_token stopToken) {
        ImageFitter::fit(at("large.png"), sized(20'000, 0), {}, std::move(stopToken));
    };
    int wholeFit = 0;
    {
        const CancellationCheckHook counting([&wholeFit] { ++wholeFit; });
        fitPhoto({});
    }
    ASSERT_GE(wholeFit, 4) << "the search must have steps to stop between";
    std::stop_source source;
    int checks = 0;
    const CancellationCheckHook stopping([&] {
        if (++checks == wholeFit / 2) source.request_stop();
    });
    EXPECT_THROW(fitPhoto(source.get_token()), CancellationError)
        << "a stop must end the fit with the cancellation signal, not a FitError or a copy";
    EXPECT_EQ(checks, wholeFit / 2) << "the fit must end at the check that saw the stop";
}

}  // namespace
