// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// A form's smallest file size, reached by raising the quality at the same size and never by padding.
#include <functional>

#include <gtest/gtest.h>

#include "ByteCountFormat.h"
#include "FitMinimum.h"

using namespace parcelo;

namespace {

using Bytes = std::vector<std::uint8_t>;

// File sizes by encoder setting as real photos have them: growing with the quality, but now and
// then a few bytes smaller than at the setting before (53, 61, 77, 90), and one setting (70)
// much larger than its neighbours.
std::int64_t fakeBytes(int setting) {
    std::int64_t bytes = 20'000 + 300 * (setting - 50);
    if (setting == 53 || setting == 61 || setting == 77 || setting == 90) bytes -= 307;
    if (setting == 70) bytes += 5'000;
    return bytes;
}

Bytes fakeFile(int setting) { return Bytes(static_cast<std::size_t>(fakeBytes(setting)), static_cast<std::uint8_t>(setting)); }

// The lowest setting above 50 whose file lies between `minimum` and `limit`; 0 when none does.
int lowestReaching(std::int64_t minimum, std::int64_t limit) {
    for (int setting = 51; setting <= 100; ++setting)
        if (fakeBytes(setting) >= minimum && fakeBytes(setting) <= limit) return setting;
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

// Found at setting 50, the copy is under the minimum: the same pixels come back at the lowest
// setting whose file reaches it within the limit, however the sizes wander, or the image fails
// with the bytes it got to; a copy that already reaches it, or a PNG, is never re-encoded.
TEST(Minimum, ReachedAtTheLowestQualityThatReachesItOrFailsSayingHowBigItGot) {
    int encodes = 0;
    const detail::EncodeAtSetting encodeAt = [&encodes](int setting) {
        ++encodes;
        return fakeFile(setting);
    };
    const auto reach = [&](std::int64_t minimum, std::int64_t limit, bool png = false) {
        encodes = 0;
        return detail::reachMinimum({fakeFile(50), {200, 230}, 50}, encodeAt, png, minimum, limit, {});
    };
    for (int wanted = 51; wanted <= 100; ++wanted) {
        for (const std::int64_t limit : {fakeBytes(100), fakeBytes(wanted) + 100}) {
            const int expected = lowestReaching(fakeBytes(wanted), limit);
            const detail::Found reached = reach(fakeBytes(wanted), limit);
            EXPECT_EQ(reached.setting, expected) << "minimum " << fakeBytes(wanted) << ", limit " << limit;
            EXPECT_EQ(reached.data, fakeFile(expected));
            EXPECT_EQ(reached.size.width, 200);
        }
    }
    EXPECT_EQ(reach(fakeBytes(69) + 1, 30'000).setting, 71);  // 70 is over the limit
    EXPECT_EQ(reach(fakeBytes(50), fakeBytes(100)).setting, 50);  // already there: kept as found
    EXPECT_EQ(reach(0, fakeBytes(100)).data, fakeFile(50));
    EXPECT_EQ(encodes, 0);

    EXPECT_EQ(failureOf([&] { reach(fakeBytes(100) + 1, fakeBytes(100) + 1); }),
              "This copy reaches only " + formatByteCount(fakeBytes(100)) + " within your limit, under the " +
                  formatByteCount(fakeBytes(100) + 1) +
                  " minimum. Lower the minimum or choose larger dimensions. Parcelo never pads a file.");
    EXPECT_EQ(encodes, 1);  // under it even at the best quality: nothing else is tried
    // Between two neighbouring settings, one under the minimum and the next over the limit.
    EXPECT_EQ(failureOf([&] { reach(fakeBytes(80) + 1, fakeBytes(81) - 1); }),
              FitError::minimumUnreachable(fakeBytes(80), fakeBytes(80) + 1).errorDescription());
    EXPECT_EQ(failureOf([&] { reach(fakeBytes(50) + 1, fakeBytes(100), true); }),
              FitError::minimumUnreachable(fakeBytes(50), fakeBytes(50) + 1).errorDescription());
}

}  // namespace
