// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "SourceImage.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>

#include "CameraRaw.h"
#include "FitError.h"
#include "ImageFitter.h"
#include "JpegWarnings.h"
#include "VipsRuntime.h"

namespace parcelo::detail {

namespace fs = std::filesystem;
using vips::VImage;

namespace {

[[noreturn]] void fail(FitError::Case errorCase) { throw FitError(errorCase); }

bool startsWith(std::span<const std::uint8_t> bytes, std::string_view prefix) {
    return bytes.size() >= prefix.size() && std::memcmp(bytes.data(), prefix.data(), prefix.size()) == 0;
}

std::string_view brandAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return {reinterpret_cast<const char*>(bytes.data() + offset), 4};
}

// ISO base media files: the major brand, then the compatible brands of the ftyp box.
std::optional<SourceType> sniffHeifFamily(std::span<const std::uint8_t> head) {
    if (head.size() < 16 || brandAt(head, 4) != "ftyp") return std::nullopt;
    static constexpr std::array<std::string_view, 8> heicBrands{"heic", "heix", "heim", "heis",
                                                                "hevc", "hevx", "hevm", "hevs"};
    auto isHeic = [](std::string_view brand) { return std::ranges::find(heicBrands, brand) != heicBrands.end(); };
    const std::string_view major = brandAt(head, 8);
    if (isHeic(major)) return SourceType::heic;
    if (major != "mif1" && major != "msf1") return std::nullopt;

    const std::size_t boxSize = std::min<std::size_t>(
        head.size(), (std::size_t{head[0]} << 24) | (std::size_t{head[1]} << 16) | (std::size_t{head[2]} << 8) | head[3]);
    bool avif = false;
    for (std::size_t offset = 16; offset + 4 <= boxSize; offset += 4) {
        const std::string_view brand = brandAt(head, offset);
        if (isHeic(brand)) return SourceType::heic;
        avif = avif || brand == "avif" || brand == "avis";
    }
    return avif ? std::nullopt : std::optional(SourceType::heif);
}

std::vector<std::uint8_t> readHead(const fs::path& path, std::size_t count) {
    std::ifstream file(path, std::ios::binary);
    if (!file) fail(FitError::Case::unreadable);
    std::vector<std::uint8_t> head(count);
    file.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(count));
    head.resize(static_cast<std::size_t>(file.gcount()));
    return head;
}

std::uint32_t bigEndian32(const std::uint8_t* bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) | (std::uint32_t{bytes[2]} << 8) | bytes[3];
}

struct PngChunks {
    bool whole = true;        // every chunk lies within the file
    std::int64_t frames = 1;  // from the animation control chunk, when there is one
};

// Walks a PNG's chunks before libpng sees them. libpng skips a chunk it does not keep by reading
// it to its end, whatever that length claims: a 150-byte file announcing a 750 MB text chunk
// keeps the header read busy for seconds. And libvips's PNG loader shows only the first frame
// of an animated PNG; the animation control chunk before the first image data says how many.
PngChunks walkPngChunks(const fs::path& path, std::int64_t fileSize) {
    std::ifstream file(path, std::ios::binary);
    PngChunks chunks;
    bool seenImageData = false;
    std::array<std::uint8_t, 12> head{};
    for (std::int64_t offset = 8; offset < fileSize;) {
        file.seekg(offset);
        if (!file.read(reinterpret_cast<char*>(head.data()), 8)) return {false, chunks.frames};
        const std::int64_t length = bigEndian32(head.data());
        const std::string_view type(reinterpret_cast<const char*>(head.data() + 4), 4);
        if (length > fileSize - offset - 12) return {false, chunks.frames};
        if (type == "acTL" && !seenImageData && length >= 4 && file.read(reinterpret_cast<char*>(head.data() + 8), 4))
            chunks.frames = bigEndian32(head.data() + 8);
        seenImageData = seenImageData || type == "IDAT";
        if (type == "IEND") break;
        offset += length + 12;
    }
    return chunks;
}

// A damaged file is refused rather than decoded with grey bands: decoders fail on any warning,
// unless a JPEG's warnings are known to leave every pixel intact; then on errors and truncation.
VipsFailOn failOn(const ValidatedSource& source) {
    return source.harmlessWarnings ? VIPS_FAIL_ON_ERROR : VIPS_FAIL_ON_WARNING;
}

// Whether a JPEG refused for a decoder warning may be read again, failing on errors only.
bool mayTolerateWarnings(ValidatedSource& source) {
    if (source.type != SourceType::jpeg || source.harmlessWarnings) return false;
    source.harmlessWarnings = decodesWithHarmlessWarningsOnly(source.path);
    return source.harmlessWarnings;
}

// Opens the header with the loader for the sniffed type only, so no other libvips loader
// (PDF, SVG, WebP …) ever sees the user's file.
VImage openHeader(const ValidatedSource& source) {
    const std::string name = source.path.string();
    auto options = [&] { return VImage::option()->set("fail_on", failOn(source)); };
    switch (source.type) {
    case SourceType::jpeg: return VImage::jpegload(name.c_str(), options());
    case SourceType::png: return VImage::pngload(name.c_str(), options());
    case SourceType::gif: return VImage::gifload(name.c_str(), options());
    case SourceType::tiff: return VImage::tiffload(name.c_str(), options());
    case SourceType::bmp: return VImage::magickload(name.c_str(), options());
    case SourceType::heic:
    case SourceType::heif: return VImage::heifload(name.c_str(), options());
    }
    fail(FitError::Case::unreadable);
}

VImage reopenedHeader(const ValidatedSource& source) {
    try {
        return openHeader(source);
    } catch (const vips::VError&) {
        clearVipsError();
        fail(FitError::Case::unreadable);
    }
}

std::int64_t frameCount(const VImage& header, const PngChunks& png, const ValidatedSource& source) {
    if (source.type == SourceType::png) return png.frames;
    return header.get_typeof("n-pages") != 0 ? header.get_int("n-pages") : 1;
}

std::optional<int> orientationOf(const VImage& header) {
    if (header.get_typeof(VIPS_META_ORIENTATION) == 0) return std::nullopt;
    return header.get_int(VIPS_META_ORIENTATION);
}

void checkFileSize(const fs::path& path, ValidatedSource& source) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error || !fs::is_regular_file(status)) fail(FitError::Case::unreadable);
    const auto size = fs::file_size(path, error);
    if (error || size > static_cast<std::uintmax_t>(kMaxSourceBytes)) fail(FitError::Case::tooLarge);
    source.fileSize = static_cast<std::int64_t>(size);
}

void checkHeader(ValidatedSource& source) {
    const PngChunks png = source.type == SourceType::png ? walkPngChunks(source.path, source.fileSize) : PngChunks{};
    if (!png.whole) fail(FitError::Case::unreadable);
    VImage header;
    try {
        const MutedStandardError muted(isHeifFamily(source.type));
        header = openHeader(source);
    } catch (const vips::VError&) {
        clearVipsError();
        if (!mayTolerateWarnings(source)) fail(FitError::Case::unreadable);
        header = reopenedHeader(source);
    }
    source.stored = {header.width(), header.height()};
    if (source.stored.width < 1 || source.stored.height < 1) fail(FitError::Case::unreadable);
    if (source.stored.width > kMaxSourceSide || source.stored.height > kMaxSourceSide ||
        source.stored.width * source.stored.height > kMaxSourcePixels)
        fail(FitError::Case::tooLarge);
    if (frameCount(header, png, source) != 1) fail(FitError::Case::multipleFrames);
    if (source.stored.width * source.stored.height > source.fileSize * kMaxPixelsPerSourceByte)
        fail(FitError::Case::unreadable);
    source.orientation = orientationOf(header);
    source.colourManaged = header.get_typeof(VIPS_META_ICC_NAME) != 0 || header.interpretation() == VIPS_INTERPRETATION_CMYK;
    source.sixteenBit = header.format() == VIPS_FORMAT_USHORT;
}

// A 16-bit source reduced to 8 bits by rounding, as drawing it into an 8-bit surface does: an
// alpha of 65,280 stays 254, a pixel that is not quite opaque. (libvips's own conversion drops
// the low byte, which would make it opaque.) Colour is converted to sRGB at 16 bits first.
VImage roundedToEightBit(const ValidatedSource& source) {
    VImage image = VImage::new_from_file(
        source.path.string().c_str(),
        VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", failOn(source)));
    if (source.colourManaged)
        image = image.icc_transform("srgb", VImage::option()->set("embedded", true)->set("depth", 16));
    const bool grey = image.bands() < 3;
    image = (image / (65'535.0 / 255.0)).rint().cast(VIPS_FORMAT_UCHAR);
    image = image.copy(VImage::option()->set("interpretation", grey ? VIPS_INTERPRETATION_B_W : VIPS_INTERPRETATION_sRGB));
    image.remove(VIPS_META_ICC_NAME);
    return image;
}

}  // namespace

std::optional<SourceType> sniffSourceType(std::span<const std::uint8_t> head) {
    if (startsWith(head, "\xFF\xD8\xFF")) return SourceType::jpeg;
    if (startsWith(head, "\x89PNG\r\n\x1A\n")) return SourceType::png;
    if (startsWith(head, "GIF87a") || startsWith(head, "GIF89a")) return SourceType::gif;
    if (startsWith(head, std::string_view("II*\0", 4)) || startsWith(head, std::string_view("MM\0*", 4)))
        return SourceType::tiff;
    if (startsWith(head, "BM") && head.size() >= 18) return SourceType::bmp;
    return sniffHeifFamily(head);
}

ValidatedSource validatedSource(const fs::path& path) {
    ensureVipsStarted();
    if (path.empty()) fail(FitError::Case::unreadable);
    ValidatedSource source;
    source.path = path;
    checkFileSize(path, source);
    const auto type = sniffSourceType(readHead(path, 64));
    if (!type) fail(FitError::Case::unreadable);
    source.type = *type;
    if (source.type == SourceType::tiff && isCameraRaw(path)) fail(FitError::Case::unreadable);
    checkHeader(source);
    return source;
}

VImage openScaled(const ValidatedSource& source, std::int64_t maxEdge) {
    const int edge = static_cast<int>(std::clamp<std::int64_t>(maxEdge, 1, kMaxSourceSide));
    try {
        // From the full image, orientation applied, never enlarged. Pixels without a profile are
        // taken as sRGB already.
        auto* options = VImage::option()
                            ->set("height", edge)
                            ->set("size", VIPS_SIZE_DOWN)
                            ->set("fail_on", failOn(source));
        if (source.sixteenBit) return roundedToEightBit(source).thumbnail_image(edge, options);
        if (source.colourManaged) options->set("export_profile", "srgb");
        return VImage::thumbnail(source.path.string().c_str(), edge, options);
    } catch (const vips::VError&) {
        clearVipsError();
        fail(FitError::Case::unreadable);
    }
}

VImage decodeNow(const VImage& scaled) {
    try {
        return scaled.copy_memory();
    } catch (const vips::VError&) {
        clearVipsError();
        fail(FitError::Case::unreadable);
    }
}

namespace {

// Runs a decode of the source; a JPEG refused for a warning that leaves every pixel intact is
// decoded once more, failing on errors only.
template <typename Decode>
auto tolerantDecode(const ValidatedSource& source, Decode decode) {
    try {
        return decode(source);
    } catch (const FitError&) {
        ValidatedSource tolerant = source;
        if (!mayTolerateWarnings(tolerant)) throw;
        return decode(tolerant);
    }
}

// Packed RGBA from packed 8-bit pixels of 3 (RGB, made opaque) or 4 bands.
std::vector<std::uint8_t> rgbaOf(const std::uint8_t* pixels, std::size_t length, int bands) {
    if (bands == 4) return {pixels, pixels + length};
    std::vector<std::uint8_t> rgba(length / 3 * 4);
    for (std::size_t from = 0, to = 0; from + 3 <= length; from += 3, to += 4) {
        std::memcpy(&rgba[to], pixels + from, 3);
        rgba[to + 3] = 255;
    }
    return rgba;
}

}  // namespace

VImage scaledDecode(const ValidatedSource& source, std::int64_t maxEdge) {
    return tolerantDecode(source, [maxEdge](const ValidatedSource& tried) { return decodeNow(openScaled(tried, maxEdge)); });
}

// The pixels go from the decoder straight into the bitmap's bytes: no decoded image is kept in
// between, and the opaque alpha of a picture without one is added while the bytes are packed.
Bitmap displayDecode(const ValidatedSource& source, std::int64_t maxEdge) {
    return tolerantDecode(source, [maxEdge](const ValidatedSource& tried) {
        try {
            VImage image = openScaled(tried, maxEdge);
            if (image.bands() < 3) image = image.colourspace(VIPS_INTERPRETATION_sRGB);
            image = image.cast(VIPS_FORMAT_UCHAR);
            std::size_t length = 0;
            const std::unique_ptr<void, decltype(&g_free)> pixels(image.write_to_memory(&length), &g_free);
            return Bitmap{image.width(), image.height(),
                          rgbaOf(static_cast<const std::uint8_t*>(pixels.get()), length, image.bands())};
        } catch (const vips::VError&) {
            clearVipsError();
            fail(FitError::Case::unreadable);
        }
    });
}

bool hasAlphaBand(const VImage& image) { return image.bands() == 2 || image.bands() == 4; }

VImage readHeader(const ValidatedSource& source) {
    const MutedStandardError muted(isHeifFamily(source.type));
    return reopenedHeader(source);
}

}  // namespace parcelo::detail
