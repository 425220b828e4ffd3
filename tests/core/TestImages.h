#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <vips/vips8>

#include "FitError.h"
#include "VipsRuntime.h"

// Synthetic images for exact edge cases, written into a per-test temporary folder.
namespace parcelo::test {

class ScratchFolder {
public:
    ScratchFolder() {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        path_ = std::filesystem::temp_directory_path() /
                ("parcelo-test-" + std::string(info->test_suite_name()) + "-" + info->name() + "-" +
                 std::to_string(::getpid()));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
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

// A flat colour image, all pixels the same.
inline vips::VImage flat(int width, int height, std::vector<double> pixel) {
    detail::ensureVipsStarted();
    vips::VImage image = (vips::VImage::black(width, height) + pixel).cast(VIPS_FORMAT_UCHAR);
    return image.copy(vips::VImage::option()->set(
        "interpretation", pixel.size() >= 3 ? VIPS_INTERPRETATION_sRGB : VIPS_INTERPRETATION_B_W));
}

inline std::filesystem::path save(const vips::VImage& image, const std::filesystem::path& path) {
    image.write_to_file(path.c_str());
    return path;
}

inline vips::VImage load(const std::filesystem::path& path) {
    detail::ensureVipsStarted();
    return vips::VImage::new_from_file(path.c_str());
}

inline vips::VImage loadBytes(const std::vector<std::uint8_t>& data) {
    detail::ensureVipsStarted();
    return vips::VImage::new_from_buffer(data.data(), data.size(), "");
}

inline void writeBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    ASSERT_TRUE(file.good()) << "could not write " << path;
}

inline std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The case of the FitError that call must end in; a call that succeeds fails the test.
template <typename Call>
FitError::Case failureOf(Call&& call) {
    try {
        call();
    } catch (const FitError& error) {
        return error.errorCase();
    }
    ADD_FAILURE() << "expected a FitError";
    return FitError::Case::invalidSettings;
}

using Size = std::pair<std::int64_t, std::int64_t>;

// Width and height of a fitted copy or preview, comparable in one assertion.
template <typename Picture>
Size sizeOf(const Picture& picture) {
    return {picture.width, picture.height};
}

// Mean absolute difference per band value between two images of the same size.
inline double meanDifference(const vips::VImage& a, const vips::VImage& b) {
    return (a.cast(VIPS_FORMAT_FLOAT) - b.cast(VIPS_FORMAT_FLOAT)).abs().avg();
}

}  // namespace parcelo::test
