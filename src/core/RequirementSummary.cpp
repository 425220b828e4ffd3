// SPDX-FileCopyrightText: 2026 The Parcelo developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "RequirementSummary.h"

#include "ByteCountFormat.h"

namespace parcelo {

std::string requirementSummary(std::int64_t targetBytes, std::int64_t maxEdge, OutputFormat format,
                               const std::optional<ExactTexts>& exact) {
    const std::string dimensions = exact ? exact->width + " \u00d7 " + exact->height + " px"
                                         : "Up to " + std::to_string(maxEdge == 0 ? kMaxMaxEdge : maxEdge) + " px";
    const std::string formatText = format == OutputFormat::automatic ? "Auto format"
                                   : format == OutputFormat::jpeg    ? "JPEG"
                                                                     : "PNG";
    return "\u2264 " + formatByteCount(targetBytes) + " \u00b7 " + dimensions + " \u00b7 " + formatText;
}

// Applying requirements keeps whole kilobytes, so the size shown is the limit rounded down to one.
std::string requirementSummary(const FitSettings& settings) {
    std::optional<ExactTexts> exact;
    if (settings.isExact()) exact = ExactTexts{std::to_string(settings.exactWidth), std::to_string(settings.exactHeight)};
    return requirementSummary(settings.targetBytes / kBytesPerKB * kBytesPerKB, settings.maxEdge,
                              settings.outputFormat, exact);
}

}  // namespace parcelo
