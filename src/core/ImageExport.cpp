// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <utility>
#include <system_error>

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include "ImageFitter.h"

namespace parcelo::ImageFitter {

namespace fs = std::filesystem;

namespace {

constexpr const char* kFallbackStem = "image";
constexpr const char* kCopyMarker = "-parcelo";

std::string nameWithoutExtension(const std::string& originalName) {
    return fs::path(originalName).filename().stem().string();
}

// ICU makes its normalizer once, behind a lock of its own; a static hands the one instance to
// every saving thread through the language's own once-initialisation, which tools can follow.
const icu::Normalizer2* decomposition() {
    static const icu::Normalizer2* const nfd = [] {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Normalizer2* instance = icu::Normalizer2::getNFDInstance(status);
        return U_SUCCESS(status) ? instance : nullptr;
    }();
    return nfd;
}

icu::UnicodeString decomposed(const std::string& text) {
    const icu::UnicodeString source = icu::UnicodeString::fromUTF8(text);
    const icu::Normalizer2* nfd = decomposition();
    if (nfd == nullptr) return source;
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString result = nfd->normalize(source, status);
    return U_SUCCESS(status) ? result : source;
}

// Whole user-perceived characters from the start, while the UTF-8 length stays within the limit.
std::string leadingCharacters(const icu::UnicodeString& text, std::size_t maxBytes) {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> characters(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status)) return {};
    characters->setText(text);
    std::string stem;
    for (int32_t start = characters->first(), end = characters->next(); end != icu::BreakIterator::DONE;
         start = end, end = characters->next()) {
        std::string character;
        text.tempSubStringBetween(start, end).toUTF8String(character);
        if (stem.size() + character.size() > maxBytes) break;
        stem += character;
    }
    return stem;
}

[[noreturn]] void failWith(const char* what, const fs::path& path, int error) {
    throw fs::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

// Writes all of data, or returns the error.
int writeAll(int fd, const std::vector<std::uint8_t>& data) {
    std::size_t written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return n < 0 ? errno : EIO;
        written += static_cast<std::size_t>(n);
    }
    return 0;
}

// A complete copy in a file without a name in the folder: it gets its name only once all of
// it is written, so a write that fails (disk full, quota, the folder removed) or a process that
// dies leaves no partial file under a copy's name, and a name that another writer took first
// is never replaced.
class UnnamedCopy {
public:
    // Nothing when the file system has no unnamed files; throws the write's error.
    static std::optional<UnnamedCopy> write(const fs::path& directory, const std::vector<std::uint8_t>& data) {
        const int fd = ::open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EOPNOTSUPP || errno == EISDIR) return std::nullopt;
            failWith("Could not create the copy", directory, errno);
        }
        UnnamedCopy copy(fd);
        if (const int error = writeAll(fd, data)) failWith("Could not write the copy", directory, error);
        return copy;
    }

    UnnamedCopy(UnnamedCopy&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UnnamedCopy& operator=(UnnamedCopy&&) = delete;
    ~UnnamedCopy() {
        if (fd_ >= 0) ::close(fd_);
    }

    // Gives the copy the name target; false when that name is taken, nothing when the file
    // system cannot name an unnamed file. Throws other errors.
    std::optional<bool> name(const fs::path& target) const {
        const std::string self = "/proc/self/fd/" + std::to_string(fd_);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, target.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
        if (errno == EEXIST) return false;
        if (errno == EPERM || errno == EOPNOTSUPP || errno == ENOENT) return std::nullopt;
        failWith("Could not write the copy", target, errno);
    }

private:
    explicit UnnamedCopy(int fd) : fd_(fd) {}
    int fd_;
};

// Where unnamed files are not available: creates the file only when no file of that name
// exists and writes it whole. Returns false when the name is taken; a failed write removes
// what it created.
bool writeExclusively(const fs::path& target, const std::vector<std::uint8_t>& data) {
    const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        if (errno == EEXIST) return false;
        failWith("Could not create the copy", target, errno);
    }
    int error = writeAll(fd, data);
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error != 0) {
        ::unlink(target.c_str());
        failWith("Could not write the copy", target, error);
    }
    return true;
}

std::string copyName(const std::string& stem, int attempt, const std::string& extension) {
    std::string name = stem + kCopyMarker;
    if (attempt > 1) name += "-" + std::to_string(attempt);
    return name + "." + extension;
}

}  // namespace

std::string exportStem(const std::string& originalName) {
    std::string base = nameWithoutExtension(originalName);
    if (base.empty()) base = kFallbackStem;
    std::string stem = leadingCharacters(decomposed(base), kLongestStemBytes);
    return stem.empty() ? kFallbackStem : stem;
}

fs::path exportResult(const FitResult& result, const std::string& originalName, const fs::path& directory) {
    const std::string stem = exportStem(originalName);
    std::optional<UnnamedCopy> unnamed = UnnamedCopy::write(directory, result.data);
    for (int attempt = 1; attempt <= kExportAttempts; ++attempt) {
        const fs::path target = directory / copyName(stem, attempt, result.fileExtension);
        std::optional<bool> named = unnamed ? unnamed->name(target) : std::nullopt;
        if (!named) {
            unnamed.reset();
            named = writeExclusively(target, result.data);
        }
        if (*named) return target;
    }
    throw fs::filesystem_error("Every name for the copy is taken", directory,
                               std::make_error_code(std::errc::file_exists));
}

}  // namespace parcelo::ImageFitter
