#include "ImageImport.h"

#include <algorithm>
#include <memory>
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

Properties readProperties(const fs::directory_entry& entry) {
    std::error_code error;
    const fs::file_status status = entry.symlink_status(error);
    return error ? Properties{} : propertiesOf(status);
}

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
    Scan(const std::set<fs::path>& excluding, std::int64_t limit, std::stop_token stopToken)
        : seen_(excluding), limit_(std::max<std::int64_t>(limit, 0)), stopToken_(std::move(stopToken)) {}

    // Each returns true when the limit was passed and the scan must end at once.
    bool addLocation(const fs::path& location);

    ImportSelection takeResult() { return std::move(result_); }

private:
    using Walk = std::vector<fs::directory_iterator>;

    bool addFile(const fs::path& location);
    bool walk(const fs::path& folder);
    bool addEntry(const fs::directory_entry& entry, Walk& walk);
    void descend(const fs::path& folder, Walk& walk);
    bool append(const fs::path& location);
    void checkCancellation() const;
    void countExamined();

    ImportSelection result_;
    std::set<fs::path> seen_;
    std::int64_t examined_ = 0;
    std::int64_t limit_;
    std::stop_token stopToken_;
};

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
        ++result_.skipped;
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
        ++result_.skipped;
        return false;
    }
    if (properties.isDirectory) return false;
    return append(location);
}

// Opens a folder for walking; a folder that cannot be opened counts as unreadable.
void Scan::descend(const fs::path& folder, Walk& walk) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) {
        ++result_.unreadable;
        return;
    }
    walk.push_back(std::move(entries));
}

// Depth first, each folder's entry before its contents, as the desktop's walker goes.
bool Scan::walk(const fs::path& folder) {
    Walk walk;
    descend(folder, walk);
    while (!walk.empty()) {
        fs::directory_iterator& entries = walk.back();
        if (entries == fs::directory_iterator()) {
            walk.pop_back();
            continue;
        }
        const fs::directory_entry entry = *entries;
        std::error_code error;
        entries.increment(error);
        if (error) {
            ++result_.unreadable;
            walk.back() = fs::directory_iterator();  // the rest of this folder is lost
        }
        if (!isHidden(entry.path()) && addEntry(entry, walk)) return true;
    }
    return false;
}

bool Scan::addEntry(const fs::directory_entry& entry, Walk& walk) {
    checkCancellation();
    countExamined();
    const fs::path& location = entry.path();
    const bool isNew = seen_.insert(location).second;
    const Properties properties = readProperties(entry);
    const bool isFolder = properties.isDirectory && !properties.isSymbolicLink && !properties.isPackage;
    if (isFolder) descend(location, walk);  // the walker descends whether or not it was seen
    if (!isNew || isFolder) return false;
    if (properties.isSymbolicLink || properties.isPackage || !properties.isRegularFile ||
        !hasSupportedExtension(location)) {
        ++result_.skipped;
        return false;
    }
    return append(location);
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
                       std::int64_t limit, std::stop_token stopToken) {
    Scan scan(excluding, limit, std::move(stopToken));
    for (const fs::path& location : urls) {
        if (scan.addLocation(location)) return scan.takeResult();  // past the limit: unsorted
    }
    ImportSelection selection = scan.takeResult();
    sortLocalized(selection.urls);
    return selection;
}

}  // namespace ImageImport
}  // namespace parcelo
