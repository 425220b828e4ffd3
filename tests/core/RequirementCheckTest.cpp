// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// Whether a file meets the requirements as it is: its facts, read from its header, against them.
#include "RequirementCheck.h"

#include <functional>

#include <gtest/gtest.h>

#include "FitError.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;
namespace fs = std::filesystem;

namespace {

const FitSettings kMegabyte{1'000'000, 2'560, OutputFormat::automatic, 0, 0};

// The image with a metadata block of libvips's, written when the file is saved.
VImage withBlob(const VImage& image, const char* field, const void* data, std::size_t size) {
    VImage copy = image.copy();
    vips_image_set_blob_copy(copy.get_image(), field, data, size);
    return copy;
}

VImage withSrgbProfile(const VImage& image) {
    VipsBlob* profile = VImage::profile_load("srgb");
    const VImage tagged = withBlob(image, VIPS_META_ICC_NAME, VIPS_AREA(profile)->data, VIPS_AREA(profile)->length);
    vips_area_unref(VIPS_AREA(profile));
    return tagged;
}

// A JPEG as libvips writes it by default carries an EXIF block of its own making; this one carries none.
fs::path saveStripped(const VImage& image, const fs::path& path) {
    image.write_to_file((path.string() + "[strip]").c_str());
    return path;
}

// A JPEG with a comment segment right after its start, where editors put theirs.
fs::path jpegWithComment(const fs::path& path) {
    saveStripped(photoLike(300, 200), path);
    std::string bytes = contents(path);
    bytes.insert(2, std::string("\xFF\xFE\x00\x07" "GIMP!", 9));
    writeBytes(path, bytes);
    return path;
}

// The conditions failed, then the kinds of metadata: "pixels metadata +exif +xmp".
std::string unmetNames(const fs::path& file, const FitSettings& settings) {
    static const char* const names[] = {"format", "bytes", "minimum", "pixels", "resolution", "upright", "metadata", "colour"};
    try {
        const SourceFacts facts = inspectSource(file);
        std::string text;
        for (Requirement requirement : unmetRequirements(facts, settings))
            text += std::string(text.empty() ? "" : " ") + names[static_cast<int>(requirement)];
        const SourceMetadata& kinds = facts.metadata;
        for (const auto& [present, kind] : {std::pair{kinds.exif, "exif"}, {kinds.gps, "gps"}, {kinds.xmp, "xmp"},
                                            {kinds.iptc, "iptc"}, {kinds.comments, "comments"}})
            if (present) text += std::string(" +") + kind;
        return text.empty() ? "meets" : text;
    } catch (const FitError& error) {
        return std::string(error.caseName());
    }
}

}  // namespace

// Each condition fails alone (parcelo-fit's check shows size, edge and format); Parcelo's own kind
// of file (JPEG or PNG without metadata, untagged or tagged sRGB) meets them. libvips adds an EXIF
// block to the JPEGs it writes unless told to strip them.
TEST(RequirementCheck, EachConditionFailsOnItsOwn) {
    ScratchFolder scratch;
    const std::string xmp = "<x:xmpmeta xmlns:x='adobe:ns:meta/'/>";
    const fs::path plain = saveStripped(photoLike(400, 300), scratch / "plain.jpg");
    const fs::path png = save(photoLike(400, 300), scratch / "plain.png");
    const auto exact = [](std::int64_t width, std::int64_t height) {
        return FitSettings{1'000'000, 0, OutputFormat::jpeg, width, height};
    };
    const std::vector<std::tuple<fs::path, FitSettings, std::string>> cases{
        {plain, kMegabyte, "meets"},
        {plain, exact(400, 300), "meets"},
        {plain, exact(300, 400), "pixels"},
        {png, {1'000'000, 0, OutputFormat::png, 0, 0}, "meets"},
        {png, exact(400, 300), "format"},
        {save(withSrgbProfile(photoLike(300, 200)), scratch / "tagged.jpg"), kMegabyte, "metadata +exif"},
        {save(photoLike(300, 200), scratch / "picture.tif"), kMegabyte, "format"},
        {jpegWithComment(scratch / "comment.jpg"), kMegabyte, "metadata +comments"},
        {save(withBlob(photoLike(300, 200), VIPS_META_XMP_NAME, xmp.data(), xmp.size()), scratch / "xmp.jpg"), kMegabyte,
         "metadata +exif +xmp"},
    };
    for (const auto& [file, settings, expected] : cases)
        EXPECT_EQ(unmetNames(file, settings), expected) << file.filename() << " at " << settings.targetBytes;
}
