// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The folder scan over a tree that the fuzzer's bytes build, checked against a plain walk of the
// same tree with the standard library.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "FuzzChecks.h"
#include "ImageImport.h"

namespace parcelo::fuzz {

namespace fs = std::filesystem;

namespace {

// The bytes in turn; zeros once they run out.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}
    [[nodiscard]] bool done() const { return next_ >= bytes_.size(); }
    std::uint8_t byte() { return done() ? 0 : bytes_[next_++]; }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t next_ = 0;
};

constexpr std::array<const char*, 11> kSuffixes{".jpg", ".JPEG", ".png", ".Tif", ".HeIc", ".gif", ".jfif",
                                                ".txt", "", ".", ".jpg.txt"};
constexpr std::array<mode_t, 4> kLockModes{0000, 0100, 0400, 0500};

// A name of raw bytes (any but '/' and NUL), a numbered name, or a run as long as a file system allows.
std::string nameFrom(Reader& in) {
    const std::uint8_t kind = in.byte();
    if (kind < 24) return std::string(232 + kind, static_cast<char>('a' + kind));
    if (kind < 96) return "img" + std::to_string(kind * 37 % 1000);
    std::string name;
    for (int i = 0; i <= kind % 12; ++i) {
        const char c = static_cast<char>(in.byte());
        name += (c == '/' || c == '\0') ? '_' : c;
    }
    return name;
}

// A folder tree made from the bytes, removed again when done, locked folders included.
class Tree {
public:
    explicit Tree(fs::path root) : root_(std::move(root)) {
        remove();
        fs::create_directories(root_);
    }
    ~Tree() { remove(); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

    [[nodiscard]] const fs::path& root() const { return root_; }

    void build(Reader& in) {
        std::vector<fs::path> open{root_};  // the folder being filled, after its parents
        std::vector<fs::path> made{root_};
        while (!in.done()) {
            const std::uint8_t step = in.byte();
            const fs::path here = open.back();
            switch (step % 8) {
            case 0: file(here / (nameFrom(in) + kSuffixes[in.byte() % kSuffixes.size()]), made); break;
            case 1:
                if (const fs::path folder = here / nameFrom(in); ::mkdir(folder.c_str(), 0700) == 0) {
                    open.push_back(folder);
                    made.push_back(folder);
                }
                break;
            case 2:
                if (open.size() > 1) open.pop_back();
                break;
            case 3: link(here / nameFrom(in), made, in.byte()); break;
            case 4: locked_.emplace_back(here, kLockModes[in.byte() % kLockModes.size()]); break;
            case 5: file(here / ("." + nameFrom(in) + ".jpg"), made); break;
            case 6: ::mkfifo((here / (nameFrom(in) + ".png")).c_str(), 0600); break;
            case 7:
                if (const fs::path folder = here / ("." + nameFrom(in)); ::mkdir(folder.c_str(), 0700) == 0)
                    open.push_back(folder);
                break;
            }
        }
        // Deepest first, so that a locked parent does not keep its children from being locked.
        for (auto lock = locked_.rbegin(); lock != locked_.rend(); ++lock) ::chmod(lock->first.c_str(), lock->second);
    }

private:
    static void file(const fs::path& location, std::vector<fs::path>& made) {
        if (const int fd = ::open(location.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600); fd >= 0) {
            ::close(fd);
            made.push_back(location);
        }
    }
    void link(const fs::path& location, const std::vector<fs::path>& made, std::uint8_t target) const {
        const std::array<fs::path, 4> targets{made[target % made.size()], "..", "nowhere.jpg", root_};
        // A name the tree already holds keeps what it has: the link is simply not made.
        if (::symlink(targets[target % targets.size()].c_str(), location.c_str()) != 0) return;
    }
    void remove() {
        for (const auto& lock : locked_) ::chmod(lock.first.c_str(), 0700);
        locked_.clear();
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    fs::path root_;
    std::vector<std::pair<fs::path, mode_t>> locked_;
};

bool supported(const fs::path& location) {
    std::string extension = location.extension().string();
    if (extension.size() < 2) return false;
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    return std::find(ImageImport::kExtensions.begin(), ImageImport::kExtensions.end(), extension.substr(1)) !=
           ImageImport::kExtensions.end();
}

// What the scan should find, as the standard library's own directory listing sees the tree.
struct Expected {
    std::set<fs::path> images;
    std::int64_t skipped = 0;
    std::int64_t unreadable = 0;
};

void walk(const fs::path& folder, Expected& out) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        ++out.unreadable;
        return;
    }
    for (; entries != fs::directory_iterator(); entries.increment(error)) {
        if (error) {
            ++out.unreadable;
            return;
        }
        const fs::path& entry = entries->path();
        if (entry.filename().string().front() == '.') continue;
        const fs::file_status status = entries->symlink_status(error);
        if (!error && fs::is_directory(status))
            walk(entry, out);
        else if (!error && fs::is_regular_file(status) && supported(entry))
            out.images.insert(entry);
        else
            ++out.skipped;
    }
}

}  // namespace

std::string checkScan(std::span<const std::uint8_t> bytes) {
    Reader in(bytes);
    const std::uint8_t choice = in.byte();
    const std::int64_t limit = choice % 4 == 0 ? 500 : choice % 16;
    static const fs::path root = fs::temp_directory_path() / ("parcelo-scan-" + std::to_string(::getpid()));
    Tree tree(root);
    tree.build(in);
    Expected expected;
    walk(tree.root(), expected);

    // The folder, and one of its files named beside it; one image may be in the batch already.
    std::vector<fs::path> urls{tree.root()};
    std::set<fs::path> excluding;
    if ((choice & 0x10) != 0 && !expected.images.empty()) urls.push_back(*expected.images.begin());
    if ((choice & 0x20) != 0 && !expected.images.empty()) {
        excluding.insert(*expected.images.rbegin());
        expected.images.erase(*expected.images.rbegin());
    }
    ImportSelection found;
    std::int64_t leftOutUnreadable = 0;
    std::int64_t leftOutSkipped = 0;
    try {
        found = ImageImport::expand(urls, excluding, limit, {}, [&](const fs::path&, LeftOut reason) {
            ++(reason == LeftOut::unreadable ? leftOutUnreadable : leftOutSkipped);
        });
    } catch (const TooManyEntriesError&) {
        return "too many entries";
    }
    require(leftOutSkipped == found.skipped && leftOutUnreadable == found.unreadable,
            "every item left out is reported once, with the reason it is counted under");
    const std::set<fs::path> distinct(found.urls.begin(), found.urls.end());
    require(distinct.size() == found.urls.size(), "no image is found twice");
    require(std::includes(expected.images.begin(), expected.images.end(), distinct.begin(), distinct.end()),
            "the scan finds only supported files outside hidden folders, never through a link");
    if (static_cast<std::int64_t>(expected.images.size()) > limit) {
        require(found.stoppedAtLimit && static_cast<std::int64_t>(found.urls.size()) == limit + 1,
                "a selection over the limit stops at one image past it");
        return "stopped";
    }
    require(!found.stoppedAtLimit && distinct == expected.images, "the scan finds every supported file");
    require(found.skipped == expected.skipped, "links, pipes and unsupported files are counted as skipped");
    require(found.unreadable == expected.unreadable, "folders that cannot be opened are counted as unreadable");
    require(std::is_sorted(found.urls.begin(), found.urls.end(),
                           [](const fs::path& a, const fs::path& b) {
                               return ImageImport::localizedStandardCompare(a, b) < 0;
                           }),
            "the images come sorted as a file browser sorts names");
    require(ImageImport::expand(urls, excluding, limit) == found, "a second scan of the same tree finds the same");
    return "ok";
}

}  // namespace parcelo::fuzz
