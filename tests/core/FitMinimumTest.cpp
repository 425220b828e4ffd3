// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A form's smallest file size, reached by raising the quality at the same size and never by padding.
#include <functional>
#include <map>

#include <gtest/gtest.h>

#include "ByteCountFormat.h"
#include "Encoding.h"
#include "FitMinimum.h"
#include "TestSupport.h"

using namespace parcelo;
using namespace parcelo::test;
using vips::VImage;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes atSetting(const VImage& image, int setting) { return detail::encode(image, false, setting / 100.0); }

std::int64_t bytesOf(const Bytes& data) { return static_cast<std::int64_t>(data.size()); }

// The lowest setting above `from` whose file is at least `minimum` bytes.
int lowestReaching(const std::map<int, std::int64_t>& sizes, int from, std::int64_t minimum) {
    for (const auto& [setting, bytes] : sizes)
        if (setting > from && bytes >= minimum) return setting;
    return 0;
}

std::string failureOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const FitError& error) {
        return std::string(error.errorDescription());
    }
    return "no failure";
}

// Found at quality 0.50, the copy is under the minimum: the same pixels come back at the lowest
// quality that reaches it, or the image fails with the bytes it got to; a copy that already
// reaches it, or a PNG, is never re-encoded.
TEST(Minimum, ReachedAtTheLowestQualityThatReachesItOrFailsSayingHowBigItGot) {
    const VImage image = photoLike(200, 230);
    const geometry::PixelSize size{200, 230};
    std::map<int, std::int64_t> sizes;
    for (int setting = 50; setting <= 100; ++setting) sizes[setting] = bytesOf(atSetting(image, setting));
    const auto found = [&] { return detail::Found{atSetting(image, 50), size, 50}; };
    const auto reach = [&](std::int64_t minimum, std::int64_t limit, bool png = false) {
        return detail::reachMinimum(found(), image, png, minimum, limit, {});
    };

    for (const int wanted : {51, 70, 93, 100}) {
        const std::int64_t minimum = sizes[wanted];
        const int expected = lowestReaching(sizes, 50, minimum);
        const detail::Found reached = reach(minimum, sizes[100]);
        EXPECT_EQ(reached.setting, expected) << "minimum " << minimum;
        EXPECT_EQ(reached.data, atSetting(image, expected));
        EXPECT_EQ(reached.size.width, 200);
    }
    EXPECT_EQ(reach(sizes[50], sizes[100]).setting, 50);  // already there: kept as found
    EXPECT_EQ(reach(0, sizes[100]).data, found().data);

    EXPECT_EQ(failureOf([&] { reach(sizes[100] + 1, sizes[100] + 1); }),
              "This copy reaches only " + formatByteCount(sizes[100]) + " within your limit, under the " +
                  formatByteCount(sizes[100] + 1) +
                  " minimum. Lower the minimum or choose larger dimensions. Parcelo never pads a file.");
    // Between two neighbouring qualities, one under the minimum and the next over the limit.
    const int step = lowestReaching(sizes, 50, sizes[80]);
    EXPECT_EQ(FitError::minimumUnreachable(sizes[step - 1], sizes[step - 1] + 1).errorDescription(),
              failureOf([&] { reach(sizes[step - 1] + 1, sizes[step] - 1); }));
    EXPECT_THROW(reach(sizes[50] + 1, sizes[100], true), FitError);
}

}  // namespace
