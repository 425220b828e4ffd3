// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The engine encodes its JPEG trials with libjpeg-turbo itself and stops a trial once its file is
// certain to be too big. Both are only allowed because they change no byte and no decision: the
// files are libvips' own, and the size a trial is judged by never exceeds the real file.
#include <gtest/gtest.h>

#include "Encoding.h"
#include "JpegTrial.h"
#include "SourceImage.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

// What libvips' own JPEG writer makes of the image, with the JFIF header every copy carries.
Bytes libvipsJpeg(const VImage& image, int setting) {
    const vips::VTarget target = vips::VTarget::new_to_memory();
    image.jpegsave_target(target, VImage::option()->set("Q", setting)->set("optimize_coding", true)->set("strip", true));
    GByteArray* written = nullptr;
    g_object_get(target.get_target(), "blob", &written, nullptr);
    Bytes file(written->data, written->data + written->len);
    g_byte_array_unref(written);
    const Bytes jfif{0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00, 0x01, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00};
    file.insert(file.begin() + 2, jfif.begin(), jfif.end());
    return file;
}

detail::RgbRows rowsOf(const VImage& memory) {
    const auto* pixels = static_cast<const std::uint8_t*>(memory.data());
    const std::int64_t stride = memory.width() * 3;
    return {memory.width(), memory.height(), [pixels, stride](std::int64_t y) { return pixels + y * stride; }};
}

}  // namespace

// Full chroma from setting 90 up, halved below; odd sizes leave partial blocks at both edges; a
// real photo has the long runs of zeros and the rare symbols that synthetic pictures lack, and
// the engine counts those itself for libjpeg's tables.
TEST(JpegTrial, MakesTheFileLibvipsWrites) {
    std::vector<VImage> pictures{photoLike(1, 1), photoLike(333, 199), photoLike(17, 640)};
    if (haveCorpus())
        pictures.push_back(detail::scaledDecode(detail::validatedSource(corpusDir() / "photos/Dune.jpg"), 1'000));
    for (const VImage& picture : pictures) {
        const VImage image = picture.copy_memory();
        for (const int setting : {94, 90, 89, 45, 20}) {
            SCOPED_TRACE(std::to_string(image.width()) + " x " + std::to_string(image.height()) + " at " +
                         std::to_string(setting));
            EXPECT_TRUE(detail::encode(image, false, setting / 100.0) == libvipsJpeg(image, setting));
        }
    }
}

// The bound that stops a trial, after each row of blocks of the first pass, against the finished
// file: never above it, and at the end close enough to stop trials that are clearly too big.
TEST(JpegTrial, LeastSizeNeverExceedsTheFile) {
    std::vector<VImage> pictures{photoLike(640, 480), noise(200, 120), flat(300, 200, {90, 90, 90}),
                                 flat(9, 9, {0, 255, 0})};
    if (haveCorpus()) {
        const auto source = detail::validatedSource(corpusDir() / "photos/Garden.jpg");
        pictures.push_back(detail::scaledDecode(source, 1'200));
    }
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        const VImage image = pictures[index].copy_memory();
        for (const int setting : {94, 82, 63, 45, 20}) {
            SCOPED_TRACE("picture " + std::to_string(index) + " at " + std::to_string(setting));
            const auto file = static_cast<std::int64_t>(detail::encode(image, false, setting / 100.0).size());
            const std::vector<std::int64_t> least = detail::leastJpegBytes(rowsOf(image), setting);
            ASSERT_FALSE(least.empty());
            EXPECT_LE(*std::ranges::max_element(least), file);
            EXPECT_GE(least.back(), file * 9 / 10);
        }
    }
}
