#include "ProgressBar.h"

#include <sstream>

#include <gtest/gtest.h>

namespace parcelo::cli {
namespace {

TEST(ProgressBar, DrawsOnlyOnATerminalOneLineAndWipesOnlyWhatItDrew) {
    std::ostringstream err;
    ProgressBar off(err, false, 10);
    off.show(3, "Storm.jpg");
    off.clear();
    EXPECT_EQ(err.str(), "");

    ProgressBar bar(err, true, 8);
    bar.clear();
    EXPECT_EQ(err.str(), "");
    bar.show(2, "Storm.jpg");
    // Wipes the line it redraws, then the bar, the count, the name and the time (under ten seconds).
    const std::string drawn = "\r\x1b[K[######------------------] 2/8 \u00b7 Storm.jpg \u00b7 0:0";
    EXPECT_EQ(err.str().rfind(drawn, 0), 0u) << err.str();
    EXPECT_EQ(err.str().size(), drawn.size() + 1) << err.str();
    err.str("");
    bar.clear();
    EXPECT_EQ(err.str(), "\r\x1b[K");
    bar.clear();
    EXPECT_EQ(err.str(), "\r\x1b[K");
}

TEST(ProgressBar, ClockAndNamesAreWrittenShort) {
    EXPECT_EQ(elapsedText(std::chrono::seconds(0)), "0:00");
    EXPECT_EQ(elapsedText(std::chrono::seconds(65)), "1:05");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3599)), "59:59");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3661)), "1:01:01");
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abcde\u2026");
    EXPECT_EQ(shortened("\u00e9\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u2026");  // never half of "é"
}

}  // namespace
}  // namespace parcelo::cli
