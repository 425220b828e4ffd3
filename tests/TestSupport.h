#pragma once

#include <filesystem>

#include <gtest/gtest.h>

namespace parcelo::test {

// The shared folder of real images (photos, orientations, profiles, refusals).
inline std::filesystem::path corpusDir() { return PARCELO_CORPUS_DIR; }

inline bool haveCorpus() { return std::filesystem::exists(corpusDir() / "MANIFEST.tsv"); }

}  // namespace parcelo::test

// Skips the current test, loudly, when the image corpus is not beside the checkout.
#define REQUIRE_CORPUS()                                                                           \
    do {                                                                                           \
        if (!::parcelo::test::haveCorpus())                                                        \
            GTEST_SKIP() << "image corpus missing at " << ::parcelo::test::corpusDir()           \
                         << " - real-image checks NOT run";                                        \
    } while (0)
