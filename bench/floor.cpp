// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// parcelo-floor: the least work any tool could do to make a given copy of an image, so that
// Parcelo's time can be set against it. One shrink-on-load decode straight to the copy's size
// (orientation applied, converted to sRGB), one encode — no search, no second size, no check.
//
//   parcelo-floor IN OUT WIDTH HEIGHT QUALITY
//   parcelo-floor -        (one "IN<TAB>OUT<TAB>WIDTH<TAB>HEIGHT<TAB>QUALITY" job per stdin line)
//
// QUALITY is a JPEG quality from 1 to 100, or "png" for a PNG copy that keeps transparency.
// Reading jobs from stdin lets one process do a whole list, as parcelo-fit does.

#include <vips/vips8>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using vips::VImage;

struct Job {
    std::string input;
    std::string output;
    int width = 0;
    int height = 0;
    // A JPEG quality; absent for a PNG copy.
    std::optional<int> quality;
};

std::optional<int> positive(const std::string& text) {
    try {
        std::size_t used = 0;
        const int value = std::stoi(text, &used);
        if (used == text.size() && value > 0) return value;
    } catch (const std::exception&) {
    }
    return std::nullopt;
}

std::optional<Job> parsedJob(const std::vector<std::string>& fields) {
    if (fields.size() != 5) return std::nullopt;
    const auto width = positive(fields[2]);
    const auto height = positive(fields[3]);
    if (!width || !height) return std::nullopt;
    Job job{fields[0], fields[1], *width, *height, std::nullopt};
    if (fields[4] == "png") return job;
    job.quality = positive(fields[4]);
    if (!job.quality || *job.quality > 100) return std::nullopt;
    return job;
}

std::vector<std::string> tabFields(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) fields.push_back(field);
    return fields;
}

// 8-bit sRGB with three or four bands; a JPEG copy lies on opaque white, as Parcelo's does.
VImage encodable(VImage image, bool keepAlpha) {
    const bool alpha = image.bands() == 2 || image.bands() == 4;
    if (alpha && !keepAlpha)
        image = image.flatten(VImage::option()->set("background", std::vector<double>{255.0}));
    if (image.interpretation() != VIPS_INTERPRETATION_sRGB)
        image = image.colourspace(VIPS_INTERPRETATION_sRGB);
    if (image.format() != VIPS_FORMAT_UCHAR) image = image.cast(VIPS_FORMAT_UCHAR);
    return image;
}

// The decode lands on the exact box in one step: libvips picks the largest shrink-on-load
// factor the codec offers and resamples the rest with Lanczos 3, premultiplying any alpha.
VImage decodedAtSize(const Job& job) {
    VImage image = VImage::thumbnail(job.input.c_str(), job.width,
                                     VImage::option()
                                         ->set("height", job.height)
                                         ->set("size", VIPS_SIZE_FORCE)
                                         ->set("export_profile", "srgb"));
    if (image.width() != job.width || image.height() != job.height)
        image = image.resize(static_cast<double>(job.width) / image.width(),
                             VImage::option()->set(
                                 "vscale", static_cast<double>(job.height) / image.height()));
    return image;
}

bool run(const Job& job) {
    try {
        const VImage image = encodable(decodedAtSize(job), !job.quality.has_value());
        if (job.quality)
            image.jpegsave(job.output.c_str(), VImage::option()
                                                   ->set("Q", *job.quality)
                                                   ->set("optimize_coding", true)
                                                   ->set("strip", true));
        else
            image.pngsave(job.output.c_str(), VImage::option()->set("strip", true));
        return true;
    } catch (const vips::VError& error) {
        std::cerr << "parcelo-floor: " << job.input << ": " << error.what();
        vips_error_clear();
        return false;
    }
}

int runLines(std::istream& in) {
    int failures = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.empty()) continue;
        const auto job = parsedJob(tabFields(line));
        if (!job) {
            std::cerr << "parcelo-floor: bad job line: " << line << '\n';
            ++failures;
        } else if (!run(*job)) {
            ++failures;
        }
    }
    return failures == 0 ? 0 : 1;
}

constexpr const char* kUsage =
    "usage: parcelo-floor IN OUT WIDTH HEIGHT QUALITY|png\n"
    "       parcelo-floor -   (tab-separated jobs of those five fields on stdin)\n";

}  // namespace

int main(int argc, char** argv) {
    // Loader warnings (a CMYK file's fallback profile, say) would drown the benchmark's output.
    setenv("VIPS_WARNING", "0", 0);
    if (VIPS_INIT(argv[0]) != 0) {
        std::cerr << "parcelo-floor: cannot start libvips\n";
        return 2;
    }
    // Like Parcelo: nothing is reused between images.
    vips_cache_set_max(0);
    const std::vector<std::string> args(argv + 1, argv + argc);
    if (args.size() == 1 && args[0] == "-") return runLines(std::cin);
    const auto job = parsedJob(args);
    if (!job) {
        std::cerr << kUsage;
        return 2;
    }
    return run(*job) ? 0 : 1;
}
