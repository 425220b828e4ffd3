// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RequirementCheck.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>

#include <lcms2.h>

#include "Encoding.h"
#include "SourceImage.h"
#include "VipsRuntime.h"

namespace parcelo {

namespace {

using detail::SourceType;
using vips::VImage;

std::string formatName(SourceType type) {
    switch (type) {
    case SourceType::jpeg: return "jpeg";
    case SourceType::png: return "png";
    case SourceType::gif: return "gif";
    case SourceType::tiff: return "tiff";
    case SourceType::bmp: return "bmp";
    case SourceType::heic: return "heic";
    case SourceType::heif: return "heif";
    }
    return "";
}

// libvips 8.14 does not show a JPEG's comment segments, so the segments before the image data
// are walked here: a comment (FF FE) is metadata that a copy drops.
bool hasJpegComment(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<unsigned char, 4> segment{};
    file.seekg(2);  // past the start-of-image marker
    while (file.read(reinterpret_cast<char*>(segment.data()), 4) && segment[0] == 0xFF) {
        const unsigned char marker = segment[1];
        if (marker == 0xFE) return true;
        if (marker == 0xDA || marker == 0xD9) return false;  // image data, or the end: no more segments
        file.seekg((segment[2] << 8 | segment[3]) - 2, std::ios::cur);
    }
    return false;
}

SourceMetadata metadataOf(const VImage& header, const detail::ValidatedSource& source) {
    SourceMetadata metadata{.exif = header.get_typeof(VIPS_META_EXIF_NAME) != 0,
                            .xmp = header.get_typeof(VIPS_META_XMP_NAME) != 0,
                            .iptc = header.get_typeof(VIPS_META_IPTC_NAME) != 0,
                            .comments = source.type == SourceType::jpeg && hasJpegComment(source.path)};
    // libvips names parsed EXIF tags "exif-ifd{n}-{tag}"; the location tags are IFD 3.
    const std::unique_ptr<char*, void (*)(char**)> fields(vips_image_get_fields(header.get_image()), g_strfreev);
    for (char** field = fields.get(); field != nullptr && *field != nullptr; ++field) {
        const std::string_view name(*field);
        metadata.gps = metadata.gps || name.starts_with("exif-ifd3-");
        metadata.comments = metadata.comments || name.starts_with("png-comment-") || name == "gif-comment";
    }
    return metadata;
}

struct ProfileCloser {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, ProfileCloser>;

bool sameColorant(const Profile& a, const Profile& b, cmsTagSignature tag) {
    const auto* first = static_cast<const cmsCIEXYZ*>(cmsReadTag(a.get(), tag));
    const auto* second = static_cast<const cmsCIEXYZ*>(cmsReadTag(b.get(), tag));
    constexpr double kTolerance = 0.005;  // rounding in real sRGB profiles; Display P3's red is 0.08 away
    return first != nullptr && second != nullptr && std::abs(first->X - second->X) <= kTolerance &&
           std::abs(first->Y - second->Y) <= kTolerance && std::abs(first->Z - second->Z) <= kTolerance;
}

bool sameCurve(const Profile& a, const Profile& b, cmsTagSignature tag) {
    const auto* first = static_cast<const cmsToneCurve*>(cmsReadTag(a.get(), tag));
    const auto* second = static_cast<const cmsToneCurve*>(cmsReadTag(b.get(), tag));
    if (first == nullptr || second == nullptr) return false;
    for (int step = 0; step <= 16; ++step) {
        const float x = static_cast<float>(step) / 16.0f;
        if (std::abs(cmsEvalToneCurveFloat(first, x) - cmsEvalToneCurveFloat(second, x)) > 0.01f) return false;
    }
    return true;
}

bool describedAsSrgb(const Profile& profile) {
    std::array<char, 256> description{};
    cmsGetProfileInfoASCII(profile.get(), cmsInfoDescription, "en", "US", description.data(),
                           static_cast<cmsUInt32Number>(description.size()));
    return std::strstr(description.data(), "sRGB") != nullptr;
}

// A profile is sRGB when its primaries and tone curves are sRGB's, whatever its name (some
// cameras and web tools embed compact ones). A profile made of lookup tables alone has neither;
// it is taken at its word.
bool isSrgbProfile(const void* data, std::size_t size) {
    const Profile profile(cmsOpenProfileFromMem(data, static_cast<cmsUInt32Number>(size)));
    if (!profile || cmsGetColorSpace(profile.get()) != cmsSigRgbData) return false;
    if (!cmsIsTag(profile.get(), cmsSigRedColorantTag)) return describedAsSrgb(profile);
    const Profile srgb(cmsCreate_sRGBProfile());
    for (const auto& [colorant, curve] : {std::pair{cmsSigRedColorantTag, cmsSigRedTRCTag},
                                          std::pair{cmsSigGreenColorantTag, cmsSigGreenTRCTag},
                                          std::pair{cmsSigBlueColorantTag, cmsSigBlueTRCTag}})
        if (!sameColorant(profile, srgb, colorant) || !sameCurve(profile, srgb, curve)) return false;
    return true;
}

bool isSrgb(const VImage& header) {
    if (header.interpretation() == VIPS_INTERPRETATION_CMYK) return false;
    if (header.get_typeof(VIPS_META_ICC_NAME) == 0) return true;
    std::size_t size = 0;
    const void* profile = header.get_blob(VIPS_META_ICC_NAME, &size);
    const bool srgb = isSrgbProfile(profile, size);
    detail::clearVipsError();  // libvips hears lcms's complaints about a damaged profile
    return srgb;
}

bool meetsFormat(const std::string& format, OutputFormat wanted) {
    switch (wanted) {
    case OutputFormat::automatic: return format == "jpeg" || format == "png";
    case OutputFormat::jpeg: return format == "jpeg";
    case OutputFormat::png: return format == "png";
    }
    return false;
}

bool meetsPixels(const SourceFacts& facts, const FitSettings& settings) {
    if (settings.isExact()) return facts.width == settings.exactWidth && facts.height == settings.exactHeight;
    return std::max(facts.width, facts.height) <= (settings.maxEdge == 0 ? kMaxMaxEdge : settings.maxEdge);
}

std::int64_t statedDpi(const VImage& header, const detail::ValidatedSource& source) {
    std::ifstream file(source.path, std::ios::binary);
    return detail::statedDpi(header, source.type == SourceType::png, file);
}

// Damage shows only when the pixels are read; a small decode reads them all at little cost
// (JPEGs shrink while they decode).
constexpr std::int64_t kDamageCheckEdge = 256;

}  // namespace

SourceFacts inspectSource(const std::filesystem::path& path) {
    const detail::ValidatedSource source = detail::validatedSource(path);
    const VImage header = detail::readHeader(source);
    detail::scaledDecode(source, kDamageCheckEdge);
    const int orientation = source.orientation.value_or(1);
    SourceFacts facts{.format = formatName(source.type),
                      .bytes = source.fileSize,
                      .dpi = statedDpi(header, source),
                      .orientation = orientation >= 2 && orientation <= 8 ? orientation : 1,
                      .metadata = metadataOf(header, source),
                      .sRGB = isSrgb(header)};
    const bool sideways = facts.orientation >= 5;
    facts.width = sideways ? source.stored.height : source.stored.width;
    facts.height = sideways ? source.stored.width : source.stored.height;
    return facts;
}

std::vector<Requirement> unmetLimits(const SourceFacts& facts, const FitSettings& settings) {
    std::vector<Requirement> unmet;
    if (!meetsFormat(facts.format, settings.outputFormat)) unmet.push_back(Requirement::format);
    if (facts.bytes > settings.targetBytes) unmet.push_back(Requirement::bytes);
    if (facts.bytes < settings.minBytes) unmet.push_back(Requirement::minimum);
    if (!meetsPixels(facts, settings)) unmet.push_back(Requirement::pixels);
    if (settings.dpi != 0 && facts.dpi != settings.dpi) unmet.push_back(Requirement::resolution);
    return unmet;
}

std::vector<Requirement> unmetRequirements(const SourceFacts& facts, const FitSettings& settings) {
    std::vector<Requirement> unmet = unmetLimits(facts, settings);
    if (facts.orientation != 1) unmet.push_back(Requirement::upright);
    if (facts.metadata.any()) unmet.push_back(Requirement::metadata);
    if (!facts.sRGB) unmet.push_back(Requirement::colour);
    return unmet;
}

}  // namespace parcelo
