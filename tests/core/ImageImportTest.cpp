// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

// The folder scan: what a selection of files and folders yields.
#include "ImageImport.h"

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "TestSupport.h"

// Reading a folder's listing can fail midway, as on a failing disk or a network share that goes
// away. The scan reads listings with readdir; this one, in place of the C library's, makes the
// reads of one folder fail with EIO once `after` named entries have been handed out.
namespace {

struct ListingFailure {
    struct stat folder {};
    int after = 0;
    int failedReads = 0;  // in a row, before the listing reads on
    int named = 0;
};
ListingFailure* listingFailure = nullptr;

bool failsToList(DIR* listing) {
    struct stat folder {};
    return listingFailure != nullptr && ::fstat(::dirfd(listing), &folder) == 0 &&
           folder.st_dev == listingFailure->folder.st_dev && folder.st_ino == listingFailure->folder.st_ino;
}

}  // namespace

extern "C" dirent* readdir(DIR* listing) {
    static const auto readNext = reinterpret_cast<dirent* (*)(DIR*)>(::dlsym(RTLD_NEXT, "readdir"));
    if (!failsToList(listing)) return readNext(listing);
    if (listingFailure->named == listingFailure->after && listingFailure->failedReads > 0) {
        --listingFailure->failedReads;
        errno = EIO;
        return nullptr;
    }
    dirent* entry = readNext(listing);
    if (entry != nullptr && entry->d_name[0] != '.') ++listingFailure->named;
    return entry;
}

namespace parcelo {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;
using Paths = std::vector<fs::path>;

constexpr std::int64_t kNoLimit = 1'000'000;

class ImageImportTest : public ::testing::Test {
protected:
    // An empty file, in folders made as needed.
    fs::path file(const std::string& name) const {
        const fs::path location = root_ / name;
        fs::create_directories(location.parent_path());
        test::writeBytes(location, "");
        return location;
    }

    test::ScratchFolder scratch_;
    const fs::path root_ = scratch_.path();
};

Names sortedNames(const ImportSelection& selection) {
    Names result;
    for (const fs::path& location : selection.urls) result.push_back(location.filename().string());
    std::sort(result.begin(), result.end());
    return result;
}

// Subfolders are walked and not counted; hidden entries are neither returned nor counted;
// other extensions, links and special files are skipped and counted.
TEST_F(ImageImportTest, FolderYieldsItsImagesInEveryExtensionAndCase) {
    const fs::path photos = root_ / "photos";
    Names expected{"beach.jpg", "city.png"};
    for (std::string_view extension : ImageImport::kExtensions) {
        std::string upper(extension);
        std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) { return static_cast<char>(c - 32); });
        expected.push_back(file("photos/lower." + std::string(extension)).filename().string());
        expected.push_back(file("photos/UPPER." + upper).filename().string());
    }
    for (const char* name : {"2023/summer/beach.jpg", "2024/city.png", "notes.txt", "README", "trailing-dot.",
                             ".secret.jpg", ".cache/inside.jpg", ".cache/notes.txt"})
        file(std::string("photos/") + name);
    fs::create_symlink(photos / "2024/city.png", photos / "link.jpg");
    fs::create_directory_symlink(root_, photos / "loop");
    ASSERT_EQ(::mkfifo((photos / "pipe.jpg").c_str(), 0600), 0) << "cannot make a named pipe";

    std::map<std::string, LeftOut> leftOut;
    const ImportSelection selection = ImageImport::expand(
        {photos}, {}, kNoLimit, {}, [&](const fs::path& item, LeftOut why) { leftOut[item.filename().string()] = why; });
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(sortedNames(selection), expected);
    EXPECT_EQ(selection.skipped, 6);
    EXPECT_EQ(leftOut, (std::map<std::string, LeftOut>{{"notes.txt", LeftOut::unsupported},
                                                        {"README", LeftOut::unsupported},
                                                        {"trailing-dot.", LeftOut::unsupported},
                                                        {"link.jpg", LeftOut::link},
                                                        {"loop", LeftOut::link},
                                                        {"pipe.jpg", LeftOut::notAFile}}));
}

// A file named directly is taken whatever its extension, hidden or missing, once, in standard
// form (absolute, without dots, links kept); a named link is skipped and a linked folder not
// walked; excluded images never return.
TEST_F(ImageImportTest, NamedFilesAreTakenOnceAndLinksSkipped) {
    const fs::path photos = root_ / "photos";
    const fs::path a = file("photos/a.jpg"), b = file("photos/b.jpg"), inBatch = file("photos/c.jpg");
    const fs::path notes = file("notes.txt"), hidden = file(".hidden.png"), missing = root_ / "gone.jpg";
    fs::create_directory_symlink(photos, root_ / "shortcut");
    fs::create_symlink(a, root_ / "alias.jpg");

    const ImportSelection selection = ImageImport::expand(
        {root_ / "photos/./x/../a.jpg", notes, hidden, missing, inBatch, photos, a, root_ / "photos/../photos/b.jpg",
         root_ / "shortcut", root_ / "shortcut/", root_ / "alias.jpg"},
        {inBatch}, kNoLimit);
    EXPECT_EQ(selection.urls, (Paths{hidden, missing, notes, a, b}));
    EXPECT_EQ(selection.skipped, 3);  // shortcut, shortcut/ and alias.jpg
    EXPECT_EQ(ImageImport::standardized(root_ / "shortcut/./b/../a.jpg/"), root_ / "shortcut/a.jpg");
}

// A failed read of a listing is counted once and the folder read on; a folder whose reads keep
// failing is left, and the walk goes on with the next one.
TEST_F(ImageImportTest, AFolderWhoseListingFailsMidwayIsReadOn) {
    for (const char* name : {"photos/a.jpg", "photos/b.jpg", "photos/c.jpg", "photos/d.jpg", "photos/e.jpg", "next/f.jpg"})
        file(name);
    struct Case { int failedReads; std::size_t found; std::int64_t unreadable; };
    for (const Case& c : {Case{1, 6, 1}, Case{std::numeric_limits<int>::max(), 3, 2}}) {
        SCOPED_TRACE(c.failedReads);
        ListingFailure failure{{}, 2, c.failedReads};
        ASSERT_EQ(::stat((root_ / "photos").c_str(), &failure.folder), 0);
        listingFailure = &failure;
        const ImportSelection selection = ImageImport::expand({root_ / "photos", root_ / "next"}, {}, kNoLimit);
        listingFailure = nullptr;
        EXPECT_EQ(selection.urls.size(), c.found);
        EXPECT_EQ(selection.unreadable, c.unreadable);
    }
}

}  // namespace
}  // namespace parcelo
