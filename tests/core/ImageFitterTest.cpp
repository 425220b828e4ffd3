#include <sys/stat.h>

#include <gtest/gtest.h>

#include "CancellationCheck.h"
#include "Encoding.h"
#include "ImageFitter.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;

namespace {

FitSettings sizeSettings(std::int64_t bytes, std::int64_t edge, OutputFormat format = OutputFormat::automatic) {
    return {bytes, edge, format, 0, 0};
}

FitSettings exactSettings(std::int64_t width, std::int64_t height, std::int64_t bytes = 5'000'000,
                          OutputFormat format = OutputFormat::jpeg) {
    return {bytes, 0, format, width, height};
}

FitError::Case fitFailure(const std::filesystem::path& path, const FitSettings& settings,
                          CropPosition crop = CropPosition::center()) {
    return failureOf([&] { ImageFitter::fit(path, settings, crop); });
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
    auto be32 = [](std::uint32_t v) {
        return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
    };
    auto chunk = [&](const std::string& type, const std::string& data) {
        return be32(static_cast<std::uint32_t>(data.size())) + type + data + be32(crc32(type + data));
    };
    return std::string("\x89PNG\r\n\x1A\n", 8) +
           chunk("IHDR", be32(width) + be32(height) + std::string("\x08\x02\x00\x00\x00", 5)) +
           chunk("IDAT", "\x78\x9c") + chunk("IEND", "");
}

}  // namespace

// Empty, foreign and damaged files are refused by CorpusFitTest, on real files.
TEST(FitValidation, BadRequirementsAreRefusedBeforeReadingAndFoldersAreUnreadable) {
    ScratchFolder folder;
    const auto missing = folder / "does-not-exist.jpg";
    EXPECT_EQ(fitFailure(missing, sizeSettings(9'999, 0)), FitError::Case::invalidSettings);
    EXPECT_EQ(fitFailure(missing, sizeSettings(100'000, 0), {1.5, 0.5}), FitError::Case::invalidSettings);
    EXPECT_EQ(fitFailure(missing, sizeSettings(100'000, 0)), FitError::Case::unreadable);
    EXPECT_EQ(fitFailure(folder.path(), sizeSettings(100'000, 0)), FitError::Case::unreadable);
}

// The byte limit is checked before the type, the pixel limits from the header alone.
TEST(FitValidation, SafetyLimitsAreCheckedBeforeDecoding) {
    ScratchFolder folder;
    // Sparse files: large on paper, nothing on disk.
    auto sparse = [&](const char* name, std::uintmax_t size) {
        writeBytes(folder / name, "not an image");
        std::filesystem::resize_file(folder / name, size);
        return folder / name;
    };
    EXPECT_EQ(fitFailure(sparse("huge.bin", 300'000'000), sizeSettings(100'000, 0)), FitError::Case::tooLarge);
    EXPECT_EQ(fitFailure(sparse("limit.bin", 250'000'000), sizeSettings(100'000, 0)), FitError::Case::unreadable);
    EXPECT_EQ(fitFailure(sparse("over.bin", 250'000'001), sizeSettings(100'000, 0)), FitError::Case::tooLarge);

    writeBytes(folder / "tall.png", pngHeaderOnly(10'000, 10'001));
    writeBytes(folder / "wide.png", pngHeaderOnly(100'001, 1));
    writeBytes(folder / "limit.png", pngHeaderOnly(10'000, 10'000));
    EXPECT_EQ(fitFailure(folder / "tall.png", sizeSettings(100'000, 0)), FitError::Case::tooLarge);
    EXPECT_EQ(fitFailure(folder / "wide.png", sizeSettings(100'000, 0)), FitError::Case::tooLarge);
    // 100 megapixels exactly passes the limits; its missing pixel data then makes it unreadable.
    EXPECT_EQ(fitFailure(folder / "limit.png", sizeSettings(100'000, 0)), FitError::Case::unreadable);
    EXPECT_EQ(failureOf([&] { ImageFitter::preview(folder / "tall.png", 100); }), FitError::Case::tooLarge);

    // 64 megapixels in 8 KB is a bomb, not a picture: refused before the decoder spends its time.
    save(flat(8'000, 8'000, {0.0}), folder / "bomb.png[bitdepth=1]");
    EXPECT_LT(std::filesystem::file_size(folder / "bomb.png"), 64'000'000u / kMaxPixelsPerSourceByte);
    EXPECT_EQ(failureOf([&] { ImageFitter::preview(folder / "bomb.png", 100); }), FitError::Case::unreadable);
}

TEST(SizeSearch, HighestQualityThatFitsAtFullSizeNeverEnlarged) {
    ScratchFolder folder;
    const auto source = save(photoLike(800, 600), folder / "photo.png");
    const VImage pixels = VImage::new_from_file(source.c_str());
    const FitResult roomy = ImageFitter::fit(source, sizeSettings(25'000'000, 2'000), CropPosition::center());
    EXPECT_EQ(roomy.fileExtension, "jpg");
    EXPECT_EQ(sizeOf(roomy), Size(800, 600));
    EXPECT_EQ(sizeOf(ImageFitter::fit(source, sizeSettings(25'000'000, 400), {})), Size(400, 300));
    // The 0.94 copy fits a limit of exactly its own size, and is the very same file.
    EXPECT_EQ(detail::encode(pixels, false, 0.94), roomy.data);
    const auto best = roomy.data.size();
    EXPECT_EQ(ImageFitter::fit(source, sizeSettings(static_cast<std::int64_t>(best), 0), {}).data, roomy.data);

    // Below that, quality is bisected before any shrinking.
    const auto floor = detail::encode(pixels, false, 0.45).size();
    ASSERT_LT(floor + 2'000, best) << "the test image must respond to quality";
    const auto limit = static_cast<std::int64_t>((best + floor) / 2);
    const FitResult result = ImageFitter::fit(source, sizeSettings(limit, 0), CropPosition::center());
    EXPECT_EQ(result.width, 800);  // same size, lower quality
    EXPECT_LE(static_cast<std::int64_t>(result.data.size()), limit);
    EXPECT_GE(result.data.size(), floor);
    // No quality setting between the chosen one and 0.94 fits.
    const int chosen = [&] {
        for (int q = 94; q >= 45; --q)
            if (detail::encode(pixels, false, q / 100.0) == result.data) return q;
        return 0;
    }();
    ASSERT_GT(chosen, 45);
    EXPECT_GT(static_cast<std::int64_t>(detail::encode(pixels, false, (chosen + 1) / 100.0).size()), limit);
}

TEST(SizeSearch, UnreachableWhenEvenTheSmallestUsefulSizeIsTooBig) {
    ScratchFolder folder;
    // Noise doesn't compress: no PNG of 64 × 64 or more fits 10 KB.
    const auto square = save(noise(100, 100), folder / "square.png");
    EXPECT_EQ(fitFailure(square, sizeSettings(10'000, 0, OutputFormat::png)), FitError::Case::targetUnreachable);
}

// Automatic turns to PNG for one pixel below opaque; a PNG of an opaque image has no alpha.
TEST(Transparency, OnePixelBelowOpaqueMakesAutomaticChoosePNG) {
    ScratchFolder folder;
    VImage opaque = flat(300, 200, {200, 30, 30, 255});
    save(opaque, folder / "opaque.png");
    VImage onePixel = opaque.copy_memory();
    onePixel.draw_rect({200, 30, 30, 254}, 150, 100, 1, 1);
    save(onePixel, folder / "one-pixel.png");
    const FitSettings automatic = sizeSettings(1'000'000, 0);
    EXPECT_EQ(ImageFitter::fit(folder / "opaque.png", automatic, {}).fileExtension, "jpg");
    const FitResult kept = ImageFitter::fit(folder / "one-pixel.png", automatic, {});
    EXPECT_EQ(kept.fileExtension, "png");
    EXPECT_EQ(loadBytes(kept.data).bands(), 4);
    EXPECT_FALSE(detail::containsTransparency(flat(10, 10, {1, 2, 3})));
    const FitResult png = ImageFitter::fit(folder / "opaque.png", sizeSettings(1'000'000, 0, OutputFormat::png), {});
    EXPECT_EQ(png.fileExtension, "png");
    EXPECT_EQ(loadBytes(png.data).bands(), 3);
}

TEST(Transparency, JpegFlattensOntoWhiteAndPngKeepsAlpha) {
    ScratchFolder folder;
    // Left half fully transparent red, right half opaque blue.
    const VImage clear = flat(100, 100, {255, 0, 0, 0});
    const VImage solid = flat(100, 100, {0, 0, 255, 255});
    save(clear.join(solid, VIPS_DIRECTION_HORIZONTAL), folder / "half.png");

    const FitResult jpeg = ImageFitter::fit(folder / "half.png", sizeSettings(100'000, 0, OutputFormat::jpeg), {});
    const VImage flattened = loadBytes(jpeg.data);
    EXPECT_EQ(flattened.bands(), 3);
    EXPECT_GT(flattened.extract_area(10, 10, 30, 80).min(), 240.0);  // white, not red or black

    const FitResult png = ImageFitter::fit(folder / "half.png", sizeSettings(100'000, 0, OutputFormat::png), {});
    const VImage kept = loadBytes(png.data);
    ASSERT_EQ(kept.bands(), 4);
    EXPECT_EQ(kept.extract_area(10, 10, 30, 80)[3].max(), 0.0);
    EXPECT_EQ(kept.extract_area(150, 10, 30, 80)[3].min(), 255.0);
}

TEST(ExactSearch, CutsTheFrameWhereTheAnchorSays) {
    ScratchFolder folder;
    // Three vertical thirds: red, green, blue.
    const VImage source = flat(1'000, 1'000, {255, 0, 0})
                              .join(flat(1'000, 1'000, {0, 255, 0}), VIPS_DIRECTION_HORIZONTAL)
                              .join(flat(1'000, 1'000, {0, 0, 255}), VIPS_DIRECTION_HORIZONTAL);
    save(source, folder / "thirds.png");
    auto meanColour = [&](double x) {
        const FitResult result = ImageFitter::fit(folder / "thirds.png", exactSettings(300, 300), {x, 0.5});
        EXPECT_EQ(sizeOf(result), Size(300, 300));
        const VImage pixels = loadBytes(result.data);
        return std::array{pixels[0].avg(), pixels[1].avg(), pixels[2].avg()};
    };
    const auto left = meanColour(0), middle = meanColour(0.5), right = meanColour(1);
    EXPECT_GT(left[0], 240);
    EXPECT_GT(middle[1], 240);
    EXPECT_GT(right[2], 240);
}

TEST(ExactSearch, RefusesWhatItCannotDeliverWithoutSubstituting) {
    ScratchFolder folder;
    save(photoLike(1'000, 800), folder / "photo.png");
    EXPECT_EQ(fitFailure(folder / "photo.png", exactSettings(1'200, 600)), FitError::Case::sourceTooSmall);
    EXPECT_EQ(fitFailure(folder / "photo.png", exactSettings(800, 800, 10'000, OutputFormat::png)),
              FitError::Case::exactTargetUnreachable);
    const FitResult same = ImageFitter::fit(folder / "photo.png", exactSettings(500, 400), {0, 1});
    EXPECT_EQ(sizeOf(same), Size(500, 400));
}

TEST(ExactSearch, SidewaysPhotoIsCutUpright) {
    ScratchFolder folder;
    // Stored 400 × 300 with orientation 6: shown 300 × 400, top of the picture is stored on the left.
    VImage stored = flat(100, 300, {255, 255, 255}).join(flat(300, 300, {0, 0, 0}), VIPS_DIRECTION_HORIZONTAL);
    stored.set(VIPS_META_ORIENTATION, 6);
    save(stored, folder / "sideways.jpg");
    const FitResult result = ImageFitter::fit(folder / "sideways.jpg", exactSettings(300, 400), {});
    const VImage upright = loadBytes(result.data);
    ASSERT_EQ(Size(upright.width(), upright.height()), Size(300, 400));
    EXPECT_GT(upright.extract_area(0, 0, 300, 80).avg(), 230.0);    // white band on top
    EXPECT_LT(upright.extract_area(0, 150, 300, 250).avg(), 25.0);  // black below
}

TEST(Cancellation, AStoppedTaskNeverStartsAndAStopMidSearchEndsIt) {
    ScratchFolder folder;
    std::stop_source stopped;
    stopped.request_stop();
    EXPECT_THROW(ImageFitter::fit(folder / "missing.jpg", sizeSettings(100'000, 0), {}, stopped.get_token()),
                 CancellationError);
    EXPECT_THROW(ImageFitter::preview(folder / "missing.jpg", 100, stopped.get_token()), CancellationError);

    // A photo at a small limit walks several sizes and qualities. Count the checks of a whole
    // fit, then stop the same fit at a check halfway through its search.
    save(photoLike(1'200, 900), folder / "photo.png");
    const auto fitPhoto = [&](std::stop_token stopToken) {
        ImageFitter::fit(folder / "photo.png", sizeSettings(20'000, 0), {}, std::move(stopToken));
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

TEST(Verify, ChecksBytesPixelsAndFormatAgainstTheRequirements) {
    ScratchFolder folder;
    save(photoLike(800, 600), folder / "photo.png");
    const FitResult jpeg = ImageFitter::fit(folder / "photo.png", sizeSettings(1'000'000, 0), {});
    const auto size = static_cast<std::int64_t>(jpeg.data.size());
    auto rejects = [](const FitResult& result, const FitSettings& settings) {
        return failureOf([&] { ImageFitter::verify(result, settings); }) == FitError::Case::verificationFailed;
    };
    EXPECT_NO_THROW(ImageFitter::verify(jpeg, sizeSettings(size, 0)));
    EXPECT_NO_THROW(ImageFitter::verify(jpeg, sizeSettings(size, 800)));
    EXPECT_TRUE(rejects(jpeg, sizeSettings(size - 1, 0)));
    EXPECT_TRUE(rejects(jpeg, sizeSettings(size, 700)));
    EXPECT_TRUE(rejects(jpeg, sizeSettings(size, 0, OutputFormat::png)));
    EXPECT_TRUE(rejects(jpeg, sizeSettings(5, 0)));

    FitResult png = ImageFitter::fit(folder / "photo.png", sizeSettings(25'000'000, 0, OutputFormat::png), {});
    EXPECT_NO_THROW(ImageFitter::verify(png, sizeSettings(25'000'000, 0)));
    EXPECT_TRUE(rejects(png, sizeSettings(25'000'000, 0, OutputFormat::jpeg)));
    png.fileExtension = "jpg";
    EXPECT_TRUE(rejects(png, sizeSettings(25'000'000, 0)));

    FitResult wrongSize = jpeg, garbage = jpeg;
    wrongSize.width = 799;
    garbage.data.resize(40);
    for (const FitResult& broken : {wrongSize, garbage, FitResult{}})
        EXPECT_TRUE(rejects(broken, sizeSettings(1'000'000, 0))) << broken.width << " px, " << broken.data.size();

    const FitResult exact = ImageFitter::fit(folder / "photo.png", exactSettings(800, 600), {});
    EXPECT_NO_THROW(ImageFitter::verify(exact, exactSettings(800, 600)));
    EXPECT_TRUE(rejects(exact, exactSettings(600, 800)));
}

TEST(Preview, SizeIsClampedAndNeverEnlarged) {
    ScratchFolder folder;
    save(photoLike(300, 200), folder / "small.png");
    save(photoLike(2'000, 1'000), folder / "large.png");
    const Bitmap same = ImageFitter::preview(folder / "small.png", 1'000);
    EXPECT_EQ(sizeOf(same), Size(300, 200));
    EXPECT_EQ(same.rgba.size(), 300u * 200u * 4u);
    for (std::int64_t asked : {0, -5}) {
        const Bitmap tiny = ImageFitter::preview(folder / "small.png", asked);
        EXPECT_EQ(std::max(tiny.width, tiny.height), 1);
    }
    const Bitmap capped = ImageFitter::preview(folder / "large.png", 5'000);
    EXPECT_EQ(sizeOf(capped), Size(1'600, 800));
}
