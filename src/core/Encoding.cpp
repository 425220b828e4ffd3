// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "Encoding.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <mutex>
#include <string_view>

#include "FitError.h"
#include "JpegTrial.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo::detail {

using vips::VImage;

namespace {

// Optimised Huffman tables make a JPEG a few per cent smaller, but the encoder then holds every
// coefficient of the image at once (up to six bytes a pixel). Above this size the standard
// tables keep a fit of a very large photo within a few hundred megabytes.
constexpr std::int64_t kLargestOptimisedJpegPixels = 24'000'000;


// The longest string a deflate back-reference can copy.
constexpr std::int64_t kLongestDeflateMatch = 258;

// JFIF 1.01 APP0: "JFIF\0", version, unit (0 none, 1 dots per inch), densities, no thumbnail.
constexpr std::array<std::uint8_t, 18> kJfifHeader{0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F', 0x00,
                                                   0x01, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01, 0x00, 0x00};
constexpr std::size_t kJfifUnitOffset = 2 + 11;  // after the start-of-image marker

// The data of a PNG's physical-size chunk: pixels per unit across and down, and the unit.
constexpr std::size_t kPhysDataLength = 9;

constexpr double kMetresPerInch = 0.0254;
constexpr double kMillimetresPerInch = 25.4;

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t length) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t index = 0; index < length; ++index) {
        crc ^= bytes[index];
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

void putBigEndian(std::uint8_t* at, std::uint64_t value, int bytes) {
    for (int index = bytes - 1; index >= 0; --index, value >>= 8) at[index] = static_cast<std::uint8_t>(value);
}

// Where the data of the PNG's physical-size chunk starts; libvips writes one into every PNG.
std::optional<std::size_t> physDataOffset(const std::vector<std::uint8_t>& file) {
    std::size_t at = 8;  // past the signature
    while (at + 12 <= file.size()) {
        const std::size_t length = (std::size_t{file[at]} << 24) | (std::size_t{file[at + 1]} << 16) |
                                   (std::size_t{file[at + 2]} << 8) | file[at + 3];
        if (std::equal(file.begin() + static_cast<std::ptrdiff_t>(at + 4),
                       file.begin() + static_cast<std::ptrdiff_t>(at + 8), "pHYs"))
            return length == kPhysDataLength ? std::optional(at + 8) : std::nullopt;
        at += 12 + length;
    }
    return std::nullopt;
}

// Rewrites the physical-size chunk: pixels per unit across and down, and the unit (0 none, 1 metre).
void writePhys(std::vector<std::uint8_t>& file, std::uint32_t perUnit, std::uint8_t unit) {
    const auto data = physDataOffset(file);
    if (!data) throw FitError(FitError::Case::cannotEncode);
    std::uint8_t* chunk = file.data() + *data;
    putBigEndian(chunk, perUnit, 4);
    putBigEndian(chunk + 4, perUnit, 4);
    chunk[8] = unit;
    putBigEndian(chunk + kPhysDataLength, crc32(chunk - 4, 4 + kPhysDataLength), 4);
}

// libvips leaves the JFIF header out of a file whose metadata is stripped; it goes in after
// the start-of-image marker.
std::vector<std::uint8_t> withJfifHeader(std::vector<std::uint8_t> jpeg) {
    if (jpeg.size() < 2) throw FitError(FitError::Case::cannotEncode);
    jpeg.insert(jpeg.begin() + 2, kJfifHeader.begin(), kJfifHeader.end());
    return jpeg;
}

// The PNG's physical size in dots per inch when its unit is the metre; the chunk comes before
// the image data, so the walk stops there.
std::int64_t pngStatedDpi(std::istream& png) {
    std::array<unsigned char, 8> chunk{};
    png.seekg(8);  // past the signature
    while (png.read(reinterpret_cast<char*>(chunk.data()), 8)) {
        const std::uint32_t length = std::uint32_t{chunk[0]} << 24 | std::uint32_t{chunk[1]} << 16 |
                                     std::uint32_t{chunk[2]} << 8 | chunk[3];
        const std::string_view type(reinterpret_cast<const char*>(chunk.data() + 4), 4);
        if (type == "IDAT" || type == "IEND") return 0;
        if (type == "pHYs" && length == kPhysDataLength) {
            std::array<unsigned char, kPhysDataLength> data{};
            if (!png.read(reinterpret_cast<char*>(data.data()), data.size()) || data[8] != 1) return 0;
            const std::uint32_t perMetre = std::uint32_t{data[0]} << 24 | std::uint32_t{data[1]} << 16 |
                                           std::uint32_t{data[2]} << 8 | data[3];
            return std::lround(perMetre * kMetresPerInch);
        }
        png.seekg(std::streamoff{length} + 4, std::ios::cur);
    }
    return 0;
}

}  // namespace

int jpegQualitySetting(double quality) {
    return static_cast<int>(std::clamp(std::lround(quality * 100.0), 1L, 100L));
}

JpegTrialSettings jpegTrialSettings(geometry::PixelSize size, double quality) {
    return {jpegQualitySetting(quality), size.width * size.height <= kLargestOptimisedJpegPixels};
}

namespace {

// Collects what the encoder writes, until it passes the limit. libvips writes from a thread of
// its own; one lock, alive before any encoder starts, orders those writes with the set-up and the
// read-back, rather than leaning on libvips' internal hand-over, which a race checker cannot see.
std::mutex writtenBytesLock;

struct WrittenBytes {
    std::vector<std::uint8_t> bytes;
    std::int64_t limit = 0;
    bool overLimit = false;
};

gint64 collectWritten(VipsTargetCustom*, const void* data, gint64 length, WrittenBytes* written) {
    const std::lock_guard lock(writtenBytesLock);
    if (static_cast<std::int64_t>(written->bytes.size()) + length > written->limit) {
        written->overLimit = true;
        return -1;  // the encoder stops with a write error
    }
    const auto* start = static_cast<const std::uint8_t*>(data);
    written->bytes.insert(written->bytes.end(), start, start + length);
    return length;
}

// The one place that says how a copy is encoded.
void save(const VImage& image, bool png, double quality, const vips::VTarget& target) {
    if (png)
        image.pngsave_target(target, VImage::option()->set("strip", true));
    else
        image.jpegsave_target(target, VImage::option()
                                          ->set("Q", jpegQualitySetting(quality))
                                          ->set("optimize_coding", jpegTrialSettings({image.width(), image.height()}, quality).optimiseCoding)
                                          ->set("strip", true));
}

// libvips' writer, into memory: PNG files, and JPEG files of images still being computed.
std::optional<std::vector<std::uint8_t>> saveWithin(const VImage& image, bool png, double quality,
                                                    std::int64_t byteLimit) {
    WrittenBytes written;
    {
        const std::lock_guard lock(writtenBytesLock);
        // The JFIF header goes in after the encoder is done, and counts against the limit.
        written.limit = png ? byteLimit : byteLimit - static_cast<std::int64_t>(kJfifHeader.size());
    }
    VipsTargetCustom* custom = vips_target_custom_new();
    g_signal_connect(custom, "write", G_CALLBACK(collectWritten), &written);
    const vips::VTarget target(VIPS_TARGET(custom));
    bool failed = false;
    try {
        save(image, png, quality, target);
    } catch (const vips::VError&) {
        clearVipsError();
        failed = true;
    }
    const std::lock_guard lock(writtenBytesLock);
    if (failed && written.overLimit) return std::nullopt;
    if (failed) throw FitError(FitError::Case::cannotEncode);
    if (!png) return withJfifHeader(std::move(written.bytes));
    writePhys(written.bytes, 1, 0);  // not the source's resolution, which libvips would carry over
    return std::move(written.bytes);
}

// A JPEG straight from the bitmap's rows in memory (a rendered size already is there).
std::optional<std::vector<std::uint8_t>> jpegFromMemory(const VImage& image, double quality,
                                                        std::int64_t byteLimit) {
    if (image.bands() != 3 || image.format() != VIPS_FORMAT_UCHAR) throw FitError(FitError::Case::cannotEncode);
    VImage memory;
    try {
        memory = image.copy_memory();
    } catch (const vips::VError&) {
        clearVipsError();
        throw FitError(FitError::Case::cannotEncode);
    }
    const auto* pixels = static_cast<const std::uint8_t*>(memory.data());
    const auto stride = static_cast<std::int64_t>(VIPS_IMAGE_SIZEOF_LINE(memory.get_image()));
    const RgbRows rows{memory.width(), memory.height(), [&](std::int64_t y) { return pixels + y * stride; }};
    return encodeJpegWithin(rows, jpegTrialSettings({image.width(), image.height()}, quality), byteLimit);
}

}  // namespace

std::vector<std::uint8_t> encode(const VImage& image, bool png, double quality) {
    auto data = encodeWithin(image, png, quality, std::numeric_limits<std::int64_t>::max());
    if (!data) throw FitError(FitError::Case::cannotEncode);
    return std::move(*data);
}

std::optional<std::vector<std::uint8_t>> encodeWithin(const VImage& image, bool png, double quality,
                                                      std::int64_t byteLimit) {
    return png ? saveWithin(image, true, quality, byteLimit) : jpegFromMemory(image, quality, byteLimit);
}

std::vector<std::uint8_t> encodeWhileRendering(const VImage& image, double quality) {
    auto data = saveWithin(image, false, quality, std::numeric_limits<std::int64_t>::max());
    if (!data) throw FitError(FitError::Case::cannotEncode);
    return std::move(*data);
}

void stampResolution(std::vector<std::uint8_t>& file, bool png, std::int64_t dpi) {
    if (dpi <= 0) return;
    if (png) {
        writePhys(file, static_cast<std::uint32_t>(std::lround(static_cast<double>(dpi) / kMetresPerInch)), 1);
        return;
    }
    if (file.size() < kJfifUnitOffset + 5 || file[3] != 0xE0) throw FitError(FitError::Case::cannotEncode);
    file[kJfifUnitOffset] = 1;
    putBigEndian(file.data() + kJfifUnitOffset + 1, static_cast<std::uint64_t>(dpi), 2);
    putBigEndian(file.data() + kJfifUnitOffset + 3, static_cast<std::uint64_t>(dpi), 2);
}

std::int64_t statedDpi(const VImage& header, bool isPNG, std::istream& png) {
    if (isPNG) return pngStatedDpi(png);
    // libvips reads a JFIF, EXIF or TIFF resolution into pixels per millimetre, and its unit when
    // the file names one; a JFIF header with only an aspect names none.
    if (header.get_typeof(VIPS_META_RESOLUTION_UNIT) == 0) return 0;
    return std::lround(header.xres() * kMillimetresPerInch);
}

std::int64_t smallestEncodedBytes(geometry::PixelSize size, bool png, bool alpha) {
    auto blocks = [&](std::int64_t side) { return ((size.width + side - 1) / side) * ((size.height + side - 1) / side); };
    if (png) {
        const std::int64_t filteredRows = size.height * (1 + size.width * (alpha ? 4 : 3));
        return filteredRows / kLongestDeflateMatch * 2 / 8;
    }
    return (blocks(8) + 2 * blocks(16)) * 2 / 8;
}

bool containsTransparency(const VImage& image) {
    if (!hasAlphaBand(image)) return false;
    try {
        return image.extract_band(image.bands() - 1).min() < 255.0;
    } catch (const vips::VError&) {
        clearVipsError();
        throw FitError(FitError::Case::cannotEncode);
    }
}

}  // namespace parcelo::detail
