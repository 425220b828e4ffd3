#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
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

icu::UnicodeString decomposed(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    const icu::UnicodeString source = icu::UnicodeString::fromUTF8(text);
    if (U_FAILURE(status)) return source;
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

// Creates the file only when no file of that name exists, and writes it whole. Returns false
// when the name is taken; a failed write removes what it created.
bool writeExclusively(const fs::path& target, const std::vector<std::uint8_t>& data) {
    const int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (fd < 0) {
        if (errno == EEXIST) return false;
        throw fs::filesystem_error("Could not create the copy", target, std::error_code(errno, std::generic_category()));
    }
    std::size_t written = 0;
    while (written < data.size()) {
        const ssize_t n = ::write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            const int error = n < 0 ? errno : EIO;
            ::close(fd);
            ::unlink(target.c_str());
            throw fs::filesystem_error("Could not write the copy", target, std::error_code(error, std::generic_category()));
        }
        written += static_cast<std::size_t>(n);
    }
    if (::close(fd) != 0) {
        const int error = errno;
        ::unlink(target.c_str());
        throw fs::filesystem_error("Could not write the copy", target, std::error_code(error, std::generic_category()));
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
    for (int attempt = 1; attempt <= kExportAttempts; ++attempt) {
        const fs::path target = directory / copyName(stem, attempt, result.fileExtension);
        if (writeExclusively(target, result.data)) return target;
    }
    throw fs::filesystem_error("Every name for the copy is taken", directory,
                               std::make_error_code(std::errc::file_exists));
}

}  // namespace parcelo::ImageFitter
