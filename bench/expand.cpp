// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// parcelo-expand: how long Parcelo takes to expand a dropped folder at the largest size one
// selection may have. Builds a tree of 19,999 entries (subfolders, images and other files) in
// a temporary folder, expands it several times and prints the fastest and the median time.
//
//   parcelo-expand [RUNS]        (default 5)

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <unistd.h>

#include "ImageImport.h"

namespace fs = std::filesystem;

namespace {

// 99 subfolders of 200 entries and 100 files at the top: 19,999 entries, one under the cap.
constexpr int kFolders = 99;
constexpr int kEntriesPerFolder = 200;
constexpr int kTopFiles = 100;
constexpr std::int64_t kEntries = kFolders + std::int64_t{kFolders} * kEntriesPerFolder + kTopFiles;
static_assert(kEntries == parcelo::ImageImport::kMaxExaminedEntries - 1);

void touch(const fs::path& path) { std::ofstream(path, std::ios::binary).put('\0'); }

// Mostly images under mixed-case numbered names, one in ten a file Parcelo passes over.
std::string entryName(int index) {
    const char* extension = index % 10 == 9 ? "txt" : (index % 3 == 0 ? "JPG" : "png");
    return "IMG_" + std::to_string(index) + "." + extension;
}

void buildTree(const fs::path& root) {
    fs::create_directories(root);
    for (int file = 0; file < kTopFiles; ++file) touch(root / entryName(file));
    for (int folder = 0; folder < kFolders; ++folder) {
        const fs::path sub = root / ("Folder " + std::to_string(folder));
        fs::create_directory(sub);
        for (int file = 0; file < kEntriesPerFolder; ++file) touch(sub / entryName(file));
    }
}

double secondsToExpand(const fs::path& root, std::size_t& images) {
    const auto start = std::chrono::steady_clock::now();
    const auto selection = parcelo::ImageImport::expand({root}, {}, kEntries);
    const auto end = std::chrono::steady_clock::now();
    images = selection.urls.size();
    return std::chrono::duration<double>(end - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
    const fs::path root = fs::temp_directory_path() / ("parcelo-expand-" + std::to_string(::getpid()));
    try {
        buildTree(root);
        std::vector<double> seconds;
        std::size_t images = 0;
        for (int run = 0; run < runs; ++run) seconds.push_back(secondsToExpand(root, images));
        std::sort(seconds.begin(), seconds.end());
        std::printf("expand: %lld entries, %zu images found, %d runs (warm cache): "
                    "fastest %.3f s, median %.3f s\n",
                    static_cast<long long>(kEntries), images, runs, seconds.front(),
                    seconds[seconds.size() / 2]);
    } catch (const std::exception& error) {
        std::cerr << "parcelo-expand: " << error.what() << '\n';
        fs::remove_all(root);
        return 1;
    }
    fs::remove_all(root);
    return 0;
}
