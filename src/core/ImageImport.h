// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <stop_token>
#include <string_view>
#include <vector>

namespace parcelo {

// What a selection of files and folders expands to, and what was left out of it.
struct ImportSelection {
    // The image files found, in standardized form; sorted unless stoppedAtLimit.
    std::vector<std::filesystem::path> urls;
    // Links, entries that are not regular files, entries whose properties could not be
    // read, and files inside folders with an unsupported extension.
    std::int64_t skipped = 0;
    // Folders that could not be opened, plus every error met while descending.
    std::int64_t unreadable = 0;
    // More images were found than the caller had room for; urls holds limit + 1 of them.
    bool stoppedAtLimit = false;

    friend bool operator==(const ImportSelection&, const ImportSelection&) = default;
};

// A selection asked Parcelo to examine more file-system entries than one selection may.
// Nothing of the selection is kept.
class TooManyEntriesError : public std::runtime_error {
public:
    TooManyEntriesError();
};

// Why an item was left out of a selection: counted in `skipped` (a link, an entry that is not a
// regular file, a file without a supported extension) or in `unreadable` (a folder, or part of
// one, that could not be read).
enum class LeftOut { link, notAFile, unsupported, unreadable };
using LeftOutHandler = std::function<void(const std::filesystem::path& location, LeftOut reason)>;

namespace ImageImport {

// The file-name extensions, in lower case, of images found inside folders.
inline constexpr std::array<std::string_view, 11> kExtensions{
    "jpg", "jpeg", "jpe", "jfif", "png", "heic", "heif", "tif", "tiff", "bmp", "gif",
};

// At most this many entries are examined in one selection: top-level files and every
// entry inside the walked folders, subfolders included.
inline constexpr std::int64_t kMaxExaminedEntries = 20'000;

inline constexpr std::string_view kTooManyEntriesMessage =
    "This folder has more than 20,000 entries. Choose a smaller folder. No images were added.";

// An image's identity: the absolute path with "." and ".." removed, links not resolved.
std::filesystem::path standardized(const std::filesystem::path& location);

// Orders two paths as the desktop's file browser orders names: case-insensitive, runs
// of digits by their numeric value, following the user's locale. Negative, 0 or positive.
int localizedStandardCompare(const std::filesystem::path& a, const std::filesystem::path& b);

// Turns dropped or chosen files and folders into the image files they hold, walking
// folders with all their subfolders. Names given directly are always taken; inside
// folders only supported extensions are. Hidden entries (names starting with ".") are
// never returned, links never followed. Stops early once limit + 1 images are found.
// Throws TooManyEntriesError past kMaxExaminedEntries and CancellationError when
// stopToken is triggered; neither leaves a partial result. Each item left out is also
// handed to leftOut, when given, as it is met.
ImportSelection expand(const std::vector<std::filesystem::path>& urls,
                       const std::set<std::filesystem::path>& excluding, std::int64_t limit,
                       std::stop_token stopToken = {}, const LeftOutHandler& leftOut = {});

}  // namespace ImageImport
}  // namespace parcelo
