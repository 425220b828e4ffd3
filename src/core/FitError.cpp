// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "FitError.h"

#include "ByteCountFormat.h"

namespace parcelo {

FitError FitError::minimumUnreachable(std::int64_t reachedBytes, std::int64_t minBytes) {
    FitError error(Case::minimumUnreachable);
    error.message_ = "This copy reaches only " + formatByteCount(reachedBytes) + " within your limit, under the " +
                     formatByteCount(minBytes) +
                     " minimum. Lower the minimum or choose larger dimensions. Parcelo never pads a file.";
    return error;
}

std::string_view FitError::errorDescription() const {
    if (!message_.empty()) return message_;
    switch (case_) {
    case Case::invalidSettings:
        return "Choose 10–25,000 KB, a maximum edge of 64–8192 px, or exact dimensions of 64–4096 px per side.";
    case Case::unreadable:
        return "This file isn’t a supported image, or it could not be read. Try a JPEG, PNG, HEIC, TIFF or BMP.";
    case Case::tooLarge:
        return "This image exceeds the safety limit of 100 megapixels or 250 MB. Resize a copy first.";
    case Case::multipleFrames:
        return "Animated and multi-page images aren’t supported. Export a single frame first.";
    case Case::cannotEncode:
        return "Parcelo couldn’t encode this image. The original hasn’t changed.";
    case Case::targetUnreachable:
        return "This image couldn’t fit the limit at a useful size. Try a larger limit.";
    case Case::exactTargetUnreachable:
        return "These exact pixels won’t fit your size limit. Raise the KB limit, choose smaller dimensions, or "
               "try JPEG. No smaller copy was substituted.";
    case Case::sourceTooSmall:
        return "This image is too small for the requested crop. Choose smaller exact dimensions or a larger "
               "original. Parcelo never enlarges images.";
    case Case::verificationFailed:
        return "The export didn’t pass its size, pixel or format check. No copy was marked ready.";
    case Case::processingLimit:
        return "This crop needs more source pixels than Parcelo’s memory limit allows. Crop a copy in an image "
               "editor first, or choose smaller exact dimensions.";
    case Case::minimumUnreachable:
        return "This copy stays under your minimum size even at the best quality. Lower the minimum or choose "
               "larger dimensions. Parcelo never pads a file.";
    }
    return {};
}

std::string_view FitError::caseName() const {
    switch (case_) {
    case Case::invalidSettings: return "invalidSettings";
    case Case::unreadable: return "unreadable";
    case Case::tooLarge: return "tooLarge";
    case Case::multipleFrames: return "multipleFrames";
    case Case::cannotEncode: return "cannotEncode";
    case Case::targetUnreachable: return "targetUnreachable";
    case Case::exactTargetUnreachable: return "exactTargetUnreachable";
    case Case::sourceTooSmall: return "sourceTooSmall";
    case Case::verificationFailed: return "verificationFailed";
    case Case::processingLimit: return "processingLimit";
    case Case::minimumUnreachable: return "minimumUnreachable";
    }
    return {};
}

// Every fixed message is a literal, and a message with figures is held whole: both end in NUL.
const char* FitError::what() const noexcept { return message_.empty() ? errorDescription().data() : message_.c_str(); }

}  // namespace parcelo
