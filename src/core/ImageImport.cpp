// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "ImageImport.h"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>

#include "CancellationCheck.h"
#include "FitError.h"

namespace parcelo {

namespace fs = std::filesystem;

TooManyEntriesError::TooManyEntriesError()
    : std::runtime_error(std::string(ImageImport::kTooManyEntriesMessage)) {}

namespace {

// The four properties the scan tests. A property that could not be read is false.
struct Properties {
    bool isDirectory = false;
    bool isRegularFile = false;
    bool isSymbolicLink = false;
    // Linux desktops present no folder as a single document, so nothing is a package.
    bool isPackage = false;
};

Properties propertiesOf(fs::file_status status) {
    return {.isDirectory = fs::is_directory(status),
            .isRegularFile = fs::is_regular_file(status),
            .isSymbolicLink = fs::is_symlink(status)};
}

Properties readProperties(const fs::path& location) {
    std::error_code error;
    const fs::file_status status = fs::symlink_status(location, error);
    return error ? Properties{} : propertiesOf(status);
}

// One entry as a folder's listing gives it: its location and the type the listing knows.
struct Entry {
    fs::path location;
    unsigned char type = DT_UNKNOWN;
};

// The listing already tells the type of most entries; only the others are looked up.
Properties readProperties(const Entry& entry) {
    switch (entry.type) {
    case DT_DIR: return {.isDirectory = true};
    case DT_REG: return {.isRegularFile = true};
    case DT_LNK: return {.isSymbolicLink = true};
    case DT_UNKNOWN: return readProperties(entry.location);
    default: return {};  // a device, pipe or socket: neither a folder nor a regular file
    }
}

// A folder being walked: its listing, and how many reads of it have failed in a row.
struct OpenFolder {
    fs::path path;
    std::unique_ptr<DIR, int (*)(DIR*)> listing;
    int failedReads = 0;
};

// A read of a listing that fails is counted and the folder read on: the error usually concerns
// one batch of entries, and the next read returns those after it. A folder whose reads keep
// failing is left after this many failures in a row.
constexpr int kMaxFailedReadsInARow = 2;

bool isHidden(const fs::path& location) {
    const std::string name = location.filename().string();
    return !name.empty() && name.front() == '.';
}

bool hasSupportedExtension(const fs::path& location) {
    std::string extension = location.extension().string();
    if (extension.size() < 2) return false;  // no extension, or a name ending in "."
    extension.erase(0, 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; });
    return std::find(ImageImport::kExtensions.begin(), ImageImport::kExtensions.end(), extension) !=
           ImageImport::kExtensions.end();
}

// A "C" or "POSIX" environment gives ICU the en_US_POSIX locale, whose collation orders
// by code point and so is not case-insensitive; such users get the root order instead.
icu::Locale collationLocale() {
    const icu::Locale& locale = icu::Locale::getDefault();
    if (std::string_view(locale.getVariant()) == "POSIX") return icu::Locale::getRoot();
    return locale;
}

// Numeric collation at secondary strength: digits by value, letters without case.
std::unique_ptr<icu::Collator> makeCollator() {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(collationLocale(), status));
    if (U_FAILURE(status)) return nullptr;
    collator->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    collator->setStrength(icu::Collator::SECONDARY);
    return U_SUCCESS(status) ? std::move(collator) : nullptr;
}

// Built once; ICU collators may be used for comparing from several threads at once.
const icu::Collator* sharedCollator() {
    static const std::unique_ptr<icu::Collator> collator = makeCollator();
    return collator.get();
}

int compareWith(const icu::Collator* collator, const std::string& a, const std::string& b) {
    if (collator == nullptr) return a.compare(b);  // no ICU data: plain byte order
    UErrorCode status = U_ZERO_ERROR;
    const UCollationResult order = collator->compareUTF8(icu::StringPiece(a), icu::StringPiece(b), status);
    if (U_FAILURE(status)) return a.compare(b);
    return order == UCOL_LESS ? -1 : (order == UCOL_GREATER ? 1 : 0);
}

// One call of expand: the result being built and the state of the walk.
class Scan {
public:
    Scan(const std::set<fs::path>& excluding, std::int64_t limit, std::stop_token stopToken,
         const LeftOutHandler& leftOut)
        : seen_(excluding), limit_(std::max<std::int64_t>(limit, 0)), stopToken_(std::move(stopToken)),
          leftOut_(leftOut) {}

    // Each returns true when the limit was passed and the scan must end at once.
    bool addLocation(const fs::path& location);

    ImportSelection takeResult() { return std::move(result_); }

private:
    using Walk = std::vector<OpenFolder>;

    bool addFile(const fs::path& location);
    bool walk(const fs::path& folder);
    std::optional<Entry> nextEntry(OpenFolder& folder);
    bool addEntry(const Entry& entry, Walk& walk);
    void descend(const fs::path& folder, Walk& walk);
    bool append(const fs::path& location);
    void checkCancellation() const;
    void countExamined();
    void leaveOut(const fs::path& location, LeftOut reason);

    ImportSelection result_;
    std::set<fs::path> seen_;
    std::int64_t examined_ = 0;
    std::int64_t limit_;
    std::stop_token stopToken_;
    const LeftOutHandler& leftOut_;
};

void Scan::leaveOut(const fs::path& location, LeftOut reason) {
    ++(reason == LeftOut::unreadable ? result_.unreadable : result_.skipped);
    if (leftOut_) leftOut_(location, reason);
}

void Scan::checkCancellation() const { throwIfStopped(stopToken_); }

void Scan::countExamined() {
    if (examined_ + 1 > ImageImport::kMaxExaminedEntries) throw TooManyEntriesError();
    ++examined_;
}

bool Scan::append(const fs::path& location) {
    const bool alreadyFull = static_cast<std::int64_t>(result_.urls.size()) >= limit_;
    result_.urls.push_back(location);
    result_.stoppedAtLimit = alreadyFull;
    return alreadyFull;
}

bool Scan::addLocation(const fs::path& location) {
    if (location.empty()) return false;  // names no file
    checkCancellation();
    const fs::path standardForm = ImageImport::standardized(location);
    const Properties properties = readProperties(standardForm);
    if (properties.isSymbolicLink || properties.isPackage) {
        leaveOut(standardForm, LeftOut::link);
        return false;
    }
    if (properties.isDirectory) return walk(standardForm);
    return addFile(standardForm);
}

// A file the user named is taken whatever its extension or kind; the engine decides later
// whether it is a usable image.
bool Scan::addFile(const fs::path& location) {
    checkCancellation();
    countExamined();
    if (!seen_.insert(location).second) return false;
    const Properties properties = readProperties(location);
    if (properties.isSymbolicLink || properties.isPackage) {
        leaveOut(location, LeftOut::link);
        return false;
    }
    if (properties.isDirectory) return false;
    return append(location);
}

// Opens a folder for walking; a folder that cannot be opened counts as unreadable.
void Scan::descend(const fs::path& folder, Walk& walk) {
    DIR* listing = ::opendir(folder.c_str());
    if (listing == nullptr) {
        leaveOut(folder, LeftOut::unreadable);
        return;
    }
    walk.push_back({folder, {listing, &::closedir}, 0});
}

// The folder's next entry; nothing at its end, or once its reads keep failing. Each failed
// read counts as unreadable. (The standard library's directory iterator cannot read on after a
// failure, so the listing is read here directly.)
std::optional<Entry> Scan::nextEntry(OpenFolder& folder) {
    while (folder.failedReads < kMaxFailedReadsInARow) {
        errno = 0;
        const dirent* entry = ::readdir(folder.listing.get());
        if (entry != nullptr) {
            folder.failedReads = 0;
            return Entry{folder.path / entry->d_name, entry->d_type};
        }
        if (errno == 0) return std::nullopt;
        leaveOut(folder.path, LeftOut::unreadable);
        ++folder.failedReads;
    }
    return std::nullopt;
}

// Depth first, each folder's entry before its contents, as the desktop's walker goes.
bool Scan::walk(const fs::path& folder) {
    Walk walk;
    descend(folder, walk);
    while (!walk.empty()) {
        const std::optional<Entry> entry = nextEntry(walk.back());
        if (!entry) {
            walk.pop_back();
            continue;
        }
        if (!isHidden(entry->location) && addEntry(*entry, walk)) return true;  // "." and ".." are hidden too
    }
    return false;
}

bool Scan::addEntry(const Entry& entry, Walk& walk) {
    checkCancellation();
    countExamined();
    const fs::path& location = entry.location;
    const bool isNew = seen_.insert(location).second;
    const Properties properties = readProperties(entry);
    const bool isFolder = properties.isDirectory && !properties.isSymbolicLink && !properties.isPackage;
    if (isFolder) descend(location, walk);  // the walker descends whether or not it was seen
    if (!isNew || isFolder) return false;
    if (properties.isSymbolicLink || properties.isPackage) leaveOut(location, LeftOut::link);
    else if (!properties.isRegularFile) leaveOut(location, LeftOut::notAFile);
    else if (!hasSupportedExtension(location)) leaveOut(location, LeftOut::unsupported);
    else return append(location);
    return false;
}

void sortLocalized(std::vector<fs::path>& locations) {
    const icu::Collator* collator = sharedCollator();
    std::stable_sort(locations.begin(), locations.end(), [collator](const fs::path& a, const fs::path& b) {
        return compareWith(collator, a.string(), b.string()) < 0;
    });
}

}  // namespace

namespace ImageImport {

fs::path standardized(const fs::path& location) {
    std::error_code error;
    fs::path absolute = fs::absolute(location, error);
    if (error) absolute = location;
    fs::path normal = absolute.lexically_normal();
    if (!normal.has_filename() && normal.has_relative_path()) normal = normal.parent_path();  // "a/b/"
    return normal;
}

int localizedStandardCompare(const fs::path& a, const fs::path& b) {
    return compareWith(sharedCollator(), a.string(), b.string());
}

ImportSelection expand(const std::vector<fs::path>& urls, const std::set<fs::path>& excluding,
                       std::int64_t limit, std::stop_token stopToken, const LeftOutHandler& leftOut) {
    Scan scan(excluding, limit, std::move(stopToken), leftOut);
    for (const fs::path& location : urls) {
        if (scan.addLocation(location)) return scan.takeResult();  // past the limit: unsorted
    }
    ImportSelection selection = scan.takeResult();
    sortLocalized(selection.urls);
    return selection;
}

}  // namespace ImageImport
}  // namespace parcelo
