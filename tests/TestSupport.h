// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

// What every test program shares: the image corpus, scratch folders, synthetic images and
// files. Include the test framework's header (<gtest/gtest.h> or <QTest>) before this one.

#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

// GLib, under libvips, names a struct member `signals`, which Qt defines as a keyword.
#pragma push_macro("signals")
#undef signals
#include <vips/vips8>

#include "VipsRuntime.h"
#pragma pop_macro("signals")


namespace parcelo::test {

// The shared folder of real images (photos, orientations, profiles, refusals).
inline std::filesystem::path corpusDir() { return PARCELO_CORPUS_DIR; }

inline bool haveCorpus() { return std::filesystem::exists(corpusDir() / "MANIFEST.tsv"); }

inline std::string corpusMissing() {
    return "image corpus missing at " + corpusDir().string() + " - real-image checks NOT run";
}

// A fresh folder of its own under the temporary directory, removed with everything in it.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "parcelo-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a scratch folder");
        path_ = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// While it lives, no file of this process (or of a process it starts) can grow past `bytes`:
// a write past the limit fails with "File too large" instead of raising SIGXFSZ, as when the
// disk or the user's quota fills up midway through a file.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        if (::getrlimit(RLIMIT_FSIZE, &previous_) != 0) throw std::runtime_error("cannot read the file size limit");
        previousSignal_ = ::signal(SIGXFSZ, SIG_IGN);
        rlimit limited = previous_;
        limited.rlim_cur = bytes;
        if (::setrlimit(RLIMIT_FSIZE, &limited) != 0) throw std::runtime_error("cannot set the file size limit");
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        ::signal(SIGXFSZ, previousSignal_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_{};
    sighandler_t previousSignal_ = SIG_DFL;
};

// Detailed, photo-like content: smooth gradients plus noise, so JPEG sizes respond to quality.
inline vips::VImage photoLike(int width, int height) {
    detail::ensureVipsStarted();
    vips::VImage xy = vips::VImage::xyz(width, height);
    vips::VImage red = xy[0] * (255.0 / width);
    vips::VImage green = xy[1] * (255.0 / height);
    vips::VImage blue = (xy[0] + xy[1]) * (127.0 / (width + height)) + 64;
    vips::VImage noise = vips::VImage::gaussnoise(width, height, vips::VImage::option()->set("sigma", 30.0));
    vips::VImage rgb = red.bandjoin(green).bandjoin(blue) + noise;
    return rgb.cast(VIPS_FORMAT_UCHAR).copy(vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// Pure noise: incompressible, so no small limit is ever met.
inline vips::VImage noise(int width, int height) {
    detail::ensureVipsStarted();
    int seed = 0;
    auto band = [&] {
        return vips::VImage::gaussnoise(
            width, height, vips::VImage::option()->set("sigma", 90.0)->set("mean", 128.0)->set("seed", ++seed));
    };
    return band().bandjoin(band()).bandjoin(band()).cast(VIPS_FORMAT_UCHAR).copy(
        vips::VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
}

// Every pixel the same; one or two values make a grey image, three or four a colour one.
inline vips::VImage flat(int width, int height, std::vector<double> pixel) {
    detail::ensureVipsStarted();
    vips::VImage image = (vips::VImage::black(width, height) + pixel).cast(VIPS_FORMAT_UCHAR);
    return image.copy(vips::VImage::option()->set(
        "interpretation", pixel.size() >= 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W));
}

// Writes the image in the format its suffix names.
inline std::filesystem::path save(const vips::VImage& image, const std::filesystem::path& path) {
    image.write_to_file(path.c_str());
    return path;
}

// A copy held in memory, decoded as a viewer would; the image keeps its own pixels, so the
// bytes may go first.
inline vips::VImage loadBytes(const std::vector<std::uint8_t>& data) {
    detail::ensureVipsStarted();
    return vips::VImage::new_from_buffer(data.data(), data.size(), "").copy_memory();
}

inline std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    if (!(file << bytes)) throw std::runtime_error("cannot write " + path.string());
}

inline std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The files of a folder, sorted by name.
inline std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files(std::filesystem::directory_iterator(folder), {});
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace parcelo::test

// Skips the current test, loudly, when the image corpus is not beside the checkout.
#if defined(GTEST_SKIP)
#define REQUIRE_CORPUS()                                                                           \
    do {                                                                                           \
        if (!::parcelo::test::haveCorpus()) GTEST_SKIP() << ::parcelo::test::corpusMissing();      \
    } while (0)
#elif defined(QSKIP)
#define REQUIRE_CORPUS()                                                                           \
    do {                                                                                           \
        if (!::parcelo::test::haveCorpus()) QSKIP(::parcelo::test::corpusMissing().c_str());       \
    } while (0)
#else
#error "include <gtest/gtest.h> or <QTest> before TestSupport.h"
#endif
