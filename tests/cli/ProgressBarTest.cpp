#include "ProgressBar.h"

#include <sstream>

#include <gtest/gtest.h>

namespace parcelo::cli {
namespace {

TEST(ProgressBar, DrawsNothingWhenNotOnATerminal) {
    std::ostringstream err;
    ProgressBar bar(err, false, 10);
    bar.show(3, "Storm.jpg");
    bar.clear();
    EXPECT_EQ(err.str(), "");
}

TEST(ProgressBar, ShowsCountNameAndTimeOnOneLine) {
    std::ostringstream err;
    ProgressBar bar(err, true, 8);
    bar.show(2, "Storm.jpg");
    const std::string drawn = err.str();
    EXPECT_EQ(drawn.rfind("\r\x1b[K[", 0), 0u);  // starts by wiping the line it redraws
    EXPECT_NE(drawn.find("[######------------------] 2/8 \u00b7 Storm.jpg \u00b7 0:0"), std::string::npos) << drawn;
    EXPECT_EQ(drawn.find('\n'), std::string::npos);
}

TEST(ProgressBar, ClearingWipesOnlyWhatWasDrawn) {
    std::ostringstream err;
    ProgressBar bar(err, true, 1);
    bar.clear();
    EXPECT_EQ(err.str(), "");
    bar.show(0, "a.png");
    err.str("");
    bar.clear();
    EXPECT_EQ(err.str(), "\r\x1b[K");
}

TEST(ProgressBar, ElapsedTimeReadsAsAClock) {
    EXPECT_EQ(elapsedText(std::chrono::seconds(0)), "0:00");
    EXPECT_EQ(elapsedText(std::chrono::seconds(65)), "1:05");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3599)), "59:59");
    EXPECT_EQ(elapsedText(std::chrono::seconds(3661)), "1:01:01");
}

TEST(ProgressBar, LongNamesAreShortenedByWholeCharacters) {
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abcde\u2026");
    EXPECT_EQ(shortened("\u00e9\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u2026");  // never half of "é"
}

}  // namespace
}  // namespace parcelo::cli
